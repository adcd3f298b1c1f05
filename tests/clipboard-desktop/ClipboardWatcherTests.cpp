// The same copies on both display servers: the X11 watcher under Xvfb with xclip as the other
// application, the Wayland watcher under a headless sway with wl-copy and wl-paste.

#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/clipboard-desktop/ClipboardDisplay.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "tests/wayland/SwaySession.hpp"
#include "vantaquill/clipboard/WaylandClipboardWatcher.hpp"
#include "vantaquill/clipboard/X11ClipboardWatcher.hpp"

#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <gtest/gtest.h>
#include <xcb/xcb.h>

namespace vq {
namespace {

namespace fs = std::filesystem;

enum class Server { x11, wayland };

std::string contents(const fs::path& file) {
    return brind::AtomicFile::read(file).value_or("");
}

class ClipboardWatcherFixture : public ::testing::Test {
  protected:
    void start(Server chosen) {
        server = chosen;
        if (server == Server::x11) {
            if (!clipboardtest::display() || !X11ClipboardWatcher::available())
                GTEST_SKIP() << "needs Xvfb, xdotool, ImageMagick and xclip (scripts/setup installs them)";
        } else {
            if (const auto reason = test::SwaySession::unavailableReason(); !reason.empty())
                GTEST_SKIP() << "no headless sway here: " << reason;
            if (QStandardPaths::findExecutable("wl-copy").isEmpty())
                GTEST_SKIP() << "wl-clipboard is not installed (scripts/setup installs it)";
            auto started = test::SwaySession::start({});
            ASSERT_TRUE(started) << started.error();
            sway = std::move(*started);
            qputenv("WAYLAND_DISPLAY", QByteArray::fromStdString(sway->waylandDisplay()));
        }
        store =
            std::make_unique<ClipboardStore>(brind::ClipArchive{folder}, scheduler, brind::ClipSettings{});
        store->onSkip = [this](brind::ClipSkipReason) { ++skips; };
        if (server == Server::x11) {
            x11 = std::make_unique<X11ClipboardWatcher>(*store);
        } else {
            auto connected = WaylandClipboardWatcher::connect(*store);
            ASSERT_TRUE(connected) << connected.error();
            wayland = std::move(*connected);
        }
    }

    void TearDown() override {
        wayland.reset();
        qunsetenv("WAYLAND_DISPLAY");
    }

    // Another application takes the clipboard, or the primary selection (text selected with the
    // pointer), and offers `bytes` as `type`.
    void copy(const std::string& type, const std::string& bytes, bool primary = false) {
        const QString mimeType = QString::fromStdString(type);
        QProcess copier;
        if (server == Server::x11)
            copier.start("xclip", {"-selection", primary ? "primary" : "clipboard", "-t", mimeType, "-i"});
        else
            copier.start("wl-copy", primary ? QStringList{"--primary"} : QStringList{"--type", mimeType});
        copier.write(QByteArray::fromStdString(bytes));
        copier.closeWriteChannel();
        // Both leave a child serving the selection and return once it has taken it.
        ASSERT_TRUE(clipboardtest::waitUntil([&] { return copier.state() == QProcess::NotRunning; }));
        ASSERT_EQ(copier.exitCode(), 0) << copier.readAllStandardError().toStdString();
    }

    // Waits for the store to record or skip one more copy.
    bool heardCopy(std::size_t recordedBefore, int skipsBefore) {
        return clipboardtest::waitUntil(
            [&] { return store->history().items().size() > recordedBefore || skips > skipsBefore; });
    }

    // What another application pastes from the clipboard as `type`, read while our event loop serves it.
    std::string paste(const std::string& type) {
        const QString mimeType = QString::fromStdString(type);
        QProcess paster;
        if (server == Server::x11)
            paster.start("xclip", {"-o", "-selection", "clipboard", "-t", mimeType});
        else
            paster.start("wl-paste", {"--no-newline", "--type", mimeType});
        clipboardtest::waitUntil([&] { return paster.state() == QProcess::NotRunning; });
        return paster.readAllStandardOutput().toStdString();
    }

