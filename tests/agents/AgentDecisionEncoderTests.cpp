#include "BrindKit/agents/AgentDecisionEncoder.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

using D = AgentDecision;

const JSON answers = {{"questions", JSON::array()}, {"answers", {{"Which/where?", "src/a"}}}};
const std::string answersText = R"({"answers":{"Which/where?":"src/a"},"questions":[]})";

struct Row {
    AgentKind agent;
    const char* rawName;
    AgentDecision decision;
    std::optional<std::string> output;
};

void check(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        AgentHookEvent event;
        event.agent = row.agent;
        event.rawName = row.rawName;
        event.sessionID = "s";
        EXPECT_EQ(AgentDecisionEncoder::output(row.decision, event), row.output)
            << name(row.agent) << " " << row.rawName << " " << row.decision.label();
    }
}

std::string preToolUse(const std::string& fields) {
    return R"({"hookSpecificOutput":{"hookEventName":"PreToolUse","permissionDecision":)" + fields + "}}";
}

std::string permissionRequest(const std::string& decision) {
    return R"({"hookSpecificOutput":{"decision":)" + decision + R"(,"hookEventName":"PermissionRequest"}})";
}

} // namespace

TEST(AgentDecisionEncoder, WritesClaudeCodeAnswers) {
    const AgentKind c = AgentKind::claudeCode;
    check({
        {c, "PreToolUse", D::allow(),
         preToolUse(R"("allow","permissionDecisionReason":"Allowed from the vantaquill island.")")},
        {c, "PreToolUse", D::allowUpdating(answers),
         preToolUse(
             R"("allow","permissionDecisionReason":"Answered from the vantaquill island.","updatedInput":)" +
             answersText)},
        {c, "PreToolUse", D::deny("Use pnpm"), preToolUse(R"("deny","permissionDecisionReason":"Use pnpm")")},
        {c, "PreToolUse", D::deny(),
         preToolUse(R"("deny","permissionDecisionReason":"Denied from the vantaquill island.")")},
        {c, "PreToolUse", D::ask(), preToolUse(R"("ask")")},
        {c, "PreToolUse", D::none(), std::nullopt},
        {c, "PermissionRequest", D::allow(), permissionRequest(R"({"behavior":"allow"})")},
        {c, "PermissionRequest", D::allowUpdating(answers),
         permissionRequest(R"({"behavior":"allow","updatedInput":)" + answersText + "}")},
        {c, "PermissionRequest", D::deny("No \"rm\""),
         permissionRequest(R"({"behavior":"deny","message":"No \"rm\""})")},
        // A blank reason would show the agent nothing.
        {c, "PermissionRequest", D::deny(" "),
         permissionRequest(R"({"behavior":"deny","message":"Denied from the vantaquill island."})")},
        // The permission dialog has no "ask": not answering leaves the agent's own prompt up.
        {c, "PermissionRequest", D::ask(), std::nullopt},
        {c, "PostToolUse", D::allow(), std::nullopt},
    });
}

TEST(AgentDecisionEncoder, WritesGeminiAndCursorAnswers) {
    const AgentKind g = AgentKind::gemini;
    const AgentKind u = AgentKind::cursor;
    check({
        {g, "BeforeTool", D::allow(), R"({"decision":"allow"})"},
        {g, "BeforeTool", D::allowUpdating(answers), R"({"decision":"allow"})"},
        {g, "BeforeTool", D::deny("Too broad"), R"({"decision":"deny","reason":"Too broad"})"},
        {g, "BeforeTool", D::deny(), R"({"decision":"deny","reason":"Denied from the vantaquill island."})"},
        {g, "BeforeTool", D::ask(), std::nullopt},
        {g, "AfterTool", D::allow(), std::nullopt},
        // Prompts are never held back, whatever the decision.
        {u, "beforeSubmitPrompt", D::deny(), R"({"continue":true})"},
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
    for (const AgentKind agent : {AgentKind::codex, AgentKind::generic}) {
        check({
            {agent, "approval-requested", D::allow(), R"({"decision":"allow"})"},
            {agent, "approve", D::allowUpdating(answers), R"({"decision":"allow"})"},
            {agent, "approve", D::deny("Path/outside"), R"({"decision":"deny","reason":"Path/outside"})"},
            {agent, "anything", D::deny(),
             R"({"decision":"deny","reason":"Denied from the vantaquill island."})"},
            {agent, "anything", D::ask(), R"({"decision":"ask"})"},
            {agent, "anything", D::none(), std::nullopt},
        });
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

// Codex's lifecycle hooks read Claude Code's permission answer; a plain {"decision": ...} printed to
// them would be ignored or misread, so only PermissionRequest gets an answer there.
TEST(AgentDecisionEncoder, AnswersCodexPermissionRequestsInTheirOwnShape) {
    check({
        {AgentKind::codex, "PermissionRequest", D::allow(), permissionRequest(R"({"behavior":"allow"})")},
        {AgentKind::codex, "PermissionRequest", D::allowUpdating(answers), permissionRequest(R"({"behavior":"allow"})")},
        {AgentKind::codex, "PermissionRequest", D::deny("no/publish"),
         permissionRequest(R"({"behavior":"deny","message":"no/publish"})")},
        {AgentKind::codex, "PermissionRequest", D::ask(), std::nullopt},
        {AgentKind::codex, "PreToolUse", D::allow(), std::nullopt},
        {AgentKind::codex, "Stop", D::deny(), std::nullopt},
    });
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
