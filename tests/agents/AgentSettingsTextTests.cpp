#include "BrindKit/agents/AgentSettingsText.hpp"
#include "tests/sdk/TestData.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

AgentJSON sample() {
    AgentJSON value = AgentJSON::object();
    value.set("Stop", AgentJSON::array({AgentJSON::string("x")}));
    return value;
}

std::string edited(std::string_view text, std::string_view key, const std::optional<AgentJSON>& value) {
    const auto result = AgentSettingsText::withMember(text, key, value);
    EXPECT_TRUE(result.has_value()) << text;
    return result.value_or("");
}

} // namespace

// Adding a member and removing it again must give back every byte, whatever the layout: that is
// what lets the installer undo itself in files it does not fully own.
TEST(AgentSettingsText, AddingThenRemovingAMemberGivesBackTheText) {
    const std::string texts[] = {
        "{}",
        "{ }\n",
        "{\"a\": 1}",
        "{\n\t\"a\": [1, 2],\n\t\"b\": {\"c\": \"}\"}\n}\n",
        "// lead\n{\n    \"theme\": \"x\", // why\n    /* block */ \"n\": 1.50\n}\n",
        "{\"a\": \"Grüße 🚀\", \"b\": \"\\\"quoted\\\" // not a comment\",}",
        brindtest::testData("hooks/gemini-settings.json"),
    };
    for (const std::string& text : texts) {
        const std::string added = edited(text, "extra", sample());
        EXPECT_NE(added, text);
        const auto parsed = AgentJSON::parse(added);
        ASSERT_TRUE(parsed.has_value()) << added;
        ASSERT_NE(parsed->get("extra"), nullptr);
        EXPECT_EQ(*parsed->get("extra"), sample());
        EXPECT_EQ(edited(added, "extra", std::nullopt), text);
    }
}

TEST(AgentSettingsText, ReplacesOnlyTheMembersBytes) {
    const std::string text = brindtest::testData("hooks/claude-settings.json");
    const std::size_t hooks = text.find("\"hooks\"");
    const std::size_t status = text.find("  \"statusLine\"");
    ASSERT_NE(hooks, std::string::npos);
    const std::string result = edited(text, "hooks", sample());
    EXPECT_EQ(result.substr(0, hooks), text.substr(0, hooks));
    EXPECT_TRUE(result.ends_with(text.substr(status - 2))) << result;
    EXPECT_NE(result.find("\"hooks\": {\n    \"Stop\": [\n      \"x\"\n    ]\n  },"), std::string::npos)
        << result;
}

TEST(AgentSettingsText, RemovesAMemberInTheMiddleWithItsLine) {
    EXPECT_EQ(edited("{\n  \"a\": 1,\n  \"hooks\": {\"x\": []},\n  \"b\": 2\n}\n", "hooks", std::nullopt),
              "{\n  \"a\": 1,\n  \"b\": 2\n}\n");
    EXPECT_EQ(edited("{\"hooks\": 1}", "hooks", std::nullopt), "{}");
    EXPECT_EQ(edited("{\"a\": 1}", "hooks", std::nullopt), "{\"a\": 1}");
}

TEST(AgentSettingsText, WritesABlankFileAsANewObjectAndRefusesBrokenText) {
    EXPECT_EQ(edited("  \n", "version", AgentJSON::integer(1)), "{\n  \"version\": 1\n}\n");
    const auto broken =
        AgentSettingsText::withMember(brindtest::testData("hooks/broken.json"), "hooks", sample());
    ASSERT_FALSE(broken.has_value());
    EXPECT_EQ(broken.error().kind, AgentJSON::ParseError::Kind::unexpected);
    EXPECT_FALSE(AgentSettingsText::withMember("[1]", "hooks", sample()).has_value());
}
