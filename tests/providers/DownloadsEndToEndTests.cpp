#include "tests/e2e/E2EProcess.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/support/BackgroundProgram.hpp"
#include "tests/support/SystemServiceMock.hpp"
#include "vantaquill/providers/DownloadsProvider.hpp"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vq {
namespace {

using namespace std::chrono_literals;
using e2e::IslandProcess;
using e2e::TemporaryHome;

TEST(DownloadFolder, UserDirsLinesAreReadAsTheShellWouldAndPartialFilesByTheirSuffixes) {
    const std::filesystem::path home = "/home/ada";
    struct Case {
        std::string text;
        std::optional<std::filesystem::path> folder;
    };
    const Case cases[] = {
        {"XDG_DOWNLOAD_DIR=\"$HOME/Downloads\"\n", home / "Downloads"},
        {"# comment\n  XDG_DOWNLOAD_DIR=\"/data/in coming\"  \n", "/data/in coming"},
        {"XDG_DOWNLOAD_DIR=\"$HOME/\"\n", home},
        {"XDG_DOWNLOAD_DIR=\"$HOME/Téléchargements\"\r\n", home / "Téléchargements"},
        {"XDG_DOWNLOAD_DIR=\"$HOME/a\"\nXDG_DOWNLOAD_DIR=\"$HOME/b\"\n", home / "b"},
        {"XDG_DOWNLOAD_DIR=\"$HOME/a\\\"b\"\n", home / "a\"b"},
        {"XDG_DOWNLOAD_DIR=$HOME/Downloads\n", std::nullopt},
        {"XDG_DOWNLOAD_DIR=\"relative/path\"\n", std::nullopt},
        {"XDG_DOWNLOAD_DIRS=\"$HOME/x\"\nXDG_MUSIC_DIR=\"$HOME/Music\"\n", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [text, folder] : cases)
        EXPECT_EQ(DownloadsProvider::userDirsEntry(text, "XDG_DOWNLOAD_DIR", home), folder) << text;

    TemporaryHome missing;
    EXPECT_EQ(DownloadsProvider::downloadFolder(missing.path(), missing.path() / ".config"),
              missing.path() / "Downloads");

    // Partial files are known by the browsers' suffixes.
    const std::pair<std::string, std::optional<std::string>> partials[] = {
        {"report.pdf.part", "report.pdf"},
        {"report.pdf.crdownload", "report.pdf"},
        {"Unconfirmed 431207.crdownload", ""},
        {"Unconfirmed notes.txt.crdownload", "Unconfirmed notes.txt"},
        {"archive.tar.gz.download", "archive.tar.gz"},
        {".part", std::nullopt},
        {"report.pdf", std::nullopt},
        {"report.partial", std::nullopt},
    };
    for (const auto& [name, final] : partials)
        EXPECT_EQ(DownloadsProvider::finalName(name), final) << name;
}

class Downloads : public ::testing::Test {
  protected:
    void SetUp() override {
        // The folder comes from user-dirs.dirs, as the desktop names it.
        // The preferences' folder exists from the start, as the island watches it for changes.
        std::filesystem::create_directories(home.path() / ".config/vantaquill");
        std::ofstream(home.path() / ".config/user-dirs.dirs") << "XDG_DOWNLOAD_DIR=\"$HOME/Incoming\"\n";
        std::filesystem::create_directories(folder);
    }

    static void append(const std::filesystem::path& file, std::size_t bytes) {
        std::ofstream(file, std::ios::binary | std::ios::app) << std::string(bytes, 'x');
    }

    TemporaryHome home;
    std::filesystem::path folder = home.path() / "Incoming";
};

TEST_F(Downloads, PartialFilesShowProgressThenDoneOrCancelledAndGoOnTheShelf) {
    IslandProcess island(home);
    ASSERT_NE(island.port(), 0) << island.errors();

    const auto partial = folder / "report.pdf.part";
    append(partial, 100'000);
    ASSERT_TRUE(island.waitForLine(
        "activity shown id=downloads.1 source=downloads priority=normal title=\"report.pdf\" "
        "subtitle=\"100 KB\"",
        patience))
        << island.errors();
    append(partial, 2'000'000);
    ASSERT_TRUE(island.waitForLine("activity updated id=downloads.1 source=downloads priority=normal "
                                   "title=\"report.pdf\" subtitle=\"2.1 MB\"",
                                   patience));

    std::filesystem::rename(partial, folder / "report.pdf");
    ASSERT_TRUE(island.waitForLine("activity ended id=downloads.1", patience));
    ASSERT_TRUE(island.waitForLine("alert shown id=downloads.done.1 title=\"report.pdf\"", patience));
    const auto done = island.waitForLine("activity shown id=downloads.done.1", patience);
    ASSERT_TRUE(done);
    EXPECT_NE(done->find("title=\"report.pdf\" subtitle=\"Downloaded, 2.1 MB\" progress=1.00 expiresAt="),
              std::string::npos)
        << *done;
    EXPECT_NE(done->find("action=\"open\" action=\"show\" action=\"shelf\""), std::string::npos) << *done;

    ASSERT_TRUE(island.sendInput("press downloads.done.1 shelf\n"));
    ASSERT_TRUE(
        island.waitForLine("shelf added path=\"" + (folder / "report.pdf").string() + "\"", patience));
    ASSERT_TRUE(island.waitForLine("activity ended id=downloads.done.1", patience));
    // Saved in the shelf's library, as a drop on the island is.
    std::ifstream library(home.path() / ".local/share/vantaquill/shelf.json");
    const std::string saved{std::istreambuf_iterator<char>(library), {}};
    EXPECT_NE(saved.find((folder / "report.pdf").string()), std::string::npos) << saved;

    // Chromium's unconfirmed download; its length set up front as a preallocating downloader does.
    const auto unconfirmed = folder / "Unconfirmed 4242.crdownload";
    append(unconfirmed, 2 * 1024 * 1024);
    std::filesystem::resize_file(unconfirmed, 8 * 1024 * 1024);
    ASSERT_TRUE(island.waitForLine("activity shown id=downloads.2 source=downloads priority=normal "
                                   "title=\"Downloading\" subtitle=\"2.1 MB of 8.4 MB\" progress=0.25",
                                   patience))
        << island.errors();

    // Named once the user confirmed it: the same download goes on under its name.
    const auto named = folder / "movie.mkv.crdownload";
    std::filesystem::rename(unconfirmed, named);
    ASSERT_TRUE(island.waitForLine("activity updated id=downloads.2 source=downloads priority=normal "
                                   "title=\"movie.mkv\"",
                                   patience));

    std::filesystem::remove(named);
    ASSERT_TRUE(island.waitForLine("activity ended id=downloads.2", patience));

    // Switched off while the island runs: its activities go with it.
    append(folder / "notes.txt.part", 10);
    ASSERT_TRUE(island.waitForLine("activity shown id=downloads.3", patience));
    writePreferences(home, "activities.downloads=false\n");
    ASSERT_TRUE(island.waitForLine("activity ended id=downloads.3", patience));
}

// "Show in Folder" asks the desktop's file manager to select the file, over the session bus.
TEST_F(Downloads, ShowInFolderAsksTheFileManagerToSelectTheFile) {
    if (!SystemServiceMock::installed())
        GTEST_SKIP() << "python3-dbusmock is missing; scripts/setup installs it";
    SystemServiceMock fileManager(home.path(), "org.freedesktop.FileManager1",
                                  std::string(BRIND_TEST_DATA) + "/providers/filemanager_template.py");
    ASSERT_TRUE(fileManager.running());
    IslandProcess island(home);
    ASSERT_NE(island.port(), 0) << island.errors();

    append(folder / "photo.jpg.crdownload", 1000);
    ASSERT_TRUE(island.waitForLine("activity shown id=downloads.1", patience));
    std::filesystem::rename(folder / "photo.jpg.crdownload", folder / "photo.jpg");
    ASSERT_TRUE(island.waitForLine("activity shown id=downloads.done.1", patience));
    ASSERT_TRUE(island.sendInput("press downloads.done.1 show\n"));
    ASSERT_TRUE(island.waitForLine("activity ended id=downloads.done.1", patience));

    const std::string expected = "file://" + (folder / "photo.jpg").string();
    std::string calls;
    eventually([&] {
        calls =
            fileManager
                .script(
                    "fm = bus.get_object('org.freedesktop.FileManager1', '/org/freedesktop/FileManager1')\n"
                    "print([(str(c[1]), [str(a) for a in c[2][0]]) for c in "
                    "fm.GetCalls(dbus_interface='org.freedesktop.DBus.Mock')])")
                .out;
        return calls.find(expected) != std::string::npos;
    });
    EXPECT_EQ(calls, "[('ShowItems', ['" + expected + "'])]\n");
}

} // namespace
} // namespace vq
