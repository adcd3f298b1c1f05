#include "BrindKit/agents/AgentDecisionEncoder.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

AgentHookEvent event(AgentKind agent, std::string rawName) {
    AgentHookEvent result;
    result.agent = agent;
    result.rawName = std::move(rawName);
    result.sessionID = "s";
    return result;
}

const JSON answers = {{"questions", JSON::array()}, {"answers", {{"Which/where?", "src/a"}}}};

struct Row {
    AgentKind agent;
    const char* rawName;
    AgentDecision decision;
    std::optional<std::string> output;
};

void check(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        EXPECT_EQ(AgentDecisionEncoder::output(row.decision, event(row.agent, row.rawName)), row.output)
            << rawValue(row.agent) << " " << row.rawName << " " << row.decision.label();
    }
}

} // namespace

TEST(AgentDecisionEncoder, WritesClaudeCodeAnswers) {
    using D = AgentDecision;
    const AgentKind c = AgentKind::claudeCode;
    check({
        {c, "PreToolUse", D::allow(),
         R"({"hookSpecificOutput":{"hookEventName":"PreToolUse","permissionDecision":"allow",)"
         R"("permissionDecisionReason":"Allowed from the vantaquill island."}})"},
        {c, "PreToolUse", D::allowUpdating(answers),
         R"({"hookSpecificOutput":{"hookEventName":"PreToolUse","permissionDecision":"allow",)"
         R"("permissionDecisionReason":"Answered from the vantaquill island.",)"
         R"("updatedInput":{"answers":{"Which/where?":"src/a"},"questions":[]}}})"},
        {c, "PreToolUse", D::deny("Use pnpm"),
         R"({"hookSpecificOutput":{"hookEventName":"PreToolUse","permissionDecision":"deny",)"
         R"("permissionDecisionReason":"Use pnpm"}})"},
        {c, "PreToolUse", D::deny(),
         R"({"hookSpecificOutput":{"hookEventName":"PreToolUse","permissionDecision":"deny",)"
         R"("permissionDecisionReason":"Denied from the vantaquill island."}})"},
        {c, "PreToolUse", D::ask(), R"({"hookSpecificOutput":{"hookEventName":"PreToolUse","permissionDecision":"ask"}})"},
        {c, "PreToolUse", D::none(), std::nullopt},
        {c, "PermissionRequest", D::allow(),
         R"({"hookSpecificOutput":{"decision":{"behavior":"allow"},"hookEventName":"PermissionRequest"}})"},
        {c, "PermissionRequest", D::allowUpdating(answers),
         R"({"hookSpecificOutput":{"decision":{"behavior":"allow","updatedInput":{"answers":{"Which/where?":"src/a"},)"
         R"("questions":[]}},"hookEventName":"PermissionRequest"}})"},
        {c, "PermissionRequest", D::deny("No \"rm\""),
         R"({"hookSpecificOutput":{"decision":{"behavior":"deny","message":"No \"rm\""},)"
         R"("hookEventName":"PermissionRequest"}})"},
        {c, "PermissionRequest", D::deny(" "),
         R"({"hookSpecificOutput":{"decision":{"behavior":"deny","message":"Denied from the vantaquill island."},)"
         R"("hookEventName":"PermissionRequest"}})"},
        {c, "PermissionRequest", D::ask(), std::nullopt},
        {c, "PermissionRequest", D::none(), std::nullopt},
        {c, "PostToolUse", D::allow(), std::nullopt},
        {c, "Stop", D::deny(), std::nullopt},
    });
}

