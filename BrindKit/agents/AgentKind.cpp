#include "BrindKit/agents/AgentKind.hpp"

#include "BrindKit/foundation/Text.hpp"

#include <utility>

namespace brind {

std::string_view rawValue(AgentKind kind) {
    switch (kind) {
    case AgentKind::claudeCode: return "claude-code";
    case AgentKind::codex: return "codex";
    case AgentKind::gemini: return "gemini";
    case AgentKind::cursor: return "cursor";
    case AgentKind::generic: return "generic";
    }
    std::unreachable();
}

std::string_view displayName(AgentKind kind) {
    switch (kind) {
    case AgentKind::claudeCode: return "Claude Code";
    case AgentKind::codex: return "Codex CLI";
    case AgentKind::gemini: return "Gemini CLI";
    case AgentKind::cursor: return "Cursor";
    case AgentKind::generic: return "Agent";
    }
    std::unreachable();
}

std::optional<AgentKind> agentKindFromRawValue(std::string_view raw) {
    for (const AgentKind kind : allAgentKinds) {
        if (rawValue(kind) == raw)
            return kind;
    }
    return std::nullopt;
}

std::optional<AgentKind> agentKindLoose(std::string_view name) {
    struct Alias {
        std::string_view name;
        AgentKind kind;
    };
    static constexpr Alias aliases[] = {
        {"claude-code", AgentKind::claudeCode}, {"claude", AgentKind::claudeCode}, {"claudecode", AgentKind::claudeCode},
        {"cc", AgentKind::claudeCode},          {"codex", AgentKind::codex},       {"codex-cli", AgentKind::codex},
        {"gemini", AgentKind::gemini},          {"gemini-cli", AgentKind::gemini}, {"cursor", AgentKind::cursor},
        {"generic", AgentKind::generic},        {"agent", AgentKind::generic},     {"cli", AgentKind::generic},
    };
    const std::string lowered = Text::lowercased(name);
    for (const Alias& alias : aliases) {
        if (alias.name == lowered)
            return alias.kind;
    }
    return std::nullopt;
}

} // namespace brind
