#include "BrindKit/agents/AgentEventDecoder.hpp"

namespace brind::AgentEventDecoder {

std::optional<std::string> eventName(AgentKind agent, std::optional<std::string_view> given, std::string_view body) {
    return eventNameIn(agent, given, JSON::parse(body, nullptr, false));
}

std::optional<std::string> eventNameIn(AgentKind agent, std::optional<std::string_view> given,
                                       const JSON& payload) {
    // A body that is not an object is no event at all, whatever the agent's default name would be.
    if (!payload.is_object())
        return std::nullopt;
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
        // Codex's lifecycle hooks name their event as Claude Code does; its notify program names only
        // a notification type, and a notification without one ends a turn.
        if (auto name = JSONRead::string(payload, "hook_event_name"))
            return name;
        return JSONRead::string(payload, "type").value_or("agent-turn-complete");
    case AgentKind::generic:
        // The generic form names its event in the body alone.
        return JSONRead::string(payload, "event");
    }
    std::unreachable();
}

} // namespace brind::AgentEventDecoder
