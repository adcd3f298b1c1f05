#include "cli/DoctorReport.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace vq {

namespace {

using Status = DoctorReport::Status;
using Check = DoctorReport::Check;

constexpr std::string_view layerShell = "zwlr_layer_shell_v1";
constexpr std::array<std::string_view, 2> dataControl = {"ext_data_control_manager_v1", "zwlr_data_control_manager_v1"};
constexpr std::string_view xfixes = "XFIXES";
constexpr std::string_view foreignToplevel = "zwlr_foreign_toplevel_manager_v1";

enum class Compositor { sway, hyprland, gnome, kde };
constexpr std::array<Compositor, 4> compositors = {Compositor::sway, Compositor::hyprland, Compositor::gnome,
                                                   Compositor::kde};

enum class Need { optional, essential };

Check named(std::string feature, Need need) {
    Check check;
    check.feature = std::move(feature);
    check.essential = need == Need::essential;
    return check;
}

bool contains(const std::optional<std::set<std::string>>& names, std::string_view name) {
    return names && names->contains(std::string(name));
}

bool containsCaseless(std::string haystack, std::string needle) {
    const auto lower = [](std::string& text) {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c); });
    };
    lower(haystack);
    lower(needle);
    return haystack.find(needle) != std::string::npos;
}

std::string_view compositorName(Compositor compositor) {
    switch (compositor) {
    case Compositor::sway:
        return "sway";
    case Compositor::hyprland:
        return "Hyprland";
    case Compositor::gnome:
        return "GNOME";
    case Compositor::kde:
        return "KDE";
    }
    std::unreachable();
}

// The compositor holds the keys; bound to `vantaquill hud`, they reach the island, which steps the
// level and flashes it. Keys bound elsewhere still show their levels (the island follows PulseAudio,
// the backlight and the keyboard light).
std::vector<std::string> bindings(Compositor compositor) {
    switch (compositor) {
    case Compositor::sway:
        return {"# ~/.config/sway/config",
                "bindsym XF86AudioRaiseVolume exec vantaquill hud volume up",
                "bindsym XF86AudioLowerVolume exec vantaquill hud volume down",
                "bindsym XF86AudioMute exec vantaquill hud volume mute",
                "bindsym Shift+Mod1+XF86AudioRaiseVolume exec vantaquill hud volume up --fine",
                "bindsym Shift+Mod1+XF86AudioLowerVolume exec vantaquill hud volume down --fine",
                "bindsym XF86MonBrightnessUp exec vantaquill hud brightness up",
                "bindsym XF86MonBrightnessDown exec vantaquill hud brightness down",
                "bindsym XF86KbdBrightnessUp exec vantaquill hud keyboard up",
                "bindsym XF86KbdBrightnessDown exec vantaquill hud keyboard down",
                "bindsym XF86KbdLightOnOff exec vantaquill hud keyboard toggle"};
    case Compositor::hyprland:
        return {"# ~/.config/hypr/hyprland.conf",
                "bindel = , XF86AudioRaiseVolume, exec, vantaquill hud volume up",
                "bindel = , XF86AudioLowerVolume, exec, vantaquill hud volume down",
                "bindl = , XF86AudioMute, exec, vantaquill hud volume mute",
                "bindel = SHIFT ALT, XF86AudioRaiseVolume, exec, vantaquill hud volume up --fine",
                "bindel = SHIFT ALT, XF86AudioLowerVolume, exec, vantaquill hud volume down --fine",
                "bindel = , XF86MonBrightnessUp, exec, vantaquill hud brightness up",
                "bindel = , XF86MonBrightnessDown, exec, vantaquill hud brightness down",
                "bindel = , XF86KbdBrightnessUp, exec, vantaquill hud keyboard up",
                "bindel = , XF86KbdBrightnessDown, exec, vantaquill hud keyboard down",
                "bindl = , XF86KbdLightOnOff, exec, vantaquill hud keyboard toggle"};
    case Compositor::gnome:
        return {"# GNOME: free the volume keys from GNOME's own handler, then bind them to the command",
                "gsettings set org.gnome.settings-daemon.plugins.media-keys volume-up \"[]\"",
                "gsettings set org.gnome.settings-daemon.plugins.media-keys volume-down \"[]\"",
                "gsettings set org.gnome.settings-daemon.plugins.media-keys volume-mute \"[]\"",
                "# Settings > Keyboard > Custom Shortcuts: Volume Up runs `vantaquill hud volume up`, Volume Down "
                "`vantaquill hud volume down`, Mute `vantaquill hud volume mute` (docs/LINUX.md has the gsettings lines)",
                "# GNOME keeps the brightness keys; the island shows the levels they set"};
    case Compositor::kde:
        return {"# KDE Plasma: System Settings > Keyboard > Shortcuts: clear Volume Up/Down and Mute under Audio "
                "Volume, and the brightness and keyboard-light keys under Power Management",
                "# then Add New > Command or Script: Volume Up runs `vantaquill hud volume up`, and so on "
                "(docs/LINUX.md lists them)"};
    }
    std::unreachable();
}

