#pragma once

#include "BrindKit/agents/AgentTerminalInfo.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace brind {

/// Plans how to bring an agent's terminal forward on a Linux desktop, most precise first: the tmux
/// pane, then the terminal's own tab (kitty, WezTerm), then the terminal's window through whatever
/// the desktop offers (X11 `_NET_ACTIVE_WINDOW` via xdotool, sway and Hyprland IPC, a KWin script
/// over D-Bus). GNOME on Wayland lets no other program raise a window: the plan then says so and
/// names the terminal and tab instead. Nothing here starts a process; the runner carries steps out.
namespace AgentLinuxTerminalJump {

/// One process on the road from the agent up to the terminal emulator (from /proc/N/stat).
struct Process {
    int pid = 0;
    std::string name; ///< the command name, as /proc/N/comm gives it
    friend bool operator==(const Process&, const Process&) = default;
};

enum class Desktop {
    x11,          ///< any X11 session: windows are raised with _NET_ACTIVE_WINDOW
    sway,         ///< sway on Wayland (swaymsg)
    hyprland,     ///< Hyprland on Wayland (hyprctl)
    kde,          ///< KDE Plasma on Wayland (a KWin script over D-Bus)
    gnomeWayland, ///< GNOME on Wayland: no program may raise another's window
    otherWayland, ///< another Wayland compositor without a known way in
};

/// Which helper programs the runner found on PATH.
struct Tools {
    bool tmux = false;
    bool kitten = false;
    bool wezterm = false;
    bool xdotool = false;
    bool swaymsg = false;
    bool hyprctl = false;
    bool gdbus = false;
    friend bool operator==(const Tools&, const Tools&) = default;
};

/// What the runner learned before planning.
struct Where {
    AgentTerminalInfo info;
    /// From the process that draws in the terminal (the agent, or under tmux the tmux client) up to
    /// the first process of the session; the terminal emulator is found on it.
    std::vector<Process> ancestry;
    /// The tty of the tmux client showing the pane (`tmux list-clients`), when under tmux.
    std::optional<std::string> tmuxClientTTY;
    friend bool operator==(const Where&, const Where&) = default;
};

/// Run a program with these arguments.
struct Run {
    std::string program;
    std::vector<std::string> arguments;
    friend bool operator==(const Run&, const Run&) = default;
};
/// Load and run this KWin script through org.kde.KWin /Scripting, then unload it.
struct KWinScript {
    std::string source;
    friend bool operator==(const KWinScript&, const KWinScript&) = default;
};
/// The window cannot be raised from here: show this sentence to the user instead.
struct Explain {
    std::string text;
    friend bool operator==(const Explain&, const Explain&) = default;
};
using Step = std::variant<Run, KWinScript, Explain>;

std::vector<Step> plan(const Where& where, Desktop desktop, const Tools& tools);

/// The position in `ancestry` of the terminal emulator: the first process whose name is a known
/// terminal's; nothing when none is.
std::optional<std::size_t> terminalIndex(const std::vector<Process>& ancestry);

/// The terminal's name as people know it ("kitty", "GNOME Terminal", ...), from its process name.
std::string terminalTitle(std::string_view processName);

/// The KWin script that activates the first normal window of process `pid`.
std::string kwinScript(int pid);

/// The desktop named by the session's environment: XDG_SESSION_TYPE (or WAYLAND_DISPLAY),
/// XDG_CURRENT_DESKTOP, SWAYSOCK and HYPRLAND_INSTANCE_SIGNATURE, each given as found (empty when unset).
Desktop desktopFrom(std::string_view sessionType, std::string_view waylandDisplay, std::string_view currentDesktop,
                    std::string_view swaySocket, std::string_view hyprlandSignature);

} // namespace AgentLinuxTerminalJump

} // namespace brind