TEST(AgentDecisionEncoder, WritesGeminiAndCursorAnswers) {
    using D = AgentDecision;
    const AgentKind g = AgentKind::gemini;
    const AgentKind u = AgentKind::cursor;
    check({
        {g, "BeforeTool", D::allow(), R"({"decision":"allow"})"},
        {g, "BeforeTool", D::allowUpdating(answers), R"({"decision":"allow"})"},
        {g, "BeforeTool", D::deny("Too broad"), R"({"decision":"deny","reason":"Too broad"})"},
        {g, "BeforeTool", D::deny(), R"({"decision":"deny","reason":"Denied from the vantaquill island."})"},
        {g, "BeforeTool", D::ask(), std::nullopt},
        {g, "BeforeTool", D::none(), std::nullopt},
        {g, "AfterTool", D::allow(), std::nullopt},
        {u, "beforeSubmitPrompt", D::allow(), R"({"continue":true})"},
        {u, "beforeSubmitPrompt", D::deny(), R"({"continue":true})"},
        {u, "beforeSubmitPrompt", D::none(), R"({"continue":true})"},
        {u, "beforeShellExecution", D::allow(), R"({"permission":"allow"})"},
        {u, "beforeShellExecution", D::allowUpdating(answers), R"({"permission":"allow"})"},
        {u, "beforeShellExecution", D::deny("Not on main"),
         R"({"agent_message":"Not on main","permission":"deny","user_message":"Not on main"})"},
        {u, "beforeMCPExecution", D::deny(),
         R"({"agent_message":"Denied from the vantaquill island.","permission":"deny",)"
         R"("user_message":"Denied from the vantaquill island."})"},
        {u, "beforeMCPExecution", D::ask(), R"({"permission":"ask"})"},
        {u, "beforeShellExecution", D::none(), std::nullopt},
        {u, "afterFileEdit", D::allow(), std::nullopt},
    });
}

TEST(AgentDecisionEncoder, WritesCodexAndGenericAnswers) {
    using D = AgentDecision;
    for (const AgentKind agent : {AgentKind::codex, AgentKind::generic}) {
        check({
            {agent, "approval-requested", D::allow(), R"({"decision":"allow"})"},
            {agent, "approve", D::allowUpdating(answers), R"({"decision":"allow"})"},
            {agent, "approve", D::deny("Path/outside"), R"({"decision":"deny","reason":"Path/outside"})"},
            {agent, "anything", D::deny(), R"({"decision":"deny","reason":"Denied from the vantaquill island."})"},
            {agent, "anything", D::ask(), R"({"decision":"ask"})"},
            {agent, "anything", D::none(), std::nullopt},
        });
    }
}

TEST(AgentDecisionEncoder, FallsBackWithoutBlockingWhenTheAppIsAway) {
    EXPECT_EQ(AgentDecisionEncoder::unreachableFallback(AgentKind::cursor, "beforeShellExecution"),
              "{\"permission\":\"ask\"}");
    EXPECT_EQ(AgentDecisionEncoder::unreachableFallback(AgentKind::cursor, "beforeMCPExecution"),
              "{\"permission\":\"ask\"}");
    EXPECT_EQ(AgentDecisionEncoder::unreachableFallback(AgentKind::cursor, "beforeSubmitPrompt"), "{\"continue\":true}");
    EXPECT_EQ(AgentDecisionEncoder::unreachableFallback(AgentKind::cursor, "stop"), "");
    for (const AgentKind agent : {AgentKind::claudeCode, AgentKind::codex, AgentKind::gemini, AgentKind::generic})
        EXPECT_EQ(AgentDecisionEncoder::unreachableFallback(agent, "beforeShellExecution"), "");
    EXPECT_EQ(AgentDecisionEncoder::denyDefault, "Denied from the vantaquill island.");
}

TEST(AgentDecision, ParsesLabelsIgnoringCase) {
    EXPECT_EQ(AgentDecision::parse("Allow"), AgentDecision::allow());
    EXPECT_EQ(AgentDecision::parse("APPROVE"), AgentDecision::allow());
    EXPECT_EQ(AgentDecision::parse("yes", "ignored"), AgentDecision::allow());
    EXPECT_EQ(AgentDecision::parse("deny", "Because"), AgentDecision::deny("Because"));
    EXPECT_EQ(AgentDecision::parse("Block"), AgentDecision::deny());
    EXPECT_EQ(AgentDecision::parse("ask"), AgentDecision::ask());
    EXPECT_EQ(AgentDecision::parse("NONE"), AgentDecision::none());
    EXPECT_EQ(AgentDecision::parse("maybe"), std::nullopt);
    EXPECT_EQ(AgentDecision::parse(""), std::nullopt);
    EXPECT_EQ(AgentDecision::allowUpdating(JSON::object()).label(), "allow");
    EXPECT_EQ(AgentDecision::deny("x").label(), "deny");
    EXPECT_EQ(AgentDecision::none().label(), "none");
}
