#include "vantaquill/clipboard/WaylandClipboardWatcher.hpp"

#include "tests/clipboard-desktop/ClipboardDisplay.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "tests/wayland/SwaySession.hpp"

#include <QProcess>
#include <QStandardPaths>

#include <gtest/gtest.h>

namespace vq {
namespace {

// A real compositor's clipboard: a headless sway, with wl-copy and wl-paste as the other clients.
class WaylandClipboardWatcherTests : public ::testing::Test {
protected:
    void SetUp() override {
        if (const auto reason = test::SwaySession::unavailableReason(); !reason.empty())
            GTEST_SKIP() << "no headless sway here: " << reason;
        if (QStandardPaths::findExecutable("wl-copy").isEmpty())
            GTEST_SKIP() << "wl-clipboard is not installed (scripts/setup installs it)";
        auto started = test::SwaySession::start({});
        ASSERT_TRUE(started) << started.error();
        sway = std::move(*started);
        qputenv("WAYLAND_DISPLAY", QByteArray::fromStdString(sway->waylandDisplay()));
        store = std::make_unique<ClipboardStore>(brind::ClipArchive{temporary.path() / "Clipboard"}, scheduler,
                                                 brind::ClipSettings{});
        store->onSkip = [this](brind::ClipSkipReason) { ++skips; };
        auto connected = WaylandClipboardWatcher::connect(*store);
        ASSERT_TRUE(connected) << connected.error();
        watcher = std::move(*connected);
    }
    void TearDown() override {
        watcher.reset();
        qunsetenv("WAYLAND_DISPLAY");
    }

    // Another client (wl-copy) takes the clipboard and offers `bytes` as `type`, or with `--primary`
    // the primary selection.
    void copy(const QString& type, const QByteArray& bytes) {
        QProcess copier;
        copier.start("wl-copy", type == "--primary" ? QStringList{type} : QStringList{"--type", type});
        copier.write(bytes);
        copier.closeWriteChannel();
        // wl-copy leaves a child serving the clipboard and returns once it has taken it.
        ASSERT_TRUE(clipboardtest::waitUntil([&] { return copier.state() == QProcess::NotRunning; }));
        ASSERT_EQ(copier.exitCode(), 0) << copier.readAllStandardError().toStdString();
    }

    bool heardCopy(std::size_t recordedBefore, int skipsBefore) {
        return clipboardtest::waitUntil(
            [&] { return store->history().items().size() > recordedBefore || skips > skipsBefore; });
    }

    // What another client pastes as `type`, read while the watcher's event loop serves it.
    QByteArray paste(const QString& type) {
        QProcess paster;
        paster.start("wl-paste", {"--no-newline", "--type", type});
        clipboardtest::waitUntil([&] { return paster.state() == QProcess::NotRunning; });
        return paster.readAllStandardOutput();
    }

    brindtest::TemporaryFolder temporary{"vantaquill-wayland-clipboard"};
    ManualScheduler scheduler;
    std::unique_ptr<test::SwaySession> sway;
    std::unique_ptr<ClipboardStore> store;
    std::unique_ptr<WaylandClipboardWatcher> watcher;
    int skips = 0;
};

TEST_F(WaylandClipboardWatcherTests, RecordsCopiesThroughDataControlAndKeepsSecretsOut) {
    copy("text/plain;charset=utf-8", "words copied on Wayland");
    ASSERT_TRUE(heardCopy(0, skips));
    EXPECT_EQ(store->history().items().front().text, "words copied on Wayland");

    copy("image/png", QByteArray::fromStdString(clipboardtest::encodedImage("PNG", 5, 3)));
    ASSERT_TRUE(heardCopy(1, skips));
    EXPECT_EQ(store->history().items().front().kind, brind::ClipKind::image);
    EXPECT_EQ(store->history().items().front().imageWidth, 5);

    copy("x-special/gnome-copied-files", "cut\nfile:///home/user/moved.txt");
    ASSERT_TRUE(heardCopy(2, skips));
    EXPECT_EQ(store->history().items().front().fileURLs, std::vector<std::string>{"file:///home/user/moved.txt"});

    const int before = skips;
    copy("x-kde-passwordManagerHint", "secret");
    ASSERT_TRUE(heardCopy(3, before));
    EXPECT_EQ(store->lastSkip(), brind::ClipSkipReason::concealed);
    EXPECT_EQ(store->history().items().size(), 3u);
}

TEST_F(WaylandClipboardWatcherTests, CopiesBackEveryFlavourWithoutRecordingItAgain) {
    copy("text/plain;charset=utf-8", "first");
    ASSERT_TRUE(heardCopy(0, skips));
    copy("x-special/gnome-copied-files", "copy\nfile:///tmp/kept.txt");
    ASSERT_TRUE(heardCopy(1, skips));

    const auto files = store->history().items().front();
    const auto text = store->history().items()[1];
    const auto flavours = store->copyBack(text.id);
    ASSERT_TRUE(flavours);
    watcher->write(*flavours);
    ASSERT_TRUE(heardCopy(2, skips));
    EXPECT_EQ(store->lastSkip(), brind::ClipSkipReason::ownWrite);
    EXPECT_EQ(store->history().items().size(), 2u);
    EXPECT_EQ(paste("text/plain"), "first");

    watcher->write(*store->copyBack(files.id));
    EXPECT_EQ(paste("text/uri-list"), "file:///tmp/kept.txt\r\n");
    EXPECT_EQ(paste("x-special/gnome-copied-files"), "copy\nfile:///tmp/kept.txt");
    EXPECT_EQ(store->history().items().size(), 2u);
}

TEST_F(WaylandClipboardWatcherTests, ThePrimarySelectionIsRecordedOnlyWhenAsked) {
    copy("--primary", "selected but not wanted");
    // Longer than the selection's settling time: had it been read, it would be in by now.
    clipboardtest::waitUntil([] { return false; }, std::chrono::milliseconds(3 * WaylandClipboardWatcher::primarySettleMs));
    copy("text/plain;charset=utf-8", "copied on purpose");
    ASSERT_TRUE(heardCopy(0, skips));
    EXPECT_EQ(store->history().items().size(), 1u);

    watcher->setWatchPrimary(true);
    copy("--primary", "selected with the pointer");
    ASSERT_TRUE(heardCopy(1, skips));
    EXPECT_EQ(store->history().items().front().text, "selected with the pointer");
}

} // namespace
} // namespace vq
