#pragma once

#include "BrindKit/agents/AgentTerminalInfo.hpp"

#include <optional>
#include <string>

namespace brind::agentstest {

/// Terminal details without designated initializers (GCC 12 warns about the fields left out).
inline AgentTerminalInfo terminalInfo(std::optional<std::string> tty, std::optional<std::string> tmuxSocket = {},
                                      std::optional<std::string> tmuxPane = {},
                                      std::optional<std::string> sessionID = {}) {
    AgentTerminalInfo info;
    info.tty = std::move(tty);
    info.tmuxSocket = std::move(tmuxSocket);
    info.tmuxPane = std::move(tmuxPane);
    info.sessionID = std::move(sessionID);
    return info;
}

} // namespace brind::agentstest
