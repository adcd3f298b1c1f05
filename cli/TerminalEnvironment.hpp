#pragma once

#include <string>
#include <utility>
#include <vector>

namespace vq::TerminalEnvironment {

/// The terminal headers a hook call carries, filled from the environment the agent runs in: the
/// terminal program, the controlling terminal (/dev/pts/N), the tmux socket and pane, the terminal's
/// own session identifier, the agent's process id, and kitty's window and WezTerm's pane ids.
/// Values that are unknown are left out.
std::vector<std::pair<std::string, std::string>> headers();

/// "/dev/pts/N" of the controlling terminal, or "" when the process has none. Agents run their hooks
/// with pipes on the standard streams, so the terminal is read from /proc rather than from them.
std::string controllingTTY();

} // namespace vq::TerminalEnvironment