std::optional<Compositor> knownCompositor(const std::string& desktop) {
    for (const Compositor compositor : compositors) {
        if (containsCaseless(desktop, std::string(compositorName(compositor))))
            return compositor;
    }
    return std::nullopt;
}

bool onWayland(const DoctorFacts& facts) {
    return facts.waylandReachable;
}

Check session(const DoctorFacts& facts) {
    Check check = named("session", Need::essential);
    const std::string desktop = facts.desktop.empty() ? "an unnamed compositor" : facts.desktop;
    if (facts.waylandReachable) {
        check.status = Status::works;
        check.summary = "Wayland (" + desktop + ") on " + *facts.waylandDisplay;
        return check;
    }
    if (facts.x11Reachable) {
        check.status = Status::works;
        check.summary = "X11 (" + desktop + ") on " + *facts.x11Display;
        return check;
    }
    if (!facts.waylandDisplay && !facts.x11Display) {
        check.summary = "no graphical session: neither WAYLAND_DISPLAY nor DISPLAY is set (the island can only run --headless)";
        return check;
    }
    check.summary = "the display in " + std::string(facts.waylandDisplay ? "WAYLAND_DISPLAY" : "DISPLAY") +
                    " does not answer";
    return check;
}

Check placement(const DoctorFacts& facts) {
    Check check = named("placement", Need::essential);
    if (onWayland(facts) && contains(facts.waylandGlobals, layerShell)) {
        check.status = Status::works;
        check.summary = "layer shell (" + std::string(layerShell) + "): the island sits above every window";
        return check;
    }
    if (facts.x11Reachable) {
        check.status = onWayland(facts) ? Status::partly : Status::works;
        check.summary = onWayland(facts) ? "X11 window through XWayland: this compositor offers no layer shell"
                                         : "X11 window, kept above the others";
        if (onWayland(facts) && !facts.waylandGlobals)
            check.lines.push_back("install wayland-utils (wayland-info) to check for a layer shell");
        return check;
    }
    if (onWayland(facts)) {
        check.summary = facts.waylandGlobals ? "no layer shell and no XWayland: nowhere to place the island"
                                             : "can't tell whether there is a layer shell: install wayland-utils";
        return check;
    }
    check.summary = "no display to place the island on";
    return check;
}

// The island hides over a full-screen window only where it can learn which window that is: the X
// window manager's properties, or the compositor's window list next to the layer shell.
Check fullScreen(const DoctorFacts& facts) {
    Check check = named("full screen", Need::optional);
    if (onWayland(facts) && contains(facts.waylandGlobals, layerShell)) {
        const bool told = contains(facts.waylandGlobals, foreignToplevel);
        check.status = told ? Status::works : Status::partly;
        check.summary = told ? "hidden over a full-screen window (" + std::string(foreignToplevel) + ")"
                             : "this compositor does not tell programs which window is full screen (no " +
                                   std::string(foreignToplevel) + "): the island stays over full-screen windows";
        return check;
    }
    if (facts.x11Reachable) {
        check.status = onWayland(facts) ? Status::partly : Status::works;
        check.summary = onWayland(facts) ? "hidden over a full-screen X11 window; Wayland windows are not seen through "
                                           "XWayland"
                                         : "hidden over a full-screen window (the window manager's _NET_WM_STATE)";
        return check;
    }
    check.summary = "no display to watch";
    return check;
}

Check clipboard(const DoctorFacts& facts) {
    Check check = named("clipboard", Need::optional);
    if (onWayland(facts)) {
        for (const auto protocol : dataControl) {
            if (contains(facts.waylandGlobals, protocol)) {
                check.status = Status::works;
                check.summary = "watched through data-control (" + std::string(protocol) + ")";
                return check;
            }
        }
    }
    if (facts.x11Reachable && contains(facts.x11Extensions, xfixes)) {
        check.status = onWayland(facts) ? Status::partly : Status::works;
        check.summary = onWayland(facts) ? "watched through XWayland (XFixes): copies in Wayland windows show up "
                                           "when XWayland hears of them"
                                         : "watched through XFixes";
        return check;
    }
    if (facts.x11Reachable && !facts.x11Extensions) {
        check.summary = "can't tell whether the X server has XFixes: install x11-utils (xdpyinfo)";
        return check;
    }
    check.summary = onWayland(facts) ? "this compositor offers no data-control protocol and there is no XWayland"
                                     : "no display whose clipboard could be watched";
    return check;
}

Check hudKeys(const DoctorFacts& facts) {
    Check check = named("HUD keys", Need::optional);
    if (facts.x11Reachable && !onWayland(facts)) {
        check.status = Status::works;
        check.summary = "volume, brightness and keyboard-light keys are grabbed on X11 where the desktop does not "
                        "hold them; `vantaquill hud` presses them from anywhere";
        return check;
    }
    const auto compositor = knownCompositor(facts.desktop);
    check.status = onWayland(facts) ? Status::partly : Status::missing;
    check.summary = onWayland(facts)
                        ? "Wayland lets no program grab keys: bind them to `vantaquill hud`, which the island steps "
                          "and flashes (levels changed elsewhere are shown too). Lines to paste:"
                        : "no session to take keys from; on Wayland bind them to `vantaquill hud`. Lines to paste:";
    const auto add = [&check](Compositor which) {
        const auto lines = bindings(which);
        check.lines.insert(check.lines.end(), lines.begin(), lines.end());
    };
    if (compositor) {
        add(*compositor);
        return check;
    }
    for (const Compositor which : compositors)
        add(which);
    return check;
}

