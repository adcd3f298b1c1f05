#include "BrindKit/agents/AgentEventDecoder.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <string>

using namespace brind;

namespace {

const Date now{1'760'000'000};
const std::string ellipsis = "\xE2\x80\xA6";
const std::string returnSymbol = " \xE2\x8F\x8E ";

std::string payload(const std::string& name) {
    const auto text = AtomicFile::read(std::string(BRIND_TEST_DATA) + "/agents/payloads/" + name);
    EXPECT_TRUE(text.has_value()) << name;
    return text.value_or("");
}

AgentHookEvent event(AgentKind agent, AgentEventKind kind, std::string rawName, std::string sessionID) {
    AgentHookEvent result;
    result.agent = agent;
    result.kind = kind;
    result.rawName = std::move(rawName);
    result.sessionID = std::move(sessionID);
    result.date = now;
    return result;
}

AgentHookEvent decoded(AgentKind agent, std::string_view body, std::optional<std::string_view> eventName = {}) {
    auto result = AgentEventDecoder::decode(agent, eventName, body, now);
    EXPECT_TRUE(result.has_value()) << body;
    return result.value_or(AgentHookEvent{});
}

struct FixtureCase {
    const char* file;
    AgentKind agent;
    AgentHookEvent expected;
};

std::vector<FixtureCase> fixtureCases() {
    using K = AgentEventKind;
    const std::string claudeSession = "8f3c2a1e-5b7d-4e0f-9a6c-2d1b0e9f8a7c";
    const std::string lighthouse = "/home/ada/src/lighthouse";
    const std::string shortTranscript = "/home/ada/.claude/projects/-home-ada-src-lighthouse/8f3c2a1e.jsonl";
    std::vector<FixtureCase> cases;

    auto pre = event(AgentKind::claudeCode, K::preTool, "PreToolUse", claudeSession);
    pre.cwd = lighthouse;
    pre.transcriptPath = "/home/ada/.claude/projects/-home-ada-src-lighthouse/" + claudeSession + ".jsonl";
    pre.toolName = "Bash";
    pre.toolSummary = "npm test -- --watch=false" + returnSymbol + "npm run lint";
    pre.toolInputJSON = R"({"command":"npm test -- --watch=false\nnpm run lint",)"
                        R"("description":"Run the unit tests and the linter","timeout":120000})";
    pre.model = "Sonnet 4.5";
    cases.push_back({"claude-pre-tool-use.json", AgentKind::claudeCode, pre});

    auto permission = event(AgentKind::claudeCode, K::permissionRequest, "PermissionRequest", claudeSession);
    permission.cwd = lighthouse;
    permission.transcriptPath = shortTranscript;
    permission.toolName = "Write";
    permission.toolSummary = ellipsis + "/src/beam/rotation.ts";
    permission.toolInputJSON =
        R"({"content":"export const period = 5;\n","file_path":"/home/ada/src/lighthouse/src/beam/rotation.ts"})";
    cases.push_back({"claude-permission-request.json", AgentKind::claudeCode, permission});

    auto idle = event(AgentKind::claudeCode, K::needsInput, "Notification", claudeSession);
    idle.cwd = lighthouse;
    idle.transcriptPath = shortTranscript;
    idle.message = "Claude is waiting for your input";
    idle.notificationType = "idle_prompt";
    cases.push_back({"claude-notification-idle.json", AgentKind::claudeCode, idle});

    auto untyped = event(AgentKind::claudeCode, K::needsInput, "Notification", claudeSession);
    untyped.cwd = lighthouse;
    untyped.transcriptPath = shortTranscript;
    untyped.message = "Claude needs your permission to use Bash";
    cases.push_back({"claude-notification-untyped.json", AgentKind::claudeCode, untyped});

    auto prompt = event(AgentKind::claudeCode, K::prompt, "UserPromptSubmit", claudeSession);
    prompt.cwd = lighthouse;
    prompt.transcriptPath = shortTranscript;
    prompt.prompt = "Make the beam rotate twice as fast\nand update the tests";
    cases.push_back({"claude-user-prompt-submit.json", AgentKind::claudeCode, prompt});

    auto stop = event(AgentKind::claudeCode, K::stop, "Stop", claudeSession);
    stop.cwd = lighthouse;
    stop.transcriptPath = shortTranscript;
    stop.message = "Done: the beam now rotates every 2.5 s.";
    cases.push_back({"claude-stop.json", AgentKind::claudeCode, stop});

    auto start = event(AgentKind::claudeCode, K::sessionStart, "SessionStart", claudeSession);
    start.cwd = lighthouse;
    start.transcriptPath = shortTranscript;
    start.model = "claude-opus-4-1";
    cases.push_back({"claude-session-start.json", AgentKind::claudeCode, start});

    auto turn = event(AgentKind::codex, K::stop, "agent-turn-complete", "0199a213-81c0-7800-8aa1-bbab2a035a53");
    turn.cwd = lighthouse;
    turn.prompt = "Also fix the imports";
    turn.message = "Renamed lamp to beacon and fixed 6 imports.";
    cases.push_back({"codex-agent-turn-complete.json", AgentKind::codex, turn});

    auto approval = event(AgentKind::codex, K::needsInput, "approval-requested", "0199a213-81c0-7800-8aa1-bbab2a035a53");
    approval.cwd = lighthouse;
    cases.push_back({"codex-approval-requested.json", AgentKind::codex, approval});

    const std::string geminiSession = "c2b9e6f4-1a2b-4c3d-8e9f-0a1b2c3d4e5f";
    auto beforeTool = event(AgentKind::gemini, K::preTool, "BeforeTool", geminiSession);
    beforeTool.cwd = lighthouse;
    beforeTool.transcriptPath = "/home/ada/.gemini/tmp/5f1e/chats/session-2025-10-01T09-12-c2b9e6f4.json";
    beforeTool.toolName = "run_shell_command";
    beforeTool.toolSummary = "git status --short";
    beforeTool.toolInputJSON = R"({"command":"git status --short","description":"Show changed files"})";
    cases.push_back({"gemini-before-tool.json", AgentKind::gemini, beforeTool});

    auto geminiAsk = event(AgentKind::gemini, K::needsInput, "Notification", geminiSession);
    geminiAsk.cwd = lighthouse;
    geminiAsk.transcriptPath = "/home/ada/.gemini/tmp/5f1e/chats/session-c2b9e6f4.json";
    geminiAsk.notificationType = "ToolPermission";
    geminiAsk.message = "Tool run_shell_command requires confirmation";
    cases.push_back({"gemini-notification.json", AgentKind::gemini, geminiAsk});

    auto afterAgent = event(AgentKind::gemini, K::stop, "AfterAgent", geminiSession);
    afterAgent.cwd = lighthouse;
    afterAgent.transcriptPath = "/home/ada/.gemini/tmp/5f1e/chats/session-c2b9e6f4.json";
    afterAgent.prompt = "Summarise the open pull requests";
    afterAgent.message = "There are three open pull requests:";
    cases.push_back({"gemini-after-agent.json", AgentKind::gemini, afterAgent});

    const std::string cursorSession = "5e8a1c7d-2f3b-4a6e-9d0c-1b2a3c4d5e6f";
    auto shell = event(AgentKind::cursor, K::permissionRequest, "beforeShellExecution", cursorSession);
    shell.cwd = lighthouse; // the workspace root wins over the command's own folder
    shell.toolName = "Shell";
    shell.toolSummary = "pnpm install --frozen-lockfile";
    shell.toolInputJSON = R"({"command":"pnpm install --frozen-lockfile"})";
    shell.model = "claude-4.5-sonnet";
    cases.push_back({"cursor-before-shell-execution.json", AgentKind::cursor, shell});

    auto mcp = event(AgentKind::cursor, K::permissionRequest, "beforeMCPExecution", cursorSession);
    mcp.cwd = lighthouse;
    mcp.toolName = "MCP create_issue";
    mcp.toolInputJSON = R"({"repo":"ada/lighthouse","title":"Beam flickers"})";
    cases.push_back({"cursor-before-mcp-execution.json", AgentKind::cursor, mcp});

    auto edit = event(AgentKind::cursor, K::postTool, "afterFileEdit", cursorSession);
    edit.cwd = lighthouse;
    edit.toolName = "Edit";
    edit.toolSummary = ellipsis + "/src/beam/rotation.ts";
    cases.push_back({"cursor-after-file-edit.json", AgentKind::cursor, edit});

    auto cursorStop = event(AgentKind::cursor, K::stop, "stop", cursorSession);
    cursorStop.cwd = lighthouse; // empty workspace roots fall back to cwd
    cursorStop.message = "Finished (completed)";
    cases.push_back({"cursor-stop.json", AgentKind::cursor, cursorStop});

    auto generic = event(AgentKind::claudeCode, K::status, "progress", "nightly-build");
    generic.cwd = "/srv/ci/lighthouse";
    generic.toolName = "make";
    generic.toolSummary = "make -j8 release";
    generic.message = "Linking";
    generic.progress = 1.0;
    generic.title = "nightly-build";
    cases.push_back({"generic-progress.json", AgentKind::generic, generic});
    return cases;
}

} // namespace

TEST(AgentEventDecoder, DecodesEachAgentsDocumentedPayloads) {
    for (const FixtureCase& c : fixtureCases()) {
        const auto result = AgentEventDecoder::decode(c.agent, std::nullopt, payload(c.file), now);
        ASSERT_TRUE(result.has_value()) << c.file;
        EXPECT_EQ(*result, c.expected) << c.file;
    }
}

TEST(AgentEventDecoder, MapsEventNamesToKinds) {
    struct Case {
        AgentKind agent;
        const char* body;
        AgentEventKind kind;
    };
    using K = AgentEventKind;
    const Case cases[] = {
        {AgentKind::claudeCode, R"({"hook_event_name":"SessionEnd"})", K::sessionEnd},
        {AgentKind::claudeCode, R"({"hook_event_name":"PostToolUse"})", K::postTool},
        {AgentKind::claudeCode, R"({"hook_event_name":"SubagentStop"})", K::subagentStop},
        {AgentKind::claudeCode, R"({"hook_event_name":"PreCompact"})", K::unknown},
        {AgentKind::claudeCode, R"({"hook_event_name":"Notification","message":"Build done"})", K::notification},
        {AgentKind::claudeCode, R"({"hook_event_name":"Notification","message":"Claude is WAITING For Your Input"})",
         K::needsInput},
        {AgentKind::claudeCode, R"({"hook_event_name":"Notification","notification_type":"elicitation_url_dialog"})",
         K::needsInput},
        // A type outside the list wins over the wording of the message.
        {AgentKind::claudeCode,
         R"({"hook_event_name":"Notification","notification_type":"auth_success","message":"waiting for your input"})",
         K::notification},
        {AgentKind::codex, R"({"type":"exec-approval-request"})", K::needsInput},
        {AgentKind::codex, R"({"type":"turn-aborted"})", K::notification},
        {AgentKind::gemini, R"({"hook_event_name":"SessionStart"})", K::sessionStart},
        {AgentKind::gemini, R"({"hook_event_name":"SessionEnd"})", K::sessionEnd},
        {AgentKind::gemini, R"({"hook_event_name":"BeforeAgent"})", K::prompt},
        {AgentKind::gemini, R"({"hook_event_name":"AfterTool"})", K::postTool},
        {AgentKind::gemini, R"({"hook_event_name":"Notification"})", K::notification},
        {AgentKind::gemini, R"({"hook_event_name":"BeforeModel"})", K::unknown},
        {AgentKind::cursor, R"({"hook_event_name":"sessionStart"})", K::sessionStart},
        {AgentKind::cursor, R"({"hook_event_name":"sessionEnd"})", K::sessionEnd},
        {AgentKind::cursor, R"({"hook_event_name":"beforeSubmitPrompt"})", K::prompt},
        {AgentKind::cursor, R"({"hook_event_name":"afterShellExecution"})", K::postTool},
        {AgentKind::cursor, R"({"hook_event_name":"preToolUse"})", K::preTool},
        {AgentKind::cursor, R"({"hook_event_name":"postToolUse"})", K::postTool},
        {AgentKind::cursor, R"({"hook_event_name":"subagentStop"})", K::subagentStop},
        {AgentKind::cursor, R"({"hook_event_name":"beforeReadFile"})", K::unknown},
        {AgentKind::generic, R"({"event":"start"})", K::sessionStart},
        {AgentKind::generic, R"({"event":"update"})", K::status},
        {AgentKind::generic, R"({"event":"status"})", K::status},
        {AgentKind::generic, R"({"event":"tool"})", K::preTool},
        {AgentKind::generic, R"({"event":"ask"})", K::needsInput},
        {AgentKind::generic, R"({"event":"input"})", K::needsInput},
        {AgentKind::generic, R"({"event":"approve"})", K::permissionRequest},
        {AgentKind::generic, R"({"event":"permission"})", K::permissionRequest},
        {AgentKind::generic, R"({"event":"done"})", K::stop},
        {AgentKind::generic, R"({"event":"finish"})", K::stop},
        {AgentKind::generic, R"({"event":"stop"})", K::stop},
        {AgentKind::generic, R"({"event":"end"})", K::sessionEnd},
        {AgentKind::generic, R"({"event":"quit"})", K::sessionEnd},
        {AgentKind::generic, R"({"event":"something-new"})", K::status},
    };
    for (const Case& c : cases)
        EXPECT_EQ(decoded(c.agent, c.body).kind, c.kind) << c.body;
}

TEST(AgentEventDecoder, FailsOnlyOnBadBodiesAndMissingEventNames) {
    for (const char* body : {"", "not json", "[1,2]", "\"text\"", "{\"a\":", "null"}) {
        const auto result = AgentEventDecoder::decode(AgentKind::claudeCode, "Stop", body, now);
        ASSERT_FALSE(result.has_value()) << body;
        EXPECT_EQ(result.error(), AgentDecodeError::notJSON) << body;
    }
    for (const AgentKind agent : {AgentKind::claudeCode, AgentKind::gemini, AgentKind::cursor, AgentKind::generic}) {
        const auto result = AgentEventDecoder::decode(agent, std::nullopt, R"({"hook_event_name":7,"event":false})", now);
        ASSERT_FALSE(result.has_value()) << rawValue(agent);
        EXPECT_EQ(result.error(), AgentDecodeError::missingEvent);
    }
    // An empty Codex notification is a finished turn.
    const AgentHookEvent codex = decoded(AgentKind::codex, "{}");
    EXPECT_EQ(codex.kind, AgentEventKind::stop);
    EXPECT_EQ(codex.rawName, "agent-turn-complete");
    EXPECT_EQ(codex.sessionID, "codex");
}

TEST(AgentEventDecoder, TakesTheEventNameFromTheRequestWhenTheBodyHasNone) {
    const AgentHookEvent claude = decoded(AgentKind::claudeCode, R"({"session_id":"s"})", "Stop");
    EXPECT_EQ(claude.kind, AgentEventKind::stop);
    EXPECT_EQ(claude.rawName, "Stop");
    // The body's own name wins.
    EXPECT_EQ(decoded(AgentKind::gemini, R"({"hook_event_name":"AfterTool"})", "BeforeTool").kind,
              AgentEventKind::postTool);
    EXPECT_EQ(decoded(AgentKind::cursor, "{}", "stop").kind, AgentEventKind::stop);
}

TEST(AgentEventDecoder, FillsDefaultSessionIdentifiers) {
    EXPECT_EQ(decoded(AgentKind::claudeCode, R"({"hook_event_name":"Stop","session_id":""})").sessionID, "default");
    EXPECT_EQ(decoded(AgentKind::gemini, R"({"hook_event_name":"AfterAgent"})").sessionID, "gemini");
    EXPECT_EQ(decoded(AgentKind::cursor, R"({"hook_event_name":"stop"})").sessionID, "cursor");
    EXPECT_EQ(decoded(AgentKind::codex, R"({"session-id":"s-1"})").sessionID, "s-1");
    EXPECT_EQ(decoded(AgentKind::codex, R"({"thread_id":"t-2","session-id":"s-1"})").sessionID, "t-2");
    EXPECT_EQ(decoded(AgentKind::generic, R"({"event":"start"})").sessionID, "agent");
    EXPECT_EQ(decoded(AgentKind::generic, R"({"event":"start","session":"a","name":"b"})").sessionID, "a");
}

TEST(AgentEventDecoder, ReadsValuesOfTheWrongTypeAsAbsent) {
    const AgentHookEvent event = decoded(AgentKind::claudeCode, R"({"hook_event_name":"PreToolUse","session_id":5,
        "cwd":["/x"],"tool_name":"Bash","tool_input":"not an object","message":null,"model":3})");
    EXPECT_EQ(event.sessionID, "default");
    EXPECT_EQ(event.cwd, std::nullopt);
    EXPECT_EQ(event.toolName, "Bash");
    EXPECT_EQ(event.toolSummary, std::nullopt);
    EXPECT_EQ(event.toolInputJSON, std::nullopt);
    EXPECT_EQ(event.message, std::nullopt);
    EXPECT_EQ(event.model, std::nullopt);
    const AgentHookEvent codex = decoded(AgentKind::codex, R"({"input-messages":["a",3]})");
    EXPECT_EQ(codex.prompt, std::nullopt);
    EXPECT_EQ(decoded(AgentKind::codex, R"({"input-messages":[]})").prompt, std::nullopt);
}

