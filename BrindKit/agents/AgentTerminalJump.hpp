#pragma once

#include "BrindKit/agents/AgentTerminalInfo.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace brind {

/// Plans the steps that bring an agent's exact terminal tab or tmux pane forward. The application
/// shell's runner carries them out; nothing here starts a process.
namespace AgentTerminalJump {

/// Run tmux with these arguments.
struct Tmux {
    std::vector<std::string> arguments;
    friend bool operator==(const Tmux&, const Tmux&) = default;
};
/// Run this automation script; it prints "ok" when it found the tab and "missing" otherwise.
struct AppleScript {
    std::string source;
    friend bool operator==(const AppleScript&, const AppleScript&) = default;
};
/// Bring the application with this identifier to the front.
struct Activate {
    std::string bundleID;
    friend bool operator==(const Activate&, const Activate&) = default;
};
using Step = std::variant<Tmux, AppleScript, Activate>;

/// The steps in order: select the tmux window and pane when a pane is known (after which the tmux
/// client's tty, `tmuxClientTTY`, stands for the terminal), then a script that selects the tab
/// for terminals that can be scripted, then activating the application.
std::vector<Step> plan(const std::optional<AgentTerminalInfo>& info, const std::optional<std::string>& bundleID,
                       const std::optional<std::string>& tmuxClientTTY);

/// The tmux arguments that list the ttys of the clients showing the pane; nothing without a pane.
std::optional<std::vector<std::string>> tmuxClientsArgs(const AgentTerminalInfo& info);

/// The script that selects the Terminal tab whose tty is `tty`.
std::string terminalScript(std::string_view tty);

/// The script that selects the iTerm2 session with this tty or unique identifier.
std::string itermScript(const std::optional<std::string>& tty, const std::optional<std::string>& uniqueID);

/// The unique part of a terminal session identifier ("w0t1p0:UUID" gives "UUID").
std::optional<std::string> itermUUID(std::string_view sessionID);

} // namespace AgentTerminalJump

} // namespace brind
