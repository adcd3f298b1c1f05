#include "BrindKit/agents/AgentDecisionEncoder.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"

#include <gtest/gtest.h>

using namespace brind;

using D = AgentDecision;

// What each agent reads from the answer printed for each decision, byte for byte (compact, keys in
// order), or nothing where printing would change nothing or mislead the agent; notes say why.
TEST(AgentDecisionEncoder, WritesEachAgentsAnswer) {
    const auto text = AtomicFile::read(std::string(BRIND_TEST_DATA) + "/agents/decision-answers.json");
    ASSERT_TRUE(text.has_value());
    const JSON answers = {{"questions", JSON::array()}, {"answers", {{"Which/where?", "src/a"}}}};
    const JSON rows = JSON::parse(*text);
    ASSERT_EQ(rows.size(), 44u);
    for (const JSON& row : rows) {
        const std::string decision = row["decision"];
        const std::optional<std::string> reason =
            row.contains("reason") ? std::optional(row["reason"].get<std::string>()) : std::nullopt;
        AgentHookEvent event;
        event.agent = agentKindNamed(row["agent"].get<std::string>()).value();
        event.rawName = row["event"];
        event.sessionID = "s";
        const AgentDecision given = decision == "answers" ? D::allowUpdating(answers)
                                    : decision == "deny"  ? D::deny(reason)
                                                          : D::parse(decision).value();
        const auto expected = row["output"].is_null() ? std::nullopt : std::optional(row["output"].dump());
        EXPECT_EQ(AgentDecisionEncoder::output(given, event), expected) << row.dump();
    }
}

TEST(AgentDecisionEncoder, FallsBackWithoutBlockingWhenTheAppIsAway) {
    const auto fallback = [](AgentKind agent, std::string_view name) {
        return AgentDecisionEncoder::unreachableFallback(agent, name);
    };
    EXPECT_EQ(fallback(AgentKind::cursor, "beforeShellExecution"), R"({"permission":"ask"})");
    EXPECT_EQ(fallback(AgentKind::cursor, "beforeMCPExecution"), R"({"permission":"ask"})");
    EXPECT_EQ(fallback(AgentKind::cursor, "beforeSubmitPrompt"), R"({"continue":true})");
    EXPECT_EQ(fallback(AgentKind::cursor, "stop"), "");
    for (const AgentKind agent :
         {AgentKind::claudeCode, AgentKind::codex, AgentKind::gemini, AgentKind::generic})
        EXPECT_EQ(fallback(agent, "beforeShellExecution"), "");
}

TEST(AgentDecision, ParsesLabelsIgnoringCase) {
    EXPECT_EQ(D::parse("Allow"), D::allow());
    EXPECT_EQ(D::parse("APPROVE"), D::allow());
    EXPECT_EQ(D::parse("yes", "ignored"), D::allow());
    EXPECT_EQ(D::parse("deny", "Because"), D::deny("Because"));
    EXPECT_EQ(D::parse("Block"), D::deny());
    EXPECT_EQ(D::parse("ask"), D::ask());
    EXPECT_EQ(D::parse("NONE"), D::none());
    EXPECT_EQ(D::parse("maybe"), std::nullopt);
    EXPECT_EQ(D::parse(""), std::nullopt);
    EXPECT_EQ(D::allowUpdating(JSON::object()).label(), "allow");
    EXPECT_EQ(D::deny("x").label(), "deny");
    EXPECT_EQ(D::none().label(), "none");
}

TEST(AgentDecisionEncoder, OffersOnlyAnswersThatChangeWhatTheAgentDoes) {
    struct Case {
        AgentKind agent;
        const char* rawName;
        AgentDecisionEncoder::Meaningful meaningful;
    };
    const Case cases[] = {
        {AgentKind::claudeCode, "PermissionRequest", {true, true, false}},
        {AgentKind::claudeCode, "PreToolUse", {true, true, true}},
        {AgentKind::codex, "PermissionRequest", {true, true, false}},
        // Gemini applies its own policy after an "allow": only a denial has an effect.
        {AgentKind::gemini, "BeforeTool", {false, true, false}},
        {AgentKind::gemini, "AfterTool", {false, false, false}},
        {AgentKind::cursor, "beforeShellExecution", {true, true, true}},
        {AgentKind::cursor, "stop", {false, false, false}},
    };
    for (const Case& c : cases) {
        AgentHookEvent event;
        event.agent = c.agent;
        event.rawName = c.rawName;
        EXPECT_EQ(AgentDecisionEncoder::meaningful(event), c.meaningful) << c.rawName;
    }
}
