#include "BrindKit/foundation/Paths.hpp"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace brind::Paths {

namespace {

// XDG says a relative value is invalid and must be ignored.
std::filesystem::path xdg(const char* variable, const char* fallback) {
    const char* value = std::getenv(variable);
    if (value && value[0] == '/')
        return value;
    return home() / fallback;
}

} // namespace

std::filesystem::path home() {
    if (const char* value = std::getenv("HOME"); value && value[0])
        return value;
    if (const passwd* entry = ::getpwuid(::getuid()); entry && entry->pw_dir)
        return entry->pw_dir;
    return "/";
}

std::filesystem::path dataFolder() {
    return xdg("XDG_DATA_HOME", ".local/share") / "vantaquill";
}

std::filesystem::path userConfig() {
    return xdg("XDG_CONFIG_HOME", ".config");
}

std::filesystem::path configFolder() {
    return userConfig() / "vantaquill";
}

std::optional<std::string> sessionBusAddress() {
    if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address && *address)
        return address;
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (!runtime || !*runtime)
        return std::nullopt;
    const auto socket = std::filesystem::path(runtime) / "bus";
    std::error_code error;
    if (!std::filesystem::exists(socket, error))
        return std::nullopt;
    return "unix:path=" + socket.string();
}

std::filesystem::path cliTokenFile() {
    return home() / ".config" / "vantaquill" / "cli-token";
}

} // namespace brind::Paths
