#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace brind;
namespace fs = std::filesystem;

TEST(AtomicFile, WritesReplacesAndReadsWholeFilesLeavingNoTemporaryFiles) {
    const brindtest::TemporaryFolder temporary("brind-atomic");
    const fs::path& folder = temporary.path();
    ASSERT_TRUE(AtomicFile::ensureFolder(folder / "nested"));
    EXPECT_EQ(fs::status(folder / "nested").permissions() & fs::perms::all, fs::perms::owner_all);

    const fs::path file = folder / "nested" / "data.json";
    ASSERT_TRUE(AtomicFile::write(file, "first"));
    ASSERT_TRUE(AtomicFile::write(file, "second"));
    EXPECT_EQ(AtomicFile::read(file).value(), "second");
    EXPECT_EQ(fs::status(file).permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / "nested"), fs::directory_iterator{}), 1);

    // Files are read whole whatever their size.
    std::string large(3 * 4096 + 7, 'x');
    large[100] = '\0';
    large.back() = '\xFF';
    for (const std::string& contents : {std::string(), std::string("a"), large}) {
        ASSERT_TRUE(AtomicFile::write(folder / "file", contents));
        EXPECT_EQ(AtomicFile::read(folder / "file").value(), contents);
    }
    // Files under /proc report a size of zero and still have contents, here more than the first
    // read's buffer holds.
    const auto mappings = AtomicFile::read("/proc/self/smaps");
    ASSERT_TRUE(mappings);
    EXPECT_GT(mappings->size(), 4096u);
    EXPECT_EQ(mappings->back(), '\n');
    EXPECT_NE(mappings->find("Rss:"), std::string::npos);
    EXPECT_FALSE(AtomicFile::read(folder));
}

TEST(AtomicFile, ReportsFailuresAsSentences) {
    const auto written = AtomicFile::write("/nonexistent-folder/x/file", "data");
    ASSERT_FALSE(written);
    EXPECT_NE(written.error().find("/nonexistent-folder/x/file"), std::string::npos);
    EXPECT_FALSE(AtomicFile::read("/nonexistent-folder/file"));
}
