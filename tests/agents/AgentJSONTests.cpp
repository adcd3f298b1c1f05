#include "BrindKit/agents/AgentJSON.hpp"
#include "tests/sdk/TestData.hpp"

#include <gtest/gtest.h>
#include <string>

using namespace brind;

namespace {

AgentJSON parsed(std::string_view text) {
    auto value = AgentJSON::parse(text);
    EXPECT_TRUE(value.has_value()) << text;
    return value.value_or(AgentJSON::null());
}

using Kind = AgentJSON::ParseError::Kind;

} // namespace

// The layout fixture holds nested containers, empty ones, escapes, null and numbers in several
// spellings, so this one comparison pins the writer's whole two-space layout. That what is written
// reads back the same is the fuzz target's check.
TEST(AgentJSON, DocumentInOurLayoutRoundTripsByteForByte) {
    EXPECT_EQ(parsed(brindtest::testData("agents/settings-layout.json")).serialized(2),
              brindtest::testData("agents/settings-layout.json"));
}

TEST(AgentJSON, ReadsCommentsTrailingCommasAndRepeatedKeys) {
    // The repeated "model" keeps its first position and takes the later value.
    EXPECT_EQ(
        parsed(brindtest::testData("agents/settings-commented.jsonc")),
        parsed(
            R"({"model":"opus","env":{"A":"1","B":"2"},)"
            R"("hooks":{"Stop":[{"hooks":[{"type":"command","command":"notify-send done"}]}]},"ratio":0.10})"));
    EXPECT_EQ(parsed("[true, false, null,]"),
              AgentJSON::array({AgentJSON::boolean(true), AgentJSON::boolean(false), AgentJSON::null()}));
    EXPECT_EQ(parsed("/*a*/[ // b\n 1 /* c */ , 2 ]// d"),
              AgentJSON::array({AgentJSON::number("1"), AgentJSON::number("2")}));
}

TEST(AgentJSON, ReportsErrorKindAndOffset) {
    const std::map<std::string, Kind> kinds = {
        {"empty", Kind::empty}, {"trailing", Kind::trailing}, {"unexpected", Kind::unexpected}};
    for (const JSON& row : brindtest::testTable("agents/json-errors.json")) {
        const std::string text = row["text"];
        const auto result = AgentJSON::parse(text);
        ASSERT_FALSE(result.has_value()) << text;
        EXPECT_EQ(result.error(), (AgentJSON::ParseError{kinds.at(row["kind"].get<std::string>()),
                                                         row["offset"].get<std::size_t>()}))
            << text;
    }
}

TEST(AgentJSON, KeepsNumbersAsWritten) {
    for (const char* number : {"1.50", "-0", "1E+10", "123456789012345678901234567890"}) {
        EXPECT_EQ(parsed(number).numberText(), number);
        EXPECT_EQ(parsed(number).serialized(2), std::string(number) + "\n");
    }
    EXPECT_EQ(AgentJSON::integer(-42).numberText(), "-42");
    EXPECT_NE(parsed("1.0"), parsed("1"));
}

TEST(AgentJSON, DecodesStringEscapes) {
    EXPECT_EQ(parsed(R"("a\"b\\c\/d\b\f\n\r\t")").stringValue(), "a\"b\\c/d\b\f\n\r\t");
    EXPECT_EQ(parsed(R"("\u00e9\u20AC")").stringValue(), "\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(parsed(R"("\ud83d\ude00")").stringValue(), "\xF0\x9F\x98\x80");
    // A lone surrogate cannot be stored as UTF-8 and becomes U+FFFD.
    EXPECT_EQ(parsed(R"("\ud83dx")").stringValue(), "\xEF\xBF\xBDx");
    EXPECT_EQ(parsed(R"("\ude00\u0041")").stringValue(), "\xEF\xBF\xBD"
                                                         "A");
    EXPECT_EQ(parsed("\"caf\xC3\xA9\"").stringValue(), "caf\xC3\xA9");
}

TEST(AgentJSON, WritesShortEscapesLowerCaseHexAndTheGivenIndent) {
    EXPECT_EQ(AgentJSON::quote("a\"b\\c/d\n\r\t"), R"("a\"b\\c/d\n\r\t")");
    EXPECT_EQ(AgentJSON::quote(std::string("\x01\x1f\x1b", 3)), R"("\u0001\u001f\u001b")");
    EXPECT_EQ(AgentJSON::quote("\xE2\x8F\x8E"), "\"\xE2\x8F\x8E\"");
    const AgentJSON value = AgentJSON::object({
        {"a", AgentJSON::array({AgentJSON::integer(1), AgentJSON::object()})},
        {"b", AgentJSON::array()},
        {"c", AgentJSON::string("")},
    });
    EXPECT_EQ(value.serialized(4),
              "{\n    \"a\": [\n        1,\n        {}\n    ],\n    \"b\": [],\n    \"c\": \"\"\n}\n");
}

TEST(AgentJSON, SetKeepsPositionsAppendsAndRemoves) {
    AgentJSON value = parsed(R"({"a": 1, "b": 2, "c": 3})");
    value.set("b", AgentJSON::string("two"));
    value.set("d", AgentJSON::boolean(true));
    value.set("a", std::nullopt);
    value.remove("missing");
    EXPECT_EQ(value, parsed(R"({"b": "two", "c": 3, "d": true})"));
    EXPECT_EQ(value.get("a"), nullptr);
    EXPECT_NE(value, parsed(R"({"c": 3, "b": "two", "d": true})")); // order matters

    AgentJSON array = parsed("[1]");
    array.set("a", AgentJSON::integer(1));
    EXPECT_EQ(array, parsed("[1]"));
    EXPECT_EQ(array.get("a"), nullptr);
}

// Objects over sixteen members look repeated keys up through an index rather than a scan.
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
