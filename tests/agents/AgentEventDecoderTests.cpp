#include "BrindKit/agents/AgentEventDecoder.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"

#include <gtest/gtest.h>
#include <string>

using namespace brind;

namespace {

using K = AgentEventKind;

const Date now{1'760'000'000};
const std::string ellipsis = "\xE2\x80\xA6";
const std::string returnSymbol = " \xE2\x8F\x8E ";
const std::string lighthouse = "/home/ada/src/lighthouse";

std::string payload(const std::string& name) {
    const auto text = AtomicFile::read(std::string(BRIND_TEST_DATA) + "/agents/payloads/" + name);
    EXPECT_TRUE(text.has_value()) << name;
    return text.value_or("");
}

AgentHookEvent event(AgentKind agent, K kind, std::string rawName, std::string sessionID,
                     std::optional<std::string> cwd = lighthouse) {
    AgentHookEvent result;
    result.agent = agent;
    result.kind = kind;
    result.rawName = std::move(rawName);
    result.sessionID = std::move(sessionID);
    result.cwd = std::move(cwd);
    result.date = now;
    return result;
}

AgentHookEvent decoded(AgentKind agent, std::string_view body,
                       std::optional<std::string_view> eventName = {}) {
    auto result = AgentEventDecoder::decode(agent, eventName, body, now);
    EXPECT_TRUE(result.has_value()) << body;
    return result.value_or(AgentHookEvent{});
}

std::string repeated(std::string_view unit, int count) {
    std::string result;
    for (int i = 0; i < count; ++i)
        result += unit;
    return result;
}

} // namespace

TEST(AgentEventDecoder, DecodesEachAgentsDocumentedPayloads) {
    // Decodes the payload as sent by the expected event's agent, unless another is named.
    const auto check = [](const char* file, const AgentHookEvent& expected,
                          std::optional<AgentKind> agent = {}) {
        const auto result =
            AgentEventDecoder::decode(agent.value_or(expected.agent), std::nullopt, payload(file), now);
        ASSERT_TRUE(result.has_value()) << file;
        EXPECT_EQ(*result, expected) << file;
    };
    const std::string claudeSession = "8f3c2a1e-5b7d-4e0f-9a6c-2d1b0e9f8a7c";
    const auto claude = [&](K kind, const char* rawName) {
        AgentHookEvent result = event(AgentKind::claudeCode, kind, rawName, claudeSession);
        result.transcriptPath = "/home/ada/.claude/projects/-home-ada-src-lighthouse/8f3c2a1e.jsonl";
        return result;
    };

    auto pre = claude(K::preTool, "PreToolUse");
    pre.transcriptPath = "/home/ada/.claude/projects/-home-ada-src-lighthouse/" + claudeSession + ".jsonl";
    pre.toolName = "Bash";
    pre.toolSummary = "npm test -- --watch=false" + returnSymbol + "npm run lint";
    pre.toolInputJSON = R"({"command":"npm test -- --watch=false\nnpm run lint",)"
                        R"("description":"Run the unit tests and the linter","timeout":120000})";
    pre.model = "Sonnet 4.5";
    check("claude-pre-tool-use.json", pre);

    auto permission = claude(K::permissionRequest, "PermissionRequest");
    permission.toolName = "Write";
    permission.toolSummary = ellipsis + "/src/beam/rotation.ts";
    permission.toolInputJSON =
        R"({"content":"export const period = 5;\n","file_path":"/home/ada/src/lighthouse/src/beam/rotation.ts"})";
    check("claude-permission-request.json", permission);

    auto idle = claude(K::needsInput, "Notification");
    idle.message = "Claude is waiting for your input";
    idle.notificationType = "idle_prompt";
    check("claude-notification-idle.json", idle);

    // Without a type, the wording of the message decides.
    auto untyped = claude(K::needsInput, "Notification");
    untyped.message = "Claude needs your permission to use Bash";
    check("claude-notification-untyped.json", untyped);

    auto prompt = claude(K::prompt, "UserPromptSubmit");
    prompt.prompt = "Make the beam rotate twice as fast\nand update the tests";
    check("claude-user-prompt-submit.json", prompt);

    auto stop = claude(K::stop, "Stop");
    stop.message = "Done: the beam now rotates every 2.5 s.";
    check("claude-stop.json", stop);

    auto start = claude(K::sessionStart, "SessionStart");
    start.model = "claude-opus-4-1";
    check("claude-session-start.json", start);

    const std::string codexThread = "0199a213-81c0-7800-8aa1-bbab2a035a53";
    auto turn = event(AgentKind::codex, K::stop, "agent-turn-complete", codexThread);
    turn.prompt = "Also fix the imports";
    turn.message = "Renamed lamp to beacon and fixed 6 imports.";
    check("codex-agent-turn-complete.json", turn);
    check("codex-approval-requested.json",
          event(AgentKind::codex, K::needsInput, "approval-requested", codexThread));

    const std::string geminiSession = "c2b9e6f4-1a2b-4c3d-8e9f-0a1b2c3d4e5f";
    auto beforeTool = event(AgentKind::gemini, K::preTool, "BeforeTool", geminiSession);
    beforeTool.transcriptPath = "/home/ada/.gemini/tmp/5f1e/chats/session-2025-10-01T09-12-c2b9e6f4.json";
    beforeTool.toolName = "run_shell_command";
    beforeTool.toolSummary = "git status --short";
    beforeTool.toolInputJSON = R"({"command":"git status --short","description":"Show changed files"})";
    check("gemini-before-tool.json", beforeTool);

    auto geminiAsk = event(AgentKind::gemini, K::needsInput, "Notification", geminiSession);
    geminiAsk.transcriptPath = "/home/ada/.gemini/tmp/5f1e/chats/session-c2b9e6f4.json";
    geminiAsk.notificationType = "ToolPermission";
    geminiAsk.message = "Tool run_shell_command requires confirmation";
    check("gemini-notification.json", geminiAsk);

    auto afterAgent = event(AgentKind::gemini, K::stop, "AfterAgent", geminiSession);
    afterAgent.transcriptPath = geminiAsk.transcriptPath;
    afterAgent.prompt = "Summarise the open pull requests";
    afterAgent.message = "There are three open pull requests:";
    check("gemini-after-agent.json", afterAgent);

    const std::string cursorSession = "5e8a1c7d-2f3b-4a6e-9d0c-1b2a3c4d5e6f";
    // The workspace root wins over the command's own folder.
    auto shell = event(AgentKind::cursor, K::permissionRequest, "beforeShellExecution", cursorSession);
    shell.toolName = "Shell";
    shell.toolSummary = "pnpm install --frozen-lockfile";
    shell.toolInputJSON = R"({"command":"pnpm install --frozen-lockfile"})";
    shell.model = "claude-4.5-sonnet";
    check("cursor-before-shell-execution.json", shell);

    // The tool input arrives as JSON text.
    auto mcp = event(AgentKind::cursor, K::permissionRequest, "beforeMCPExecution", cursorSession);
    mcp.toolName = "MCP create_issue";
    mcp.toolInputJSON = R"({"repo":"ada/lighthouse","title":"Beam flickers"})";
    check("cursor-before-mcp-execution.json", mcp);

    auto edit = event(AgentKind::cursor, K::postTool, "afterFileEdit", cursorSession);
    edit.toolName = "Edit";
    edit.toolSummary = ellipsis + "/src/beam/rotation.ts";
    check("cursor-after-file-edit.json", edit);

    // Empty workspace roots fall back to cwd.
    auto cursorStop = event(AgentKind::cursor, K::stop, "stop", cursorSession);
    cursorStop.message = "Finished (completed)";
    check("cursor-stop.json", cursorStop);

    // The generic form names its agent loosely and clamps its progress.
    auto generic = event(AgentKind::claudeCode, K::status, "progress", "nightly-build", "/srv/ci/lighthouse");
    generic.toolName = "make";
    generic.toolSummary = "make -j8 release";
    generic.message = "Linking";
    generic.progress = 1.0;
    generic.title = "nightly-build";
    check("generic-progress.json", generic, AgentKind::generic);
}

TEST(AgentEventDecoder, MapsEventNamesToKinds) {
    using enum AgentEventKind;
    const auto expect = [](AgentKind agent,
                           std::initializer_list<std::pair<const char*, AgentEventKind>> names) {
        const std::string key = agent == AgentKind::codex     ? "type"
                                : agent == AgentKind::generic ? "event"
                                                              : "hook_event_name";
        for (const auto& [name, kind] : names)
            EXPECT_EQ(decoded(agent, "{\"" + key + "\":\"" + name + "\"}").kind, kind)
                << brind::name(agent) << " " << name;
    };
    const AgentKind C = AgentKind::claudeCode, X = AgentKind::codex, G = AgentKind::gemini,
                    U = AgentKind::cursor, N = AgentKind::generic;
    expect(C, {{"SessionEnd", sessionEnd}, {"PostToolUse", postTool}, {"SubagentStop", subagentStop}});
    // Names from newer agents decode (as unknown, or status in the generic form) rather than fail.
    expect(C, {{"PreCompact", unknown}});
    expect(X, {{"exec-approval-request", needsInput}, {"turn-aborted", notification}});
    expect(G, {{"SessionStart", sessionStart}, {"SessionEnd", sessionEnd}, {"BeforeAgent", prompt}});
    expect(G, {{"AfterTool", postTool}, {"Notification", notification}, {"BeforeModel", unknown}});
    expect(U, {{"sessionStart", sessionStart}, {"sessionEnd", sessionEnd}, {"beforeSubmitPrompt", prompt}});
    expect(U, {{"afterShellExecution", postTool}, {"preToolUse", preTool}, {"postToolUse", postTool}});
    expect(U, {{"subagentStop", subagentStop}, {"beforeReadFile", unknown}});
    expect(N, {{"start", sessionStart}, {"tool", preTool}, {"ask", needsInput}, {"stop", stop}});
    expect(N, {{"approve", permissionRequest}, {"end", sessionEnd}, {"something-new", status}});

    // Claude's notifications: the type decides, else the wording of the message.
    const auto claudeNotification = [](std::string_view more) {
        return decoded(C, R"({"hook_event_name":"Notification",)" + std::string(more) + "}").kind;
    };
    EXPECT_EQ(claudeNotification(R"("message":"Build done")"), notification);
    EXPECT_EQ(claudeNotification(R"("message":"Claude is WAITING For Your Input")"), needsInput);
    EXPECT_EQ(claudeNotification(R"("notification_type":"elicitation_url_dialog")"), needsInput);
    EXPECT_EQ(claudeNotification(R"("notification_type":"auth_success","message":"waiting for your input")"),
              notification);
}

TEST(AgentEventDecoder, FailsOnlyOnBadBodiesAndMissingEventNames) {
    for (const char* body : {"", "not json", "[1,2]", "\"text\"", "{\"a\":", "null"}) {
        const auto result = AgentEventDecoder::decode(AgentKind::claudeCode, "Stop", body, now);
        ASSERT_FALSE(result.has_value()) << body;
        EXPECT_EQ(result.error(), AgentDecodeError::notJSON) << body;
    }
    for (const AgentKind agent :
         {AgentKind::claudeCode, AgentKind::gemini, AgentKind::cursor, AgentKind::generic}) {
        const auto result =
            AgentEventDecoder::decode(agent, std::nullopt, R"({"hook_event_name":7,"event":false})", now);
        ASSERT_FALSE(result.has_value()) << name(agent);
        EXPECT_EQ(result.error(), AgentDecodeError::missingEvent);
    }
    // An empty Codex notification is a finished turn.
    EXPECT_EQ(decoded(AgentKind::codex, "{}"),
              event(AgentKind::codex, K::stop, "agent-turn-complete", "codex", std::nullopt));
}

TEST(AgentEventDecoder, TakesTheEventNameFromTheRequestWhenTheBodyHasNone) {
    EXPECT_EQ(decoded(AgentKind::claudeCode, R"({"session_id":"s"})", "Stop"),
              event(AgentKind::claudeCode, K::stop, "Stop", "s", std::nullopt));
    // The body's own name wins.
    EXPECT_EQ(decoded(AgentKind::gemini, R"({"hook_event_name":"AfterTool"})", "BeforeTool").kind,
              K::postTool);
    EXPECT_EQ(decoded(AgentKind::cursor, "{}", "stop").kind, K::stop);
}

// The hook forwarder picks its fallback answer by this name alone; it must be the name `decode`
// gives the event (nothing where `decode` finds none).
TEST(AgentEventDecoder, EventNameIsTheNameDecodeGives) {
    struct Case {
        AgentKind agent;
        std::optional<std::string_view> given;
        const char* body;
        std::optional<std::string> name;
    };
    const Case cases[] = {
        {AgentKind::cursor, "stop", R"({"hook_event_name":"beforeShellExecution"})", "beforeShellExecution"},
        {AgentKind::cursor, "beforeMCPExecution", "{}", "beforeMCPExecution"},
        {AgentKind::claudeCode, std::nullopt, "{}", std::nullopt},
        {AgentKind::codex, "approval-requested", "{}", "agent-turn-complete"},
        {AgentKind::codex, std::nullopt, R"({"type":"exec-approval-request"})", "exec-approval-request"},
        {AgentKind::generic, "stop", "{}", std::nullopt},
        {AgentKind::generic, "stop", R"({"event":"tool"})", "tool"},
        // Not an object: no event for any agent, although Codex's notify has a default name.
        {AgentKind::codex, std::nullopt, "not json", std::nullopt},
        {AgentKind::codex, std::nullopt, R"(["agent-turn-complete"])", std::nullopt},
        {AgentKind::generic, "stop", "[1]", std::nullopt},
        {AgentKind::codex, "Stop", R"({"hook_event_name":"PermissionRequest","type":"x"})", "PermissionRequest"},
    };
    for (const Case& c : cases) {
        const auto result = AgentEventDecoder::decode(c.agent, c.given, c.body, now);
        EXPECT_EQ(result ? std::optional(result->rawName) : std::nullopt, c.name)
            << name(c.agent) << " " << c.body;
        EXPECT_EQ(AgentEventDecoder::eventName(c.agent, c.given, c.body), c.name)
            << name(c.agent) << " " << c.body;
    }
}

TEST(AgentEventDecoder, FillsDefaultSessionIdentifiers) {
    EXPECT_EQ(decoded(AgentKind::claudeCode, R"({"hook_event_name":"Stop","session_id":""})").sessionID,
              "default");
    EXPECT_EQ(decoded(AgentKind::gemini, R"({"hook_event_name":"AfterAgent"})").sessionID, "gemini");
    EXPECT_EQ(decoded(AgentKind::cursor, R"({"hook_event_name":"stop"})").sessionID, "cursor");
    EXPECT_EQ(decoded(AgentKind::codex, R"({"session-id":"s-1"})").sessionID, "s-1");
    EXPECT_EQ(decoded(AgentKind::codex, R"({"thread_id":"t-2","session-id":"s-1"})").sessionID, "t-2");
    EXPECT_EQ(decoded(AgentKind::generic, R"({"event":"start"})").sessionID, "agent");
    EXPECT_EQ(decoded(AgentKind::generic, R"({"event":"start","session":"a","name":"b"})").sessionID, "a");
}

TEST(AgentEventDecoder, ReadsValuesOfTheWrongTypeAsAbsent) {
    AgentHookEvent expected = event(AgentKind::claudeCode, K::preTool, "PreToolUse", "default", std::nullopt);
    expected.toolName = "Bash";
    EXPECT_EQ(decoded(AgentKind::claudeCode, R"({"hook_event_name":"PreToolUse","session_id":5,
        "cwd":["/x"],"tool_name":"Bash","tool_input":"not an object","message":null,"model":3})"),
              expected);
    EXPECT_EQ(decoded(AgentKind::codex, R"({"input-messages":["a",3]})").prompt, std::nullopt);
    EXPECT_EQ(decoded(AgentKind::codex, R"({"input-messages":[]})").prompt, std::nullopt);
    EXPECT_EQ(decoded(AgentKind::generic, R"({"event":"progress","progress":"half"})").progress,
              std::nullopt);
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
    const AgentHookEvent pre =
        decoded(AgentKind::cursor,
                R"({"hook_event_name":"preToolUse","tool_name":"Read","tool_input":{"path":"/a/b/c/d"}})");
    EXPECT_EQ(pre.toolSummary, ellipsis + "/b/c/d");
}