TEST(AgentEventDecoder, ShapesCursorShellAndToolCalls) {
    const AgentHookEvent shell = decoded(AgentKind::cursor, R"({"hook_event_name":"beforeShellExecution"})");
    EXPECT_EQ(shell.toolName, "Shell");
    EXPECT_EQ(shell.toolInputJSON, R"({"command":""})");
    EXPECT_EQ(shell.toolSummary, std::nullopt);
    EXPECT_EQ(decoded(AgentKind::cursor, R"({"hook_event_name":"beforeMCPExecution"})").toolName, "MCP tool");
    const AgentHookEvent after =
        decoded(AgentKind::cursor, R"({"hook_event_name":"afterShellExecution","command":"ls -la\n"})");
    EXPECT_EQ(after.toolName, "Shell");
    EXPECT_EQ(after.toolSummary, "ls -la \xE2\x8F\x8E");
    const AgentHookEvent pre = decoded(
        AgentKind::cursor, R"({"hook_event_name":"preToolUse","tool_name":"Read","tool_input":{"path":"/a/b/c/d"}})");
    EXPECT_EQ(pre.toolSummary, ellipsis + "/b/c/d");
}

TEST(AgentEventDecoder, GenericFormClampsProgressAndReadsItsAgent) {
    EXPECT_EQ(decoded(AgentKind::generic, R"({"event":"progress","progress":-0.2})").progress, 0.0);
    EXPECT_EQ(decoded(AgentKind::generic, R"({"event":"progress","progress":0.25})").progress, 0.25);
    EXPECT_EQ(decoded(AgentKind::generic, R"({"event":"progress","progress":"half"})").progress, std::nullopt);
    EXPECT_EQ(decoded(AgentKind::generic, R"({"event":"start","agent":"GEMINI-CLI"})").agent, AgentKind::gemini);
    EXPECT_EQ(decoded(AgentKind::generic, R"({"event":"start","agent":"aider"})").agent, AgentKind::generic);
    const AgentHookEvent detail = decoded(AgentKind::generic, R"({"event":"tool","detail":"  line one\nline two "})");
    EXPECT_EQ(detail.toolSummary, "  line one\nline two "); // given as is
}

