#include "BrindKit/foundation/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

using namespace brind;
namespace fs = std::filesystem;

namespace {

fs::path freshFolder() {
    const fs::path folder = fs::temp_directory_path() / ("brind-atomic-" + std::to_string(::getpid()));
    fs::remove_all(folder);
    return folder;
}

} // namespace

TEST(AtomicFile, WritesReplacesAndLeavesNoTemporaryFiles) {
    const fs::path folder = freshFolder();
    ASSERT_TRUE(AtomicFile::ensureFolder(folder / "nested"));
    EXPECT_EQ(fs::status(folder / "nested").permissions() & fs::perms::all, fs::perms::owner_all);

    const fs::path file = folder / "nested" / "data.json";
    ASSERT_TRUE(AtomicFile::write(file, "first"));
    ASSERT_TRUE(AtomicFile::write(file, "second"));
    EXPECT_EQ(AtomicFile::read(file).value(), "second");
    EXPECT_EQ(fs::status(file).permissions() & fs::perms::all, fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / "nested"), fs::directory_iterator{}), 1);
    fs::remove_all(folder);
}

TEST(AtomicFile, ReportsFailuresAsSentences) {
    const auto written = AtomicFile::write("/nonexistent-folder/x/file", "data");
    ASSERT_FALSE(written);
    EXPECT_NE(written.error().find("/nonexistent-folder/x/file"), std::string::npos);
    EXPECT_FALSE(AtomicFile::read("/nonexistent-folder/file"));
}
