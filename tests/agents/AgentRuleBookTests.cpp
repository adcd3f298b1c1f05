#include "BrindKit/agents/AgentRuleBook.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace brind;

namespace {

AgentAllowRule rule(std::string project, std::optional<std::string> prefix, double createdAt = 0) {
    AgentAllowRule result;
    result.agent = AgentKind::claudeCode;
    result.project = std::move(project);
    result.tool = "Bash";
    result.commandPrefix = std::move(prefix);
    result.createdAt = Date{createdAt};
    return result;
}

AgentHookEvent bash(std::string cwd, std::string command) {
    AgentHookEvent event;
    event.agent = AgentKind::claudeCode;
    event.sessionID = "s";
    event.cwd = std::move(cwd);
    event.toolName = "Bash";
    event.toolSummary = std::move(command);
    return event;
}

} // namespace

TEST(AgentRuleBook, MatchesTheFirstCoveringRuleInOrder) {
    AgentRuleBook book;
    EXPECT_TRUE(book.add(rule("/a", "git status", 1)));
    EXPECT_TRUE(book.add(rule("/a/b", std::nullopt, 2)));
    EXPECT_TRUE(book.add(rule("/c", "make", 3)));
    EXPECT_EQ(book.match(bash("/a/b", "git status")), rule("/a", "git status", 1));
    EXPECT_EQ(book.match(bash("/a/b/x", "rm -rf ~")), rule("/a/b", std::nullopt, 2));
    EXPECT_EQ(book.match(bash("/a", "rm -rf ~")), std::nullopt);
    EXPECT_EQ(book.rulesForProject("/a/b"), (std::vector<AgentAllowRule>{rule("/a/b", std::nullopt, 2)}));
    EXPECT_TRUE(book.rulesForProject("/z").empty());
}

TEST(AgentRuleBook, KeepsOneRulePerIDAndRemovesByID) {
    AgentRuleBook book;
    EXPECT_TRUE(book.add(rule("/a", "npm test", 1)));
    EXPECT_FALSE(book.add(rule("/a", "npm test", 99)));
    EXPECT_EQ(book.rules, (std::vector<AgentAllowRule>{rule("/a", "npm test", 1)})); // the first one stays
    EXPECT_FALSE(book.remove("claude-code|/a|Bash|npm"));
    EXPECT_TRUE(book.remove("claude-code|/a|Bash|npm test"));
    EXPECT_TRUE(book.rules.empty());
}

TEST(AgentRuleBook, SavesAndLoadsAtomicallyUnderTheRulesKey) {
    const brindtest::TemporaryFolder folder("agent-rules");
    const auto file = folder.path() / AgentRuleBook::fileName;
    const auto missing = AgentRuleBook::load(file);
    ASSERT_TRUE(missing.has_value());
    EXPECT_TRUE(missing->rules.empty());

    AgentRuleBook book;
    book.add(rule("/a", "git push", 1.5));
    book.add(rule("/b", std::nullopt, 2));
    ASSERT_TRUE(book.save(file).has_value());
    EXPECT_EQ(std::filesystem::status(file).permissions() & std::filesystem::perms::all,
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    const auto loaded = AgentRuleBook::load(file);
    ASSERT_TRUE(loaded.has_value());
    EXPECT_EQ(*loaded, book);
    EXPECT_EQ(book.toJSON().begin().key(), "rules");
    // A damaged file is left for the user to repair: tests/app AgentHub.
    ASSERT_TRUE(AtomicFile::write(file, "{\"rules\": [").has_value());
    EXPECT_FALSE(AgentRuleBook::load(file).has_value());
}

TEST(AgentRuleBook, SkipsUnreadableAndRepeatedRules) {
    const JSON json = {{"rules",
                        {rule("/a", "ls", 1).toJSON(),
                         {{"agent", "nobody"}, {"project", "/a"}, {"tool", "Bash"}},
                         "not a rule",
                         rule("/a", "ls", 5).toJSON()}}};
    EXPECT_EQ(AgentRuleBook::fromJSON(json).rules, (std::vector<AgentAllowRule>{rule("/a", "ls", 1)}));
    EXPECT_TRUE(AgentRuleBook::fromJSON({{"rules", 3}}).rules.empty());
}
