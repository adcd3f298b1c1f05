#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vq {

/// What `vantaquill doctor` found out about this desktop, before any judgement. Lists are nothing
/// when the tool that would have told us is not installed, so that "absent" and "couldn't ask" stay
/// apart in the report.
struct DoctorFacts {
    struct Agent {
        std::string name;                ///< "Claude Code"
        std::string program;             ///< "claude"
        std::optional<std::string> path; ///< where the program was found on PATH
        std::string configFile;          ///< the file its hooks live in
        bool hooked = false;             ///< that file runs `vantaquill hook`
        friend bool operator==(const Agent&, const Agent&) = default;
    };

    std::string sessionType;                  ///< XDG_SESSION_TYPE
    std::string desktop;                      ///< XDG_CURRENT_DESKTOP, or what SWAYSOCK / Hyprland's variable tell
    std::optional<std::string> waylandDisplay; ///< WAYLAND_DISPLAY
    std::optional<std::string> x11Display;     ///< DISPLAY
    bool waylandReachable = false;
    bool x11Reachable = false;
    std::optional<std::set<std::string>> waylandGlobals; ///< interfaces the compositor advertises (wayland-info)
    std::optional<std::set<std::string>> x11Extensions;  ///< extensions of the X server (xdpyinfo)
    std::optional<std::string> sessionBusAddress;        ///< DBUS_SESSION_BUS_ADDRESS or $XDG_RUNTIME_DIR/bus
    std::optional<std::set<std::string>> sessionNames;   ///< names on the session bus (dbus-send); nothing: no answer
    std::optional<std::set<std::string>> systemNames;    ///< running and activatable names on the system bus
    std::vector<Agent> agents;

    friend bool operator==(const DoctorFacts&, const DoctorFacts&) = default;
};

} // namespace vq
