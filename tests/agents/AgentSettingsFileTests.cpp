#include "BrindKit/agents/AgentSettingsFile.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

using Contents = std::expected<std::optional<std::string>, std::string>;

AgentSettingsFile::Change appending(std::string tail) {
    return
        [tail](const std::optional<std::string>& current) -> Contents { return current.value_or("") + tail; };
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