TEST(AgentEventDecoder, GenericFormClampsProgressAndReadsItsAgent) {
    EXPECT_EQ(decoded(AgentKind::generic, R"({"event":"progress","progress":-0.2})").progress, 0.0);
    EXPECT_EQ(decoded(AgentKind::generic, R"({"event":"start","agent":"aider"})").agent, AgentKind::generic);
    const AgentHookEvent detail =
        decoded(AgentKind::generic, R"({"event":"tool","detail":"  line one\nline two "})");
    EXPECT_EQ(detail.toolSummary, "  line one\nline two "); // given as is
}

TEST(AgentEventDecoder, FirstLineSkipsEmptyLinesAndCutsLongOnes) {
    EXPECT_EQ(AgentEventDecoder::firstLine("\n\r\n  \nsecond"), "  ");
    EXPECT_EQ(AgentEventDecoder::firstLine("a\xE2\x80\xA8"
                                           "b"),
              "a");
    EXPECT_EQ(AgentEventDecoder::firstLine(""), "");
    const std::string line160(160, 'x');
    EXPECT_EQ(AgentEventDecoder::firstLine(line160 + "\nnext"), line160);
    EXPECT_EQ(AgentEventDecoder::firstLine(line160 + "y"), std::string(157, 'x') + ellipsis);
    // Characters, not bytes: 161 accented letters are cut to 157 of them.
    EXPECT_EQ(AgentEventDecoder::firstLine(repeated("e\xCC\x81", 161)),
              repeated("e\xCC\x81", 157) + ellipsis);
}

