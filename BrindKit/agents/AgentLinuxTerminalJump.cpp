#include "BrindKit/agents/AgentLinuxTerminalJump.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace brind::AgentLinuxTerminalJump {

namespace {

struct KnownTerminal {
    std::string_view process; ///< /proc comm (at most 15 characters)
    std::string_view title;
};

// Terminal emulators by the command name their process shows; the name is cut at 15 characters
// by the kernel, hence "gnome-terminal-".
constexpr std::array<KnownTerminal, 19> knownTerminals{{
    {"kitty", "kitty"},
    {"wezterm-gui", "WezTerm"},
    {"gnome-terminal-", "GNOME Terminal"},
    {"kgx", "GNOME Console"},
    {"konsole", "Konsole"},
    {"xterm", "xterm"},
    {"alacritty", "Alacritty"},
    {"foot", "foot"},
    {"footclient", "foot"},
    {"tilix", "Tilix"},
    {"xfce4-terminal", "Xfce Terminal"},
    {"terminator", "Terminator"},
    {"urxvt", "urxvt"},
    {"st", "st"},
    {"ghostty", "Ghostty"},
    {"mate-terminal", "MATE Terminal"},
    {"lxterminal", "LXTerminal"},
    {"qterminal", "QTerminal"},
    {"ptyxis", "Ptyxis"},
}};

std::vector<std::string> tmuxPrefix(const AgentTerminalInfo& info) {
    if (info.tmuxSocket)
        return {"-S", *info.tmuxSocket};
    return {};
}

Run tmux(const AgentTerminalInfo& info, std::vector<std::string> arguments) {
    std::vector<std::string> all = tmuxPrefix(info);
    all.insert(all.end(), std::make_move_iterator(arguments.begin()), std::make_move_iterator(arguments.end()));
    return Run{"tmux", std::move(all)};
}

// Where the agent is, in words, for a desktop that will not let us raise the window.
std::string placeOf(const Where& where, std::string_view title) {
    std::string text = "The agent runs in " + std::string(title.empty() ? "a terminal" : title);
    if (where.info.tmuxPane)
        text += ", tmux pane " + *where.info.tmuxPane;
    if (where.info.tty)
        text += ", on " + *where.info.tty;
    return text + ".";
}

} // namespace

std::optional<std::size_t> terminalIndex(const std::vector<Process>& ancestry) {
    for (std::size_t index = 0; index < ancestry.size(); ++index) {
        const auto known = std::ranges::find(knownTerminals, ancestry[index].name, &KnownTerminal::process);
        if (known != knownTerminals.end())
            return index;
    }
    return std::nullopt;
}

std::string terminalTitle(std::string_view processName) {
    const auto known = std::ranges::find(knownTerminals, processName, &KnownTerminal::process);
    return std::string(known == knownTerminals.end() ? processName : known->title);
}

std::string kwinScript(int pid) {
    return "for (const w of workspace.windowList ? workspace.windowList() : workspace.clientList()) {\n"
           "    if (w.pid === " + std::to_string(pid) + " && w.normalWindow) {\n"
           "        if (workspace.activeWindow !== undefined) workspace.activeWindow = w;\n"
           "        else workspace.activeClient = w;\n"
           "        break;\n"
           "    }\n"
           "}\n";
}

Desktop desktopFrom(std::string_view sessionType, std::string_view waylandDisplay, std::string_view currentDesktop,
                    std::string_view swaySocket, std::string_view hyprlandSignature) {
    const bool wayland = sessionType == "wayland" || (sessionType.empty() && !waylandDisplay.empty());
    if (!wayland)
        return Desktop::x11;
    if (!swaySocket.empty())
        return Desktop::sway;
    if (!hyprlandSignature.empty())
        return Desktop::hyprland;
    if (currentDesktop.find("KDE") != std::string_view::npos)
        return Desktop::kde;
    if (currentDesktop.find("GNOME") != std::string_view::npos)
        return Desktop::gnomeWayland;
    return Desktop::otherWayland;
}

std::vector<Step> plan(const Where& where, Desktop desktop, const Tools& tools) {
    std::vector<Step> steps;
    const AgentTerminalInfo& info = where.info;
    if (info.tmuxPane && tools.tmux) {
        steps.push_back(tmux(info, {"select-window", "-t", *info.tmuxPane}));
        steps.push_back(tmux(info, {"select-pane", "-t", *info.tmuxPane}));
        // A client attached to another session is moved to the pane's session.
        if (where.tmuxClientTTY)
            steps.push_back(tmux(info, {"switch-client", "-c", *where.tmuxClientTTY, "-t", *info.tmuxPane}));
    }

    const auto index = terminalIndex(where.ancestry);
    const std::string title = index ? terminalTitle(where.ancestry[*index].name) : std::string{};
    if (index && where.ancestry[*index].name == "kitty" && tools.kitten) {
        // The window id is exact; the pid of the shell the window started is the next best match.
        const std::string match = info.kittyWindow ? "id:" + *info.kittyWindow
                                  : *index > 0     ? "pid:" + std::to_string(where.ancestry[*index - 1].pid)
                                                   : std::string{};
        if (!match.empty())
            steps.push_back(Run{"kitten", {"@", "focus-window", "--match", match}});
    }
    if (index && where.ancestry[*index].name == "wezterm-gui" && tools.wezterm && info.weztermPane)
        steps.push_back(Run{"wezterm", {"cli", "activate-pane", "--pane-id", *info.weztermPane}});

    if (!index) {
        steps.push_back(Explain{placeOf(where, title) + " Its window could not be found."});
        return steps;
    }
    const std::string pid = std::to_string(where.ancestry[*index].pid);
    switch (desktop) {
    case Desktop::x11:
        if (tools.xdotool)
            steps.push_back(Run{"xdotool", {"search", "--onlyvisible", "--pid", pid, "windowactivate"}});
        else
            steps.push_back(Explain{placeOf(where, title) + " Install xdotool to bring it forward."});
        return steps;
    case Desktop::sway:
        if (tools.swaymsg)
            steps.push_back(Run{"swaymsg", {"[pid=" + pid + "]", "focus"}});
        return steps;
    case Desktop::hyprland:
        if (tools.hyprctl)
            steps.push_back(Run{"hyprctl", {"dispatch", "focuswindow", "pid:" + pid}});
        return steps;
    case Desktop::kde:
        if (tools.gdbus)
            steps.push_back(KWinScript{kwinScript(where.ancestry[*index].pid)});
        return steps;
    case Desktop::gnomeWayland:
        steps.push_back(Explain{placeOf(where, title) +
                                " GNOME on Wayland does not let other programs bring a window forward."});
        return steps;
    case Desktop::otherWayland:
        steps.push_back(Explain{placeOf(where, title) + " This desktop offers no way to bring it forward."});
        return steps;
    }
    std::unreachable();
}

} // namespace brind::AgentLinuxTerminalJump
