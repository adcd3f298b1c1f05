#include "BrindKit/agents/AgentEventDecoder.hpp"
#include "tests/sdk/TestData.hpp"

#include <gtest/gtest.h>
#include <string>

using namespace brind;

namespace {

const Date now{1'760'000'000};
const std::string ellipsis = "\xE2\x80\xA6";

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
    const JSON cases = JSON::parse(brindtest::testData("agents/decoded-events.json"));
    ASSERT_EQ(cases.size(), 36u);
    for (const JSON& c : cases) {
        const std::string body =
            c.contains("payload") ? brindtest::testData("agents/payloads/" + c["payload"].get<std::string>())
                                  : c["body"].dump();
        const auto given = c.contains("name") ? std::optional(c["name"].get<std::string>()) : std::nullopt;
        const auto result =
            AgentEventDecoder::decode(agentKindNamed(c["as"].get<std::string>()).value(), given, body, now);
        ASSERT_TRUE(result.has_value()) << body;
        EXPECT_EQ(fields(*result), c["event"]) << body;
    }
}

TEST(AgentEventDecoder, MapsEventNamesToKinds) {
    for (const JSON& row : brindtest::testTable("agents/event-kinds.json"))
        EXPECT_EQ(
            name(decoded(agentKindNamed(row["as"].get<std::string>()).value(), row["body"].dump()).kind),
            row["kind"].get<std::string>())
            << row["body"].dump();
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
    for (const JSON& row : brindtest::testTable("agents/event-names.json")) {
        SCOPED_TRACE(row.dump());
        const AgentKind agent = agentKindNamed(row["as"].get<std::string>()).value();
        const auto given = brindtest::optionalText(row["given"]);
        const std::string body = row["body"];
        const auto result = AgentEventDecoder::decode(agent, given, body, now);
        EXPECT_EQ(result ? std::optional(result->rawName) : std::nullopt,
                  brindtest::optionalText(row["name"]));
        EXPECT_EQ(AgentEventDecoder::eventName(agent, given, body), brindtest::optionalText(row["name"]));
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

// A folder and none are named in tests of AgentSessionTracker.
TEST(AgentHookEvent, NamesTheProjectAfterItsFolder) {
    AgentHookEvent event;
    event.agent = AgentKind::codex;
    for (const auto& [cwd, name] :
         {std::pair{"", "Codex CLI"}, {"/", "Codex CLI"}, {"/a/lighthouse//", "lighthouse"}}) {
        event.cwd = cwd;
        EXPECT_EQ(event.projectName(), name) << cwd;
    }
}
