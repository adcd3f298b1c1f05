#include "BrindKit/agents/AgentSettingsFile.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"

#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

using Contents = std::expected<std::optional<std::string>, std::string>;

AgentSettingsFile::Change appending(std::string tail) {
    return [tail](const std::optional<std::string>& current) -> Contents { return current.value_or("") + tail; };
}

} // namespace

TEST(AgentSettingsFile, BacksUpOnceAndGivesBackTheOriginalBytes) {
    brindtest::TemporaryFolder folder;
    const auto path = folder.path() / "settings.json";
    ASSERT_TRUE(AtomicFile::write(path, "{ \"a\": 1 }"));
    const auto install = appending("+ours");
    const auto remove = [](const std::optional<std::string>& current) -> Contents { return current; };
    EXPECT_EQ(AgentSettingsFile::edit(path, install), AgentSettingsFile::Outcome::written);
    EXPECT_EQ(AtomicFile::read(AgentSettingsFile::backupPath(path)).value_or(""), "{ \"a\": 1 }");
    EXPECT_EQ(AgentSettingsFile::edit(path, install), AgentSettingsFile::Outcome::written);
    EXPECT_EQ(AtomicFile::read(AgentSettingsFile::backupPath(path)).value_or(""), "{ \"a\": 1 }");

    // The file is now "original+ours+ours", not what installing into the original gives: the
    // uninstall must then edit, not restore the backup over the later change.
    const auto original = AgentSettingsFile::original(path);
    const auto uninstall = [&](const std::optional<std::string>& current) {
        return AgentSettingsFile::uninstalled(current, original, install, remove);
    };
    EXPECT_EQ(AgentSettingsFile::edit(path, uninstall), AgentSettingsFile::Outcome::unchanged);
    ASSERT_TRUE(AtomicFile::write(path, "{ \"a\": 1 }+ours"));
    EXPECT_EQ(AgentSettingsFile::edit(path, uninstall), AgentSettingsFile::Outcome::written);
    EXPECT_EQ(AtomicFile::read(path).value_or(""), "{ \"a\": 1 }");
}

TEST(AgentSettingsFile, RemembersAMissingFileAndRemovesItAgain) {
    brindtest::TemporaryFolder folder;
    const auto path = folder.path() / "new/hooks.json";
    EXPECT_EQ(AgentSettingsFile::edit(path, appending("{}")), AgentSettingsFile::Outcome::written);
    EXPECT_EQ(AgentSettingsFile::original(path), std::optional<std::optional<std::string>>(std::optional<std::string>()));
    const auto uninstall = [&](const std::optional<std::string>& current) {
        return AgentSettingsFile::uninstalled(current, AgentSettingsFile::original(path), appending("{}"),
                                              appending("unused"));
    };
    EXPECT_EQ(AgentSettingsFile::edit(path, uninstall), AgentSettingsFile::Outcome::removed);
    EXPECT_FALSE(std::filesystem::exists(path));
}

// The user saves the file while the installer is computing its change: the change is computed
// again from their bytes instead of replacing the file with an edit of the old ones.
TEST(AgentSettingsFile, KeepsAnEditMadeWhileTheChangeWasComputed) {
    brindtest::TemporaryFolder folder;
    const auto path = folder.path() / "settings.json";
    ASSERT_TRUE(AtomicFile::write(path, "old"));
    int calls = 0;
    const auto change = [&](const std::optional<std::string>& current) -> Contents {
        if (++calls == 1) {
            EXPECT_TRUE(AtomicFile::write(path, "users-edit"));
        }
        return current.value_or("") + "+ours";
    };
    EXPECT_EQ(AgentSettingsFile::edit(path, change), AgentSettingsFile::Outcome::written);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(AtomicFile::read(path).value_or(""), "users-edit+ours");
}

TEST(AgentSettingsFile, LeavesTheFileAloneWhenTheChangeFails) {
    brindtest::TemporaryFolder folder;
    const auto path = folder.path() / "settings.json";
    ASSERT_TRUE(AtomicFile::write(path, "{broken"));
    const auto refuse = [](const std::optional<std::string>&) -> Contents {
        return std::unexpected(std::string("it is not valid JSON"));
    };
    const auto result = AgentSettingsFile::edit(path, refuse);
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(result.error(), "it is not valid JSON");
    EXPECT_EQ(AtomicFile::read(path).value_or(""), "{broken");
    EXPECT_FALSE(AgentSettingsFile::original(path).has_value());
}

TEST(AgentSettingsFile, EditsTheTargetOfASymbolicLink) {
    brindtest::TemporaryFolder folder;
    const auto target = folder.path() / "dotfiles-settings.json";
    const auto link = folder.path() / "settings.json";
    ASSERT_TRUE(AtomicFile::write(target, "a"));
    std::filesystem::create_symlink(target, link);
    EXPECT_EQ(AgentSettingsFile::edit(link, appending("b")), AgentSettingsFile::Outcome::written);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(AtomicFile::read(target).value_or(""), "ab");
}
