#pragma once

#include "cli/DoctorFacts.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace vq {

/// Asks this desktop what it offers, with the tools a desktop already has: wayland-info for the
/// compositor's globals, xdpyinfo for the X server's extensions, dbus-send for the buses. Each tool
/// runs with a short time-out, so a hung bus or display makes a line of the report, not a hang.
/// Nothing here runs unless `vantaquill doctor` does.
class DoctorProbe {
public:
    static constexpr std::chrono::milliseconds toolTimeout{2000};

    static DoctorFacts gather();

    /// The standard output of `arguments[0]` found on PATH, or nothing when it is missing, fails or
    /// outlives `timeout`.
    static std::optional<std::string> run(const std::vector<std::string>& arguments,
                                          std::chrono::milliseconds timeout = toolTimeout);

    /// The interfaces in wayland-info's output ("interface: 'wl_compositor', version: 6, name: 1").
    static std::set<std::string> waylandGlobals(const std::string& waylandInfo);
    /// The extension names in `xdpyinfo -queryExtensions` output.
    static std::set<std::string> x11Extensions(const std::string& xdpyinfo);
    /// The names in a dbus-send --print-reply answer to ListNames (`string "org.freedesktop.UPower"`).
    static std::set<std::string> busNames(const std::string& dbusSend);
};

} // namespace vq
