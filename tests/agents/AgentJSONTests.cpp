#include "BrindKit/agents/AgentJSON.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <string>

using namespace brind;

namespace {

std::string fixture(const char* name) {
    const auto text = AtomicFile::read(std::string(BRIND_TEST_DATA) + "/agents/" + name);
    EXPECT_TRUE(text.has_value()) << name;
    return text.value_or("");
}

AgentJSON parsed(std::string_view text) {
    auto value = AgentJSON::parse(text);
    EXPECT_TRUE(value.has_value()) << text;
    return value.value_or(AgentJSON::null());
}

using Kind = AgentJSON::ParseError::Kind;

} // namespace

TEST(AgentJSON, DocumentInOurLayoutRoundTripsByteForByte) {
    const std::string text = fixture("settings-layout.json");
    const AgentJSON value = parsed(text);
    EXPECT_EQ(value.serialized(2), text);
    // A second pass is stable too.
    EXPECT_EQ(parsed(value.serialized(2)).serialized(2), text);
}

TEST(AgentJSON, CommentedSettingsKeepEveryKeyAndValue) {
    const AgentJSON value = parsed(fixture("settings-commented.jsonc"));
    EXPECT_EQ(value.objectKeys(), (std::vector<std::string>{"model", "env", "hooks", "ratio"}));
    // The repeated key keeps its first position and takes the later value.
    EXPECT_EQ(value.get("model")->stringValue(), "opus");
    EXPECT_EQ(value.get("ratio")->numberText(), "0.10");
    EXPECT_EQ(value.get("env")->objectKeys(), (std::vector<std::string>{"A", "B"}));
    const AgentJSON* stop = value.get("hooks")->get("Stop");
    ASSERT_NE(stop, nullptr);
    ASSERT_NE(stop->arrayValue(), nullptr);
    ASSERT_EQ(stop->arrayValue()->size(), 1u);
    const AgentJSON& hook = *(*stop->arrayValue())[0].get("hooks")->arrayValue()->begin();
    EXPECT_EQ(hook.get("command")->stringValue(), "notify-send done");
    EXPECT_EQ(value.serialized(2), "{\n"
                                   "  \"model\": \"opus\",\n"
                                   "  \"env\": {\n"
                                   "    \"A\": \"1\",\n"
                                   "    \"B\": \"2\"\n"
                                   "  },\n"
                                   "  \"hooks\": {\n"
                                   "    \"Stop\": [\n"
                                   "      {\n"
                                   "        \"hooks\": [\n"
                                   "          {\n"
                                   "            \"type\": \"command\",\n"
                                   "            \"command\": \"notify-send done\"\n"
                                   "          }\n"
                                   "        ]\n"
                                   "      }\n"
                                   "    ]\n"
                                   "  },\n"
                                   "  \"ratio\": 0.10\n"
                                   "}\n");
}

TEST(AgentJSON, ReportsErrorKindAndOffset) {
    struct Case {
        const char* text;
        Kind kind;
        std::size_t offset;
    };
    const Case cases[] = {
        {"", Kind::empty, 0},
        {"  \n\t ", Kind::empty, 0},
        {"// only a comment", Kind::empty, 0},
        {"/* unclosed", Kind::empty, 0},
        {"{} x", Kind::trailing, 3},
        {"{\"a\":1}x", Kind::trailing, 7},
        {"1 2", Kind::trailing, 2},
        {"[1,,2]", Kind::unexpected, 3},
        {"[1,2,,]", Kind::unexpected, 5},
        {"{\"a\" 1}", Kind::unexpected, 5},
        {"{a:1}", Kind::unexpected, 1},
        {"{\"a\":1 \"b\":2}", Kind::unexpected, 7},
        {"[1 2]", Kind::unexpected, 3},
        {"[", Kind::unexpected, 1},
        {"{\"a\":", Kind::unexpected, 5},
        {"\"open", Kind::unexpected, 5},
        {"\"bad \\q\"", Kind::unexpected, 6},
        {"\"\\u12G4\"", Kind::unexpected, 5},
        {"\"tab\there\"", Kind::unexpected, 4},
        {"tru", Kind::unexpected, 3},
        {"nul!", Kind::unexpected, 3},
        {"-", Kind::unexpected, 1},
        {"1.", Kind::unexpected, 2},
        {"1e+", Kind::unexpected, 3},
        {"+1", Kind::unexpected, 0},
        {".5", Kind::unexpected, 0},
        {"01", Kind::trailing, 1},
        {"/", Kind::unexpected, 0},
    };
    for (const Case& c : cases) {
        const auto result = AgentJSON::parse(c.text);
        ASSERT_FALSE(result.has_value()) << c.text;
        EXPECT_EQ(result.error().kind, c.kind) << c.text;
        EXPECT_EQ(result.error().offset, c.offset) << c.text;
    }
}

TEST(AgentJSON, AcceptsOneTrailingCommaAndComments) {
    EXPECT_EQ(parsed("{\"a\": 1,}"), AgentJSON::object({{"a", AgentJSON::number("1")}}));
    EXPECT_EQ(parsed("[true, false, null,]"),
              AgentJSON::array({AgentJSON::boolean(true), AgentJSON::boolean(false), AgentJSON::null()}));
    EXPECT_EQ(parsed("/*a*/[ // b\n 1 /* c */ , 2 ]// d"),
              AgentJSON::array({AgentJSON::number("1"), AgentJSON::number("2")}));
}

