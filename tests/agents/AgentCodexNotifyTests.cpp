#include "BrindKit/agents/AgentCodexNotify.hpp"
#include "tests/sdk/TestData.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

const std::vector<std::string> ours = {"/home/me/.local/bin/vantaquill", "hook", "--agent", "codex", "--"};

} // namespace

// Installing again and removing (which gives the user's program back) are proven on the real file
// by tests/e2e HooksInstall.
TEST(AgentCodexNotify, ChainsTheUsersProgram) {
    const std::string text = brindtest::testData("hooks/codex-config.toml");
    const auto installed = AgentCodexNotify::installed(text, ours);
    ASSERT_TRUE(installed.has_value()) << installed.error();
    EXPECT_NE(installed->find(
                  "notify = [\"/home/me/.local/bin/vantaquill\", \"hook\", \"--agent\", \"codex\", \"--\", "
                  "\"python3\", \"/home/me/.codex/notify.py\"]\n\n[mcp_servers.docs]"),
              std::string::npos)
        << *installed;
    EXPECT_TRUE(installed->starts_with("# Codex configuration\nmodel = \"gpt-5-codex\"\n"));
}

TEST(AgentCodexNotify, AddsAndRemovesALineWhenThereWasNone) {
    const std::string text = "model = \"o3\"\n\n[profiles.fast]\nnotify = [\"theirs\"]\n";
    const auto installed = AgentCodexNotify::installed(text, ours);
    ASSERT_TRUE(installed.has_value());
    EXPECT_TRUE(installed->starts_with(AgentCodexNotify::line(ours)));
    EXPECT_EQ(AgentCodexNotify::removed(*installed), text);
    EXPECT_EQ(AgentCodexNotify::installed("", ours), AgentCodexNotify::line(ours));
}

TEST(AgentCodexNotify, ReadsTOMLStringsAndRefusesWhatItCannotKeep) {
    const auto found = AgentCodexNotify::find("notify = ['lit\\eral', \"a\\\"b\\u00e9\"] # c\nx = 1\n");
    ASSERT_TRUE(found && *found);
    EXPECT_EQ((*found)->program, (std::vector<std::string>{"lit\\eral", "a\"b\xC3\xA9"}));
    EXPECT_EQ((*found)->end, std::string("notify = ['lit\\eral', \"a\\\"b\\u00e9\"] # c\n").size());
    EXPECT_EQ(AgentCodexNotify::line({"a\"b", "tab\t"}), "notify = [\"a\\\"b\", \"tab\\u0009\"]\n");
    for (const char* bad : {"notify = \"script.sh\"\n", "notify = [1, 2]\n", "notify = [\"open\n",
                            "notify = [\"\"\"multi\"\"\"]\n"})
        EXPECT_FALSE(AgentCodexNotify::installed(bad, ours).has_value()) << bad;
    const auto other = AgentCodexNotify::find("notify_sound = true\n");
    ASSERT_TRUE(other.has_value());
    EXPECT_FALSE(other->has_value());
}
