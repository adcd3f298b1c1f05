#include "BrindKit/agents/AgentEventDecoder.hpp"

namespace brind::AgentEventDecoder {

std::optional<std::string> eventName(AgentKind agent, std::optional<std::string_view> given, std::string_view body) {
    return eventNameIn(agent, given, JSON::parse(body, nullptr, false));
}

std::optional<std::string> eventNameIn(AgentKind agent, std::optional<std::string_view> given,
                                       const JSON& payload) {
    switch (agent) {
    case AgentKind::claudeCode:
    case AgentKind::gemini:
    case AgentKind::cursor:
        if (auto name = JSONRead::string(payload, "hook_event_name"))
            return name;
        if (given)
            return std::string(*given);
        return std::nullopt;
    case AgentKind::codex:
        // Codex names only its notification type; a notification without one ends a turn.
        return JSONRead::string(payload, "type").value_or("agent-turn-complete");
    case AgentKind::generic:
        // The generic form names its event in the body alone.
        return JSONRead::string(payload, "event");
    }
    std::unreachable();
}

} // namespace brind::AgentEventDecoder