TEST(AgentJSON, KeepsNumbersAsWritten) {
    for (const char* number : {"1.50", "-0", "1E+10", "2.5e-3", "123456789012345678901234567890", "-12.000"}) {
        const AgentJSON value = parsed(number);
        EXPECT_EQ(value.numberText(), number);
        EXPECT_EQ(value.serialized(2), std::string(number) + "\n");
    }
    EXPECT_EQ(AgentJSON::integer(-42).numberText(), "-42");
}

TEST(AgentJSON, DecodesStringEscapes) {
    EXPECT_EQ(parsed(R"("a\"b\\c\/d\b\f\n\r\t")").stringValue(), "a\"b\\c/d\b\f\n\r\t");
    EXPECT_EQ(parsed(R"("\u00e9\u20AC")").stringValue(), "\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(parsed(R"("\ud83d\ude00")").stringValue(), "\xF0\x9F\x98\x80");
    // A lone surrogate cannot be stored as UTF-8 and becomes U+FFFD.
    EXPECT_EQ(parsed(R"("\ud83dx")").stringValue(), "\xEF\xBF\xBDx");
    EXPECT_EQ(parsed(R"("\ude00\u0041")").stringValue(), "\xEF\xBF\xBD" "A");
    EXPECT_EQ(parsed("\"caf\xC3\xA9\"").stringValue(), "caf\xC3\xA9");
}

TEST(AgentJSON, QuotesWithShortEscapesAndLowerCaseHex) {
    EXPECT_EQ(AgentJSON::quote("a\"b\\c/d"), R"("a\"b\\c/d")");
    EXPECT_EQ(AgentJSON::quote("\n\r\t"), R"("\n\r\t")");
    EXPECT_EQ(AgentJSON::quote(std::string("\x01\x1f\x1b", 3)), R"("\u0001\u001f\u001b")");
    EXPECT_EQ(AgentJSON::quote("\xE2\x8F\x8E"), "\"\xE2\x8F\x8E\"");
    EXPECT_EQ(AgentJSON::quote(""), "\"\"");
}

TEST(AgentJSON, WritesNestedValuesWithTheGivenIndent) {
    const AgentJSON value = AgentJSON::object({
        {"a", AgentJSON::array({AgentJSON::integer(1), AgentJSON::object()})},
        {"b", AgentJSON::array()},
        {"c", AgentJSON::string("x")},
    });
    EXPECT_EQ(value.serialized(4), "{\n    \"a\": [\n        1,\n        {}\n    ],\n    \"b\": [],\n    \"c\": \"x\"\n}\n");
    EXPECT_EQ(AgentJSON::null().serialized(2), "null\n");
}

TEST(AgentJSON, KeySubscriptKeepsPositionsAppendsAndRemoves) {
    AgentJSON value = parsed(R"({"a": 1, "b": 2, "c": 3})");
    value.set("b", AgentJSON::string("two"));
    EXPECT_EQ(value.objectKeys(), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(value.get("b")->stringValue(), "two");
    value.set("d", AgentJSON::boolean(true));
    EXPECT_EQ(value.objectKeys(), (std::vector<std::string>{"a", "b", "c", "d"}));
    value.set("a", std::nullopt);
    value.remove("missing");
    EXPECT_EQ(value.objectKeys(), (std::vector<std::string>{"b", "c", "d"}));
    EXPECT_EQ(value.get("a"), nullptr);

    AgentJSON array = parsed("[1]");
    const AgentJSON before = array;
    array.set("a", AgentJSON::integer(1));
    EXPECT_EQ(array, before);
    EXPECT_EQ(array.get("a"), nullptr);
    EXPECT_TRUE(array.objectKeys().empty());
    EXPECT_FALSE(array.isObject());
}

TEST(AgentJSON, ObjectsAreEqualOnlyInTheSameOrder) {
    EXPECT_NE(parsed(R"({"a":1,"b":2})"), parsed(R"({"b":2,"a":1})"));
    EXPECT_EQ(parsed(R"({"a":1,"b":[2]})"), parsed("{ \"a\" : 1 , \"b\" : [ 2 ] }"));
    EXPECT_NE(parsed("1.0"), parsed("1"));
}

TEST(AgentJSON, LargeObjectsWithRepeatedKeysKeepFirstPositions) {
    std::string text = "{";
    for (int i = 0; i < 40; ++i)
        text += "\"k" + std::to_string(i) + "\":" + std::to_string(i) + ",";
    text += "\"k3\":\"again\",\"k39\":\"last\"}";
    const AgentJSON value = parsed(text);
    ASSERT_EQ(value.objectKeys().size(), 40u);
    EXPECT_EQ(value.objectKeys()[3], "k3");
    EXPECT_EQ(value.get("k3")->stringValue(), "again");
    EXPECT_EQ(value.get("k39")->stringValue(), "last");
}

TEST(AgentJSON, RefusesNestingBeyondTheLimit) {
    const std::size_t depth = AgentJSON::maxDepth;
    EXPECT_TRUE(AgentJSON::parse(std::string(depth, '[') + std::string(depth, ']')).has_value());
    const auto tooDeep = AgentJSON::parse(std::string(depth + 1, '[') + std::string(depth + 1, ']'));
    ASSERT_FALSE(tooDeep.has_value());
    EXPECT_EQ(tooDeep.error(), (AgentJSON::ParseError{Kind::unexpected, depth}));
}
