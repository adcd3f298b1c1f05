#include "BrindKit/agents/AgentHookEntries.hpp"
#include "tests/sdk/TestData.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

const AgentHookTarget target{"/home/me/.local/bin/vantaquill", 600, std::nullopt};

std::string text(const std::string& name) {
    return brindtest::testData("hooks/" + name);
}

} // namespace

// Each agent's file as people have it, with our entries installed: the whole result is compared
// with the file as it must be written (the agent's own shape, other tools' hooks kept in their
// order, an older entry of ours replaced where it stood). That installing again changes nothing and
// removing gives back the original bytes is proven on the real files by tests/e2e HooksInstall.
TEST(AgentHookEntries, InstallsEachAgentsShapeAndFindsOurEntries) {
    const struct {
        const char* from;
        AgentHookFile file;
        std::optional<std::uint16_t> httpPort;
        const char* expected;
    } cases[] = {
        {"claude-settings.json", AgentHookFile::claudeSettings, {}, "claude-settings.installed.json"},
        {"gemini-settings.json", AgentHookFile::geminiSettings, {}, "gemini-settings.installed.json"},
        {"cursor-hooks.json", AgentHookFile::cursorHooks, {}, "cursor-hooks.installed.json"},
        {"claude-settings.json", AgentHookFile::codexHooks, {}, "codex-hooks.installed.json"},
        {"claude-upgrade.json", AgentHookFile::claudeSettings, {}, "claude-upgrade.installed.json"},
        {nullptr, AgentHookFile::claudeSettings, 47829, "claude-http.installed.json"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        const auto original = AgentJSON::parse(c.from ? text(c.from) : "{}");
        ASSERT_TRUE(original.has_value());
        AgentHookTarget with = target;
        with.httpPort = c.httpPort;
        const auto once = AgentHookEntries::installed(*original, c.file, with);
        ASSERT_TRUE(once.has_value()) << once.error();
        EXPECT_EQ(once->serialized(2), text(c.expected));
        const auto found = AgentHookEntries::found(*once, c.file);
        EXPECT_EQ(found.events.size(), AgentHookEntries::events(c.file).size());
        EXPECT_EQ(found.programs, c.httpPort ? std::vector<std::string>{} : std::vector{target.executable});
        EXPECT_EQ(found.http, c.httpPort.has_value());
    }
}

TEST(AgentHookEntries, RecognisesOurCommandByWhatItRuns) {
    EXPECT_TRUE(AgentHookEntries::isOurCommand("/usr/local/bin/vantaquill hook --agent codex"));
    EXPECT_TRUE(AgentHookEntries::isOurCommand("'/home/a b/.local/bin/vantaquill' hook"));
    EXPECT_TRUE(AgentHookEntries::isOurCommand("vantaquill hook --agent gemini"));
    EXPECT_FALSE(AgentHookEntries::isOurCommand("vantaquill notify --title hook"));
    EXPECT_FALSE(AgentHookEntries::isOurCommand("/opt/not-vantaquill hook"));
    EXPECT_FALSE(AgentHookEntries::isOurCommand("echo vantaquill hook"));
    EXPECT_EQ(
        AgentHookEntries::commandLine(AgentHookFile::geminiSettings, "/home/a b/vantaquill", "BeforeTool"),
        "'/home/a b/vantaquill' hook --agent gemini --event BeforeTool");
    EXPECT_EQ(AgentHookEntries::shellQuoted("it's"), "'it'\\''s'");
}

TEST(AgentHookEntries, RefusesHooksThatAreNotInTheAgentsShape) {
    for (const char* text : {R"({"hooks": []})", R"({"hooks": {"Stop": {"command": "x"}}})", "[]"}) {
        const auto root = AgentJSON::parse(text);
        ASSERT_TRUE(root.has_value());
        EXPECT_FALSE(AgentHookEntries::installed(*root, AgentHookFile::claudeSettings, target).has_value())
            << text;
    }
}