Check sessionBus(const DoctorFacts& facts) {
    Check check = named("session bus", Need::essential);
    if (!facts.sessionBusAddress) {
        check.summary = "none (DBUS_SESSION_BUS_ADDRESS is unset and $XDG_RUNTIME_DIR/bus is absent): every island "
                        "runs on its own and vantaquill:// links can't reach a running one";
        return check;
    }
    if (!facts.sessionNames) {
        check.summary = "doesn't answer at " + *facts.sessionBusAddress;
        return check;
    }
    check.status = Status::works;
    check.summary = "one island per session, vantaquill:// links reach it";
    return check;
}

Check mpris(const DoctorFacts& facts) {
    Check check = named("MPRIS", Need::optional);
    if (!facts.sessionNames) {
        check.summary = "no session bus to find media players on";
        return check;
    }
    const auto players = std::count_if(facts.sessionNames->begin(), facts.sessionNames->end(), [](const std::string& name) {
        return name.starts_with("org.mpris.MediaPlayer2.");
    });
    check.status = Status::works;
    check.summary = players == 0 ? "no media player running now; players appear as they start"
                                 : std::to_string(players) + " media player(s) running";
    return check;
}

/// `without` names what the island reads instead when the service is missing, if anything.
Check systemService(const DoctorFacts& facts, std::string feature, std::string_view name, std::string use,
                    std::string_view without = {}) {
    Check check = named(std::move(feature), Need::optional);
    const std::string instead = without.empty() ? "no " + use : use + " from " + std::string(without) + " instead";
    if (!without.empty())
        check.status = Status::partly;
    if (!facts.systemNames) {
        check.summary = "the system bus doesn't answer: " + instead;
        return check;
    }
    if (!contains(facts.systemNames, name)) {
        check.summary = std::string(name) + " is not on the system bus: " + instead;
        return check;
    }
    check.status = Status::works;
    check.summary = std::string(name) + ": " + use;
    return check;
}

Check housing() {
    // No Linux desktop reports a camera housing, so the island floats unless the user sets one.
    Check check = named("camera housing", Need::optional);
    check.status = Status::partly;
    check.summary = "none reported by this desktop: the island floats under the top edge";
    return check;
}

Check agent(const DoctorFacts::Agent& agent) {
    Check check = named(agent.name, Need::optional);
    if (!agent.path) {
        check.summary = "not found (" + agent.program + " is not on PATH)";
        return check;
    }
    if (!agent.hooked) {
        check.status = Status::partly;
        check.summary = "found at " + *agent.path + ", not hooked: " + agent.configFile + " does not run vantaquill hook";
        return check;
    }
    check.status = Status::works;
    check.summary = "found at " + *agent.path + " and hooked in " + agent.configFile;
    return check;
}

std::string_view mark(Status status) {
    switch (status) {
    case Status::works:
        return "ok  ";
    case Status::partly:
        return "part";
    case Status::missing:
        return "no  ";
    }
    std::unreachable();
}

} // namespace

DoctorReport DoctorReport::from(const DoctorFacts& facts) {
    DoctorReport report;
    report.checks = {session(facts),
                     placement(facts),
                     fullScreen(facts),
                     clipboard(facts),
                     hudKeys(facts),
                     sessionBus(facts),
                     mpris(facts),
                     systemService(facts, "UPower", "org.freedesktop.UPower", "battery peeks",
                                   "the kernel's power-supply class"),
                     systemService(facts, "NetworkManager", "org.freedesktop.NetworkManager", "network peeks",
                                   "the kernel's routes (no Wi-Fi names or hotspots)"),
                     systemService(facts, "logind", "org.freedesktop.login1", "lock-screen and stay-awake"),
                     systemService(facts, "GeoClue", "org.freedesktop.GeoClue2", "weather for where you are"),
                     housing()};
    for (const auto& found : facts.agents)
        report.checks.push_back(agent(found));
    return report;
}

bool DoctorReport::essentialsWork() const {
    return std::all_of(checks.begin(), checks.end(),
                       [](const Check& check) { return !check.essential || check.status != Status::missing; });
}

std::string DoctorReport::text() const {
    std::size_t width = 0;
    for (const auto& check : checks)
        width = std::max(width, check.feature.size());
    std::string out;
    for (const auto& check : checks) {
        out.append(mark(check.status)).append("  ").append(check.feature);
        out.append(width - check.feature.size() + 2, ' ').append(check.summary).append("\n");
        for (const auto& line : check.lines)
            out.append(std::string(width + 8, ' ')).append(line).append("\n");
    }
    out.append(essentialsWork() ? "The essentials work here.\n"
                                : "The essentials (a display and the session bus) are missing here.\n");
    return out;
}

} // namespace vq
