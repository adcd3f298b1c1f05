#pragma once

#include <array>
#include <string_view>

namespace vq::LinuxPasswordManagers {

/// Password managers as a Linux desktop names them: X11 window classes, process names and Wayland
/// application ids. Matched like the core's identifiers (case-insensitive, editions after "." or "-").
inline constexpr std::array<std::string_view, 16> applicationIDs{
    "keepassxc",          "org.keepassxc.KeePassXC", "keepass2",       "KeePass",
    "1password",          "bitwarden",               "com.bitwarden.desktop",
    "keeweb",             "enpass",                  "proton-pass",    "Proton Pass",
    "org.gnome.World.Secrets", "gnome-passwordsafe", "seahorse",       "org.gnome.seahorse.Application",
    "kwalletmanager5",
};

bool matches(std::string_view applicationID);

} // namespace vq::LinuxPasswordManagers
