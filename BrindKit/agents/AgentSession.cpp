#include "BrindKit/agents/AgentSession.hpp"

#include <utility>

namespace brind {

namespace {

std::string_view shortWord(AgentKind agent) {
    switch (agent) {
    case AgentKind::claudeCode: return "claude";
    case AgentKind::codex: return "codex";
    case AgentKind::gemini: return "gemini";
    case AgentKind::cursor: return "cursor";
    case AgentKind::generic: return "agent";
    }
    std::unreachable();
}

} // namespace

std::string AgentSession::key(AgentKind agent, std::string_view sessionID) {
    std::string result(shortWord(agent));
    result += '.';
    result += sessionID;
    return result;
}

bool AgentSession::isActive(Status status) {
    switch (status) {
    case Status::working:
    case Status::awaitingApproval:
    case Status::needsInput: return true;
    case Status::finished:
    case Status::ended: return false;
    }
    std::unreachable();
}

std::string_view rawValue(AgentSession::Status status) {
    switch (status) {
    case AgentSession::Status::working: return "working";
    case AgentSession::Status::awaitingApproval: return "awaitingApproval";
    case AgentSession::Status::needsInput: return "needsInput";
    case AgentSession::Status::finished: return "finished";
    case AgentSession::Status::ended: return "ended";
    }
    std::unreachable();
}

} // namespace brind
