#include "BrindKit/agents/AgentEventDecoder.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"

#include <gtest/gtest.h>
#include <string>

using namespace brind;

namespace {

using K = AgentEventKind;

const Date now{1'760'000'000};
const std::string ellipsis = "\xE2\x80\xA6";

std::string fixture(const std::string& name) {
    const auto text = AtomicFile::read(std::string(BRIND_TEST_DATA) + "/agents/" + name);
    EXPECT_TRUE(text.has_value()) << name;
    return text.value_or("");
}

AgentHookEvent decoded(AgentKind agent, std::string_view body,
                       std::optional<std::string_view> eventName = {}) {
    auto result = AgentEventDecoder::decode(agent, eventName, body, now);
    EXPECT_TRUE(result.has_value()) << body;
    return result.value_or(AgentHookEvent{});
}

// Every field the decoder set, so that one comparison names whichever field differs.
JSON fields(const AgentHookEvent& event) {
    JSON json = {{"agent", name(event.agent)},
                 {"kind", name(event.kind)},
                 {"rawName", event.rawName},
                 {"sessionID", event.sessionID}};
    const auto put = [&json](const char* key, const auto& value) {
        if (value)
            json[key] = *value;
    };
    put("cwd", event.cwd);
    put("toolName", event.toolName);
    put("toolSummary", event.toolSummary);
    put("toolInputJSON", event.toolInputJSON);
    put("message", event.message);
    put("notificationType", event.notificationType);
    put("transcriptPath", event.transcriptPath);
    put("prompt", event.prompt);
    put("progress", event.progress);
    put("title", event.title);
    put("model", event.model);
    EXPECT_FALSE(event.terminal || event.terminalInfo) << "only the hook route knows the terminal";
    EXPECT_EQ(event.date, now);
    return json;
}

std::string repeated(std::string_view unit, int count) {
    std::string result;
    for (int i = 0; i < count; ++i)
        result += unit;
    return result;
}

} // namespace

// The payloads each agent documents, and small bodies (the event named by the request, default
// sessions, values of the wrong type, the shapes given to Cursor's calls, the generic form), each
// with the event it must give and a note where the reason is not plain.
TEST(AgentEventDecoder, DecodesEveryAgentsPayloads) {
    const JSON cases = JSON::parse(fixture("decoded-events.json"));
    ASSERT_EQ(cases.size(), 36u);
    for (const JSON& c : cases) {
        const std::string body =
            c.contains("payload") ? fixture("payloads/" + c["payload"].get<std::string>()) : c["body"].dump();
        const auto given = c.contains("name") ? std::optional(c["name"].get<std::string>()) : std::nullopt;
        const auto result =
            AgentEventDecoder::decode(agentKindNamed(c["as"].get<std::string>()).value(), given, body, now);
        ASSERT_TRUE(result.has_value()) << body;
        EXPECT_EQ(fields(*result), c["event"]) << body;
    }
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
        {AgentKind::codex, "Stop", R"({"hook_event_name":"PermissionRequest","type":"x"})",
         "PermissionRequest"},
    };
    for (const Case& c : cases) {
        const auto result = AgentEventDecoder::decode(c.agent, c.given, c.body, now);
        EXPECT_EQ(result ? std::optional(result->rawName) : std::nullopt, c.name)
            << name(c.agent) << " " << c.body;
        EXPECT_EQ(AgentEventDecoder::eventName(c.agent, c.given, c.body), c.name)
            << name(c.agent) << " " << c.body;
    }
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
        {std::nullopt, "Codex CLI"},
        {"", "Codex CLI"},
        {"/", "Codex CLI"},
        {"/home/ada/src/lighthouse", "lighthouse"},
        {"/home/ada/src/lighthouse//", "lighthouse"},
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
