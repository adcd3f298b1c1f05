#include "BrindKit/agents/AgentEventKind.hpp"

#include <utility>

namespace brind {

std::string_view rawValue(AgentEventKind kind) {
    switch (kind) {
    case AgentEventKind::sessionStart: return "sessionStart";
    case AgentEventKind::sessionEnd: return "sessionEnd";
    case AgentEventKind::prompt: return "prompt";
    case AgentEventKind::preTool: return "preTool";
    case AgentEventKind::postTool: return "postTool";
    case AgentEventKind::permissionRequest: return "permissionRequest";
    case AgentEventKind::needsInput: return "needsInput";
    case AgentEventKind::notification: return "notification";
    case AgentEventKind::stop: return "stop";
    case AgentEventKind::subagentStop: return "subagentStop";
    case AgentEventKind::status: return "status";
    case AgentEventKind::unknown: return "unknown";
    }
    std::unreachable();
}

} // namespace brind
