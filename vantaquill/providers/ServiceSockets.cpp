#include "vantaquill/providers/ServiceSockets.hpp"

#include "BrindKit/foundation/ASCII.hpp"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <utility>
#include <vector>

namespace vq {

namespace {

/// A server address that names one local socket ("unix:/path" or "/path"); nothing for a list of
/// servers, a network address or anything else.
std::optional<std::filesystem::path> socketOfAddress(const std::string& address) {
    std::string path = address.starts_with("unix:") ? address.substr(5) : address;
    if (path.empty() || path.front() != '/' || path.find_first_of(" \t") != std::string::npos)
        return std::nullopt;
    return std::filesystem::path(path);
}

} // namespace

ServiceSockets::ServiceSockets(Variable variable) : variable_(std::move(variable)) {}

std::optional<std::string> ServiceSockets::fromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0')
        return std::nullopt;
    return std::string(value);
}

std::optional<std::filesystem::path> ServiceSockets::pulse() const {
    if (auto server = variable_("PULSE_SERVER"))
        return socketOfAddress(*server);
    if (auto server = configuredPulseServer())
        return socketOfAddress(*server);
    if (auto runtime = variable_("PULSE_RUNTIME_PATH"))
        return std::filesystem::path(*runtime) / "native";
    if (auto runtime = variable_("XDG_RUNTIME_DIR"))
        return std::filesystem::path(*runtime) / "pulse" / "native";
    return std::nullopt;
}

std::optional<std::filesystem::path> ServiceSockets::pipewire() const {
    const std::string remote = variable_("PIPEWIRE_REMOTE").value_or("pipewire-0");
    if (remote.front() == '/')
        return std::filesystem::path(remote);
    auto runtime = variable_("PIPEWIRE_RUNTIME_DIR");
    if (!runtime)
        runtime = variable_("XDG_RUNTIME_DIR");
    if (!runtime)
        return std::nullopt;
    return std::filesystem::path(*runtime) / remote;
}

std::optional<std::string> ServiceSockets::configuredPulseServer() const {
    std::vector<std::filesystem::path> files;
    if (auto chosen = variable_("PULSE_CLIENTCONFIG")) {
        files.emplace_back(*chosen);
    } else {
        files.emplace_back("/etc/pulse/client.conf");
        std::error_code error;
        std::vector<std::filesystem::path> pieces;
        for (const auto& entry : std::filesystem::directory_iterator("/etc/pulse/client.conf.d", error))
            if (entry.path().extension() == ".conf")
                pieces.push_back(entry.path());
        std::sort(pieces.begin(), pieces.end());
        files.insert(files.end(), pieces.begin(), pieces.end());
        if (auto config = variable_("XDG_CONFIG_HOME"))
            files.push_back(std::filesystem::path(*config) / "pulse" / "client.conf");
        else if (auto home = variable_("HOME"))
            files.push_back(std::filesystem::path(*home) / ".config" / "pulse" / "client.conf");
    }
    std::optional<std::string> server;
    for (const auto& file : files) {
        std::ifstream in(file);
        for (std::string line; std::getline(in, line);) {
            const std::string_view text = line;
            const auto equals = text.find('=');
            if (equals != std::string_view::npos &&
                brind::ASCII::trimmed(text.substr(0, equals)) == "default-server")
                server = std::string(brind::ASCII::trimmed(text.substr(equals + 1)));
        }
    }
    if (server && server->empty())
        server.reset();
    return server;
}

} // namespace vq
