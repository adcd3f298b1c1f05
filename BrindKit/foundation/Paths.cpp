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

std::filesystem::path cliTokenFile() {
    return home() / ".config" / "vantaquill" / "cli-token";
}

} // namespace brind::Paths
