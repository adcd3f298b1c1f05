#include "BrindKit/agents/AgentEventDecoder.hpp"

namespace brind::AgentEventDecoder {

std::optional<std::string> eventName(AgentKind agent, std::optional<std::string_view> given, std::string_view body) {
    const auto payload = JSONText::parse(body);
    const auto key = [agent]() -> std::string_view {
        switch (agent) {
        case AgentKind::claudeCode:
        case AgentKind::gemini:
        case AgentKind::cursor:
            return "hook_event_name";
        case AgentKind::codex:
            return "type";
        case AgentKind::generic:
            return "event";
        }
        std::unreachable();
    }();
    if (payload) {
        if (auto name = JSONRead::string(*payload, key))
            return name;
    }
    if (given)
        return std::string(*given);
    return std::nullopt;
}

} // namespace brind::AgentEventDecoder
