#include "BrindKit/agents/AgentKind.hpp"

#include "BrindKit/foundation/EnumTable.hpp"
#include "BrindKit/foundation/Text.hpp"

namespace brind {

namespace {

struct AgentKindRow {
    AgentKind value;
    std::string_view name;
    std::string_view displayName;
    std::string_view keyWord;
};

constexpr auto agentKindRows = std::to_array<AgentKindRow>({
    {AgentKind::claudeCode, "claude-code", "Claude Code", "claude"},
    {AgentKind::codex, "codex", "Codex CLI", "codex"},
    {AgentKind::gemini, "gemini", "Gemini CLI", "gemini"},
    {AgentKind::cursor, "cursor", "Cursor", "cursor"},
    {AgentKind::generic, "generic", "Agent", "agent"},
});
static_assert(EnumTable::coversEveryCase(agentKindRows));
static_assert(EnumTable::coversEveryCase(allAgentKinds));

} // namespace

std::string_view name(AgentKind kind) {
    return EnumTable::row(agentKindRows, kind).name;
}

std::optional<AgentKind> agentKindNamed(std::string_view text) {
    return EnumTable::named(agentKindRows, text);
}

std::string_view displayName(AgentKind kind) {
    return EnumTable::row(agentKindRows, kind).displayName;
}

std::string_view keyWord(AgentKind kind) {
    return EnumTable::row(agentKindRows, kind).keyWord;
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
