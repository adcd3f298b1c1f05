#include "BrindKit/agents/AgentKind.hpp"

#include <gtest/gtest.h>

using namespace brind;

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
