#include "BrindKit/agents/AgentHookEntries.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

const AgentHookTarget target{"/home/me/.local/bin/vantaquill", 600, std::nullopt};

AgentJSON fixture(const std::string& name) {
    const auto text = AtomicFile::read(std::string(BRIND_TEST_DATA) + "/hooks/" + name).value_or("");
    auto parsed = AgentJSON::parse(text);
    EXPECT_TRUE(parsed.has_value()) << name;
    return parsed.value_or(AgentJSON::object());
}

AgentJSON installed(const AgentJSON& root, AgentHookFile file, const AgentHookTarget& with = target) {
    auto result = AgentHookEntries::installed(root, file, with);
    EXPECT_TRUE(result.has_value()) << (result ? "" : result.error());
    return result.value_or(AgentJSON{});
}

} // namespace

TEST(AgentHookEntries, InstallsIdempotentlyAndRemovesOnlyOurs) {
    const struct {
        const char* fixture;
        AgentHookFile file;
    } cases[] = {
        {"claude-settings.json", AgentHookFile::claudeSettings},
        {"gemini-settings.json", AgentHookFile::geminiSettings},
        {"cursor-hooks.json", AgentHookFile::cursorHooks},
        {"claude-settings.json", AgentHookFile::codexHooks},
    };
    for (const auto& c : cases) {
        const AgentJSON original = fixture(c.fixture);
        const AgentJSON once = installed(original, c.file);
        EXPECT_EQ(installed(once, c.file), once) << c.fixture;
        const auto found = AgentHookEntries::found(once, c.file);
        EXPECT_EQ(found.events.size(), AgentHookEntries::events(c.file).size()) << c.fixture;
        EXPECT_EQ(found.programs, std::vector<std::string>{target.executable});
        EXPECT_EQ(AgentHookEntries::removed(once, c.file), original) << c.fixture;
    }
}

TEST(AgentHookEntries, KeepsOtherToolsHooksAndTheirOrder) {
    const AgentJSON result = installed(fixture("claude-settings.json"), AgentHookFile::claudeSettings);
    const AgentJSON& stop = *result.get("hooks")->get("Stop");
    ASSERT_EQ(stop.arrayValue()->size(), 2u);
    EXPECT_EQ(stop.arrayValue()->front(), fixture("claude-settings.json").get("hooks")->get("Stop")->arrayValue()->front());
    EXPECT_EQ(result.objectKeys(), fixture("claude-settings.json").objectKeys());
    const AgentJSON& pre = *result.get("hooks")->get("PreToolUse")->arrayValue()->front().get("matcher");
    EXPECT_EQ(pre, AgentJSON::string("AskUserQuestion|ExitPlanMode"));
}

// An upgrade (the command moved) replaces our entry where it stood, not at the end.
TEST(AgentHookEntries, ReplacesOurEntriesInPlaceOnUpgrade) {
    AgentJSON root = AgentJSON::object();
    AgentJSON hooks = AgentJSON::object();
    const auto group = [](const std::string& command) {
        AgentJSON hook = AgentJSON::object();
        hook.set("type", AgentJSON::string("command"));
        hook.set("command", AgentJSON::string(command));
        AgentJSON result = AgentJSON::object();
        result.set("hooks", AgentJSON::array({hook}));
        return result;
    };
    hooks.set("Stop", AgentJSON::array({group("'/old place/vantaquill' hook --agent claude-code --event Stop"),
                                        group("notify-send stop")}));
    root.set("hooks", hooks);
    const AgentJSON result = installed(root, AgentHookFile::claudeSettings);
    const auto& stop = *result.get("hooks")->get("Stop")->arrayValue();
    ASSERT_EQ(stop.size(), 2u);
    EXPECT_EQ(*stop[0].get("hooks")->arrayValue()->front().get("command"),
              AgentJSON::string("/home/me/.local/bin/vantaquill hook --agent claude-code --event Stop"));
    EXPECT_EQ(stop[1], group("notify-send stop"));
}

TEST(AgentHookEntries, WritesEachAgentsShape) {
    const AgentJSON gemini = installed(AgentJSON::object(), AgentHookFile::geminiSettings);
    const AgentJSON& tool = *gemini.get("hooks")->get("BeforeTool")->arrayValue()->front().get("hooks");
    EXPECT_EQ(*tool.arrayValue()->front().get("timeout"), AgentJSON::integer(10000));
    EXPECT_EQ(*tool.arrayValue()->front().get("name"), AgentJSON::string("vantaquill"));

    const AgentJSON cursor = installed(AgentJSON::object(), AgentHookFile::cursorHooks);
    EXPECT_EQ(*cursor.get("hooks")->get("beforeShellExecution"),
              AgentJSON::array({AgentJSON::object({{"command", AgentJSON::string(
                  "/home/me/.local/bin/vantaquill hook --agent cursor --event beforeShellExecution")}})}));

    AgentHookTarget http = target;
    http.httpPort = 47829;
    const AgentJSON claude = installed(AgentJSON::object(), AgentHookFile::claudeSettings, http);
    const AgentJSON& hook = claude.get("hooks")->get("PermissionRequest")->arrayValue()->front().get("hooks")->arrayValue()->front();
    EXPECT_EQ(hook.serialized(0), "{\n\"type\": \"http\",\n\"url\": "
                                  "\"http://127.0.0.1:47829/v1/agents/hook?agent=claude-code&event=PermissionRequest\",\n"
                                  "\"headers\": {\n\"x-vantaquill-hook\": \"$VANTAQUILL_HOOK_TOKEN\"\n},\n"
                                  "\"allowedEnvVars\": [\n\"VANTAQUILL_HOOK_TOKEN\"\n],\n\"timeout\": 600\n}\n");
    EXPECT_TRUE(AgentHookEntries::found(claude, AgentHookFile::claudeSettings).http);
    EXPECT_EQ(AgentHookEntries::removed(claude, AgentHookFile::claudeSettings), AgentJSON::object());
}

TEST(AgentHookEntries, RecognisesOurCommandByWhatItRuns) {
    EXPECT_TRUE(AgentHookEntries::isOurCommand("/usr/local/bin/vantaquill hook --agent codex"));
    EXPECT_TRUE(AgentHookEntries::isOurCommand("'/home/a b/.local/bin/vantaquill' hook"));
    EXPECT_TRUE(AgentHookEntries::isOurCommand("vantaquill hook --agent gemini"));
    EXPECT_FALSE(AgentHookEntries::isOurCommand("vantaquill notify --title hook"));
    EXPECT_FALSE(AgentHookEntries::isOurCommand("/opt/not-vantaquill hook"));
    EXPECT_FALSE(AgentHookEntries::isOurCommand("echo vantaquill hook"));
    EXPECT_EQ(AgentHookEntries::commandLine(AgentHookFile::geminiSettings, "/home/a b/vantaquill", "BeforeTool"),
              "'/home/a b/vantaquill' hook --agent gemini --event BeforeTool");
    EXPECT_EQ(AgentHookEntries::shellQuoted("it's"), "'it'\\''s'");
}

TEST(AgentHookEntries, RefusesHooksThatAreNotInTheAgentsShape) {
    for (const char* text : {R"({"hooks": []})", R"({"hooks": {"Stop": {"command": "x"}}})", "[]"}) {
        const auto root = AgentJSON::parse(text);
        ASSERT_TRUE(root.has_value());
        EXPECT_FALSE(AgentHookEntries::installed(*root, AgentHookFile::claudeSettings, target).has_value()) << text;
    }
}
