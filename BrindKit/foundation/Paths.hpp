#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace brind::Paths {

/// The user's home folder ($HOME, else the password database).
std::filesystem::path home();

/// $XDG_DATA_HOME/vantaquill, default ~/.local/share/vantaquill: the application support folder.
std::filesystem::path dataFolder();

/// $XDG_CONFIG_HOME, default ~/.config: where every program keeps its settings (other programs'
/// settings the island reads, the autostart folder).
std::filesystem::path userConfig();

/// $XDG_CONFIG_HOME/vantaquill, default ~/.config/vantaquill: preferences.
std::filesystem::path configFolder();

/// The session bus to use: DBUS_SESSION_BUS_ADDRESS, else the user's bus socket
/// ($XDG_RUNTIME_DIR/bus) when it exists; never a bus started on demand (X11 autolaunch). Nothing
/// when the session has none.
std::optional<std::string> sessionBusAddress();

/// ~/.config/vantaquill/cli-token, where the command reads its token (always under the home folder).
std::filesystem::path cliTokenFile();

} // namespace brind::Paths