    void write(const ClipFlavours& flavours) { x11 ? x11->write(flavours) : wayland->write(flavours); }
    void setWatchPrimary(bool watch) { x11 ? x11->setWatchPrimary(watch) : wayland->setWatchPrimary(watch); }

    // Longer than the primary selection's settling time: had it been read, it would be in by now.
    static void waitPastPrimarySettling() {
        static_assert(X11ClipboardWatcher::primarySettleMs == WaylandClipboardWatcher::primarySettleMs);
        clipboardtest::waitUntil([] { return false; },
                                 std::chrono::milliseconds(3 * X11ClipboardWatcher::primarySettleMs));
    }

    Server server = Server::x11;
    brindtest::TemporaryFolder temporary{"vantaquill-clipboard-watcher"};
    fs::path folder = temporary.path() / "Clipboard";
    ManualScheduler scheduler;
    std::unique_ptr<test::SwaySession> sway;
    std::unique_ptr<ClipboardStore> store;
    std::unique_ptr<X11ClipboardWatcher> x11;
    std::unique_ptr<WaylandClipboardWatcher> wayland;
    int skips = 0;
};

class ClipboardWatcherTests : public ClipboardWatcherFixture, public ::testing::WithParamInterface<Server> {
  protected:
    void SetUp() override { start(GetParam()); }
};

TEST_P(ClipboardWatcherTests, RecordsWhatOtherApplicationsCopyArchivesItAndKeepsSecretsOut) {
    const std::string png = clipboardtest::encodedImage("PNG", 6, 4);
    const struct {
        std::string type;
        std::string bytes;
        brind::ClipKind kind;
        std::optional<std::string> text;
    } cases[] = {
        {"UTF8_STRING", "plain words from a terminal", brind::ClipKind::text, "plain words from a terminal"},
        {"text/plain;charset=utf-8", "words in UTF-8", brind::ClipKind::text, "words in UTF-8"},
        {"image/png", png, brind::ClipKind::image, std::nullopt},
        {"x-special/gnome-copied-files", "cut\nfile:///home/user/report.pdf", brind::ClipKind::file,
         "/home/user/report.pdf"},
        {"text/uri-list", "file:///home/user/a.txt\r\n", brind::ClipKind::file, "/home/user/a.txt"},
    };
    for (const auto& test : cases) {
        const std::size_t before = store->history().items().size();
        copy(test.type, test.bytes);
        ASSERT_TRUE(heardCopy(before, skips)) << test.type;
        const brind::ClipItem& newest = store->history().items().front();
        EXPECT_EQ(newest.kind, test.kind) << test.type;
        EXPECT_EQ(newest.text, test.text) << test.type;
    }
    const brind::ClipItem& image = store->history().items()[2];
    ASSERT_TRUE(image.imageFile);
    EXPECT_EQ(image.imageWidth, 6);
    EXPECT_EQ(contents(folder / *image.imageFile), png);

    const int before = skips;
    copy("x-kde-passwordManagerHint", "secret");
    ASSERT_TRUE(heardCopy(std::size(cases), before));
    EXPECT_EQ(store->lastSkip(), brind::ClipSkipReason::concealed);
    EXPECT_EQ(store->history().items().size(), std::size(cases));
    store->flush();
    const std::string index = contents(folder / "index.json");
    EXPECT_NE(index.find("plain words from a terminal"), std::string::npos);
    EXPECT_NE(index.find("report.pdf"), std::string::npos);
    EXPECT_EQ(index.find("secret"), std::string::npos);
}

TEST_P(ClipboardWatcherTests, CopiesBackWhatOthersCanPasteWithoutRecordingItAgain) {
    copy("UTF8_STRING", "older clip");
    ASSERT_TRUE(heardCopy(0, skips));
    copy("x-special/gnome-copied-files", "copy\nfile:///tmp/kept.txt");
    ASSERT_TRUE(heardCopy(1, skips));

    const auto files = store->history().items().front();
    const auto older = store->history().items()[1];
    const auto flavours = store->copyBack(older.id);
    ASSERT_TRUE(flavours);
    // On X11 the watcher may hear its own write before `write` returns.
    const int before = skips;
    write(*flavours);
    ASSERT_TRUE(heardCopy(2, before));
    EXPECT_EQ(store->lastSkip(), brind::ClipSkipReason::ownWrite);
    EXPECT_EQ(store->history().items().size(), 2u);
    EXPECT_EQ(store->history().items().front().id, older.id);
    EXPECT_EQ(paste("text/plain"), "older clip");
    if (server == Server::x11) {
        EXPECT_EQ(paste("UTF8_STRING"), "older clip");
    }

    write(*store->copyBack(files.id));
    EXPECT_EQ(paste("text/uri-list"), "file:///tmp/kept.txt\r\n");
    EXPECT_EQ(paste("x-special/gnome-copied-files"), "copy\nfile:///tmp/kept.txt");
    EXPECT_EQ(store->history().items().size(), 2u);
}

TEST_P(ClipboardWatcherTests, ThePrimarySelectionIsRecordedOnlyWhenAskedAndOnceTheButtonIsUp) {
    copy("UTF8_STRING", "selected but not wanted", true);
    waitPastPrimarySettling();
    copy("UTF8_STRING", "copied on purpose");
    ASSERT_TRUE(heardCopy(0, skips));
    EXPECT_EQ(store->history().items().size(), 1u);

    setWatchPrimary(true);
    // On X11 a selection still being made with the button held is not read, however long it takes.
    if (server == Server::x11) {
        ASSERT_EQ(clipboardtest::display()->run({"xdotool", "mousemove", "5", "5", "mousedown", "1"}), 0);
    }
    copy("UTF8_STRING", "selected with the pointer", true);
    if (server == Server::x11) {
        waitPastPrimarySettling();
        EXPECT_EQ(store->history().items().size(), 1u);
        ASSERT_EQ(clipboardtest::display()->run({"xdotool", "mouseup", "1"}), 0);
    }
    ASSERT_TRUE(heardCopy(1, skips));
    EXPECT_EQ(store->history().items().front().text, "selected with the pointer");
}

INSTANTIATE_TEST_SUITE_P(DisplayServers, ClipboardWatcherTests,
                         ::testing::Values(Server::x11, Server::wayland),
                         [](const auto& info) { return info.param == Server::x11 ? "X11" : "Wayland"; });

class X11ClipboardWatcherTests : public ClipboardWatcherFixture {
  protected:
    void SetUp() override { start(Server::x11); }
};

TEST_F(X11ClipboardWatcherTests, CopiesFromAFocusedPasswordManagerNeverReachTheHistoryOrTheDisk) {
    // A password manager's window has the focus, as the window manager announces it.
    auto* connection = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const xcb_window_t window = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
    constexpr char wmClass[] = "keepassxc\0KeePassXC";
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        sizeof wmClass, wmClass);
    const auto cookie = xcb_intern_atom(connection, 0, 18, "_NET_ACTIVE_WINDOW");
    xcb_intern_atom_reply_t* active = xcb_intern_atom_reply(connection, cookie, nullptr);
    ASSERT_TRUE(active);
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, screen->root, active->atom, XCB_ATOM_WINDOW, 32, 1,
                        &window);
    xcb_flush(connection);

    copy("UTF8_STRING", "correct horse battery staple");
    ASSERT_TRUE(heardCopy(0, 0));
    EXPECT_EQ(store->lastSkip(), brind::ClipSkipReason::passwordManager);
    EXPECT_TRUE(store->history().items().empty());

    xcb_delete_property(connection, screen->root, active->atom);
    xcb_destroy_window(connection, window);
    xcb_flush(connection);
    std::free(active);
    copy("UTF8_STRING", "an ordinary note");
    ASSERT_TRUE(heardCopy(0, 1));
    ASSERT_EQ(store->history().items().size(), 1u);
    store->flush();
    const std::string index = contents(folder / "index.json");
    EXPECT_NE(index.find("an ordinary note"), std::string::npos);
    EXPECT_EQ(index.find("correct horse"), std::string::npos);
}

} // namespace
} // namespace vq
