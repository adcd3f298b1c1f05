#include "BrindKit/agents/AgentKind.hpp"

#include <gtest/gtest.h>

using namespace brind;

// Raw values are stored in rule files and sent in hook URLs: they must never change.
TEST(AgentKind, ReadsBackItsRawValuesStrictly) {
    std::vector<std::string_view> raws;
    for (const AgentKind kind : allAgentKinds) {
        raws.push_back(name(kind));
        EXPECT_EQ(agentKindNamed(name(kind)), kind);
    }
    EXPECT_EQ(raws, (std::vector<std::string_view>{"claude-code", "codex", "gemini", "cursor", "generic"}));
    EXPECT_EQ(agentKindNamed("claude"), std::nullopt);
}

TEST(AgentKind, ParsesLooseNames) {
    using enum AgentKind;
    const std::pair<const char*, AgentKind> known[] = {
        {"claude-code", claudeCode}, {"Claude", claudeCode}, {"CLAUDECODE", claudeCode},
        {"cc", claudeCode},          {"codex", codex},       {"Codex-CLI", codex},
        {"gemini", gemini},          {"gemini-cli", gemini}, {"Cursor", cursor},
        {"generic", generic},        {"agent", generic},     {"CLI", generic}};
    for (const auto& [name, kind] : known)
        EXPECT_EQ(agentKindLoose(name), kind) << name;
    for (const char* name : {"claude code", "", " codex", "aider"})
        EXPECT_EQ(agentKindLoose(name), std::nullopt) << name;
}
