#include "BrindKit/agents/AgentKind.hpp"

#include <gtest/gtest.h>

using namespace brind;

TEST(AgentKind, HasRawValuesAndDisplayNamesInOrder) {
    std::vector<std::string_view> raws;
    std::vector<std::string_view> names;
    for (const AgentKind kind : allAgentKinds) {
        raws.push_back(rawValue(kind));
        names.push_back(displayName(kind));
        EXPECT_EQ(agentKindFromRawValue(rawValue(kind)), kind);
    }
    EXPECT_EQ(raws, (std::vector<std::string_view>{"claude-code", "codex", "gemini", "cursor", "generic"}));
    EXPECT_EQ(names, (std::vector<std::string_view>{"Claude Code", "Codex CLI", "Gemini CLI", "Cursor", "Agent"}));
    EXPECT_EQ(agentKindFromRawValue("claude"), std::nullopt);
}

TEST(AgentKind, ParsesLooseNames) {
    const std::pair<const char*, std::optional<AgentKind>> cases[] = {
        {"claude-code", AgentKind::claudeCode}, {"Claude", AgentKind::claudeCode},  {"CLAUDECODE", AgentKind::claudeCode},
        {"cc", AgentKind::claudeCode},          {"codex", AgentKind::codex},         {"Codex-CLI", AgentKind::codex},
        {"gemini", AgentKind::gemini},          {"gemini-cli", AgentKind::gemini},  {"Cursor", AgentKind::cursor},
        {"generic", AgentKind::generic},        {"agent", AgentKind::generic},      {"CLI", AgentKind::generic},
        {"claude code", std::nullopt},          {"", std::nullopt},                 {" codex", std::nullopt},
        {"aider", std::nullopt},
    };
    for (const auto& [name, kind] : cases)
        EXPECT_EQ(agentKindLoose(name), kind) << name;
}