TEST(AgentEventDecoder, FirstLineSkipsEmptyLinesAndCutsLongOnes) {
    EXPECT_EQ(AgentEventDecoder::firstLine("\n\r\n  \nsecond"), "  ");
    EXPECT_EQ(AgentEventDecoder::firstLine("\n\nanswer\nmore"), "answer");
    EXPECT_EQ(AgentEventDecoder::firstLine("a\xE2\x80\xA8" "b"), "a");
    EXPECT_EQ(AgentEventDecoder::firstLine(""), "");
    const std::string line160(160, 'x');
    EXPECT_EQ(AgentEventDecoder::firstLine(line160 + "\nnext"), line160);
    EXPECT_EQ(AgentEventDecoder::firstLine(line160 + "y"), std::string(157, 'x') + ellipsis);
    // Characters, not bytes: 161 accented letters are cut to 157 of them.
    std::string accented;
    for (int i = 0; i < 161; ++i)
        accented += "e\xCC\x81";
    std::string kept;
    for (int i = 0; i < 157; ++i)
        kept += "e\xCC\x81";
    EXPECT_EQ(AgentEventDecoder::firstLine(accented), kept + ellipsis);
}

TEST(AgentEventDecoder, ReadsModelNamesAndWritesCompactSortedJSON) {
    EXPECT_EQ(AgentEventDecoder::modelName(JSON("gpt-5")), "gpt-5");
    EXPECT_EQ(AgentEventDecoder::modelName(JSON{{"id", "m-1"}, {"display_name", "Model One"}}), "Model One");
    EXPECT_EQ(AgentEventDecoder::modelName(JSON{{"id", "m-1"}}), "m-1");
    EXPECT_EQ(AgentEventDecoder::modelName(JSON{{"name", "x"}}), std::nullopt);
    EXPECT_EQ(AgentEventDecoder::modelName(JSON(4)), std::nullopt);
    EXPECT_EQ(AgentEventDecoder::compactJSON(JSON{{"z", 1}, {"a", "/usr/bin"}, {"m", {{"y", 2}, {"b", true}}}}),
              R"({"a":"/usr/bin","m":{"b":true,"y":2},"z":1})");
    EXPECT_EQ(AgentEventDecoder::compactJSON(JSON::array({1})), std::nullopt);
    JSON deep = JSON::object();
    for (int i = 0; i < 600; ++i)
        deep = JSON{{"d", std::move(deep)}};
    EXPECT_EQ(AgentEventDecoder::compactJSON(deep), std::nullopt);
}

TEST(AgentHookEvent, NamesTheProjectAfterItsFolder) {
    AgentHookEvent event;
    event.agent = AgentKind::codex;
    EXPECT_EQ(event.projectName(), "Codex CLI");
    event.cwd = "";
    EXPECT_EQ(event.projectName(), "Codex CLI");
    event.cwd = "/home/ada/src/lighthouse";
    EXPECT_EQ(event.projectName(), "lighthouse");
    event.cwd = "/home/ada/src/lighthouse/";
    EXPECT_EQ(event.projectName(), "lighthouse");
    event.cwd = "/";
    EXPECT_EQ(event.projectName(), "Codex CLI");
    event.kind = AgentEventKind::needsInput;
    EXPECT_FALSE(event.wantsDecision());
    event.kind = AgentEventKind::permissionRequest;
    EXPECT_TRUE(event.wantsDecision());
}