TEST(AgentEventDecoder, ReadsModelNamesAndWritesCompactSortedJSON) {
    EXPECT_EQ(AgentEventDecoder::modelName(JSON{{"id", "m-1"}}), "m-1");
    EXPECT_EQ(AgentEventDecoder::modelName(JSON{{"name", "x"}}), std::nullopt);
    EXPECT_EQ(AgentEventDecoder::modelName(JSON(4)), std::nullopt);
    EXPECT_EQ(
        AgentEventDecoder::compactJSON(JSON{{"z", 1}, {"a", "/usr/bin"}, {"m", {{"y", 2}, {"b", true}}}}),
        R"({"a":"/usr/bin","m":{"b":true,"y":2},"z":1})");
    EXPECT_EQ(AgentEventDecoder::compactJSON(JSON::array({1})), std::nullopt);
    JSON deep = JSON::object();
    for (int i = 0; i < 600; ++i)
        deep = JSON{{"d", std::move(deep)}};
    EXPECT_EQ(AgentEventDecoder::compactJSON(deep), std::nullopt);
}

TEST(AgentHookEvent, NamesTheProjectAfterItsFolder) {
    const std::pair<std::optional<std::string>, const char*> cases[] = {
        {std::nullopt, "Codex CLI"},       {"", "Codex CLI"}, {"/", "Codex CLI"}, {lighthouse, "lighthouse"},
        {lighthouse + "//", "lighthouse"},
    };
    AgentHookEvent event;
    event.agent = AgentKind::codex;
    for (const auto& [cwd, name] : cases) {
        event.cwd = cwd;
        EXPECT_EQ(event.projectName(), name) << cwd.value_or("(none)");
    }
    event.kind = K::needsInput;
    EXPECT_FALSE(event.wantsDecision());
    event.kind = K::permissionRequest;
    EXPECT_TRUE(event.wantsDecision());
}

TEST(AgentEventDecoder, ReadsCodexPermissionRequestHooksAsPermissionRequests) {
    const AgentHookEvent event = decoded(AgentKind::codex, payload("codex-permission-request.json"));
    EXPECT_EQ(event.kind, K::permissionRequest);
    EXPECT_TRUE(event.wantsDecision());
    EXPECT_EQ(event.rawName, "PermissionRequest");
    EXPECT_EQ(event.sessionID, "019a-codex");
    EXPECT_EQ(event.cwd, lighthouse);
    EXPECT_EQ(event.toolName, "shell");
    EXPECT_EQ(event.toolSummary, "cargo publish --dry-run");
    EXPECT_EQ(event.toolInputJSON, R"({"command":"cargo publish --dry-run"})");
    EXPECT_EQ(event.model, "gpt-5-codex");
    // A lifecycle payload without its session falls back to Codex's own default, not Claude's.
    EXPECT_EQ(decoded(AgentKind::codex, R"({"hook_event_name":"Stop"})").sessionID, "codex");
    EXPECT_EQ(decoded(AgentKind::codex, R"({"hook_event_name":"Stop"})").kind, K::stop);
}
