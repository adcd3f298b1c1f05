#include "vantaquill/clipboard/X11ClipboardWatcher.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/clipboard-desktop/ClipboardDisplay.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <QGuiApplication>

#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <fstream>
#include <sys/wait.h>

namespace vq {
namespace {

namespace fs = std::filesystem;

// The whole file; empty when it cannot be read.
std::string contents(const fs::path& file) { return brind::AtomicFile::read(file).value_or(""); }

// A real clipboard under Xvfb; each test has its own history folder.
class X11ClipboardWatcherTests : public ::testing::Test {
protected:
    void SetUp() override {
        if (!clipboardtest::display() || !X11ClipboardWatcher::available())
            GTEST_SKIP() << "needs Xvfb, xdotool, ImageMagick and xclip (scripts/setup installs them)";
        store = std::make_unique<ClipboardStore>(brind::ClipArchive{folder}, scheduler, brind::ClipSettings{});
        store->onSkip = [this](brind::ClipSkipReason) { ++skips; };
        watcher = std::make_unique<X11ClipboardWatcher>(*store);
    }

    // Another application (xclip) takes the `selection` (the clipboard, or PRIMARY: text selected
    // with the pointer) and offers `bytes` as `type`.
    void copy(const std::string& type, const std::string& bytes, const std::string& selection = "clipboard") {
        const fs::path file = temporary.path() / "copied";
        std::ofstream(file, std::ios::binary) << bytes;
        ASSERT_EQ(
            clipboardtest::display()->run({"xclip", "-selection", selection, "-t", type, "-i", file.string()}), 0);
    }

    // Waits for the store to record or skip one more copy.
    bool heardCopy(std::size_t recordedBefore, int skipsBefore) {
        return clipboardtest::waitUntil(
            [&] { return store->history().items().size() > recordedBefore || skips > skipsBefore; });
    }

    // What another application pastes from the clipboard as `type`, read while our event loop serves it.
    std::string paste(const std::string& type) {
        const fs::path output = temporary.path() / "pasted";
        const int pid = clipboardtest::display()->start({"xclip", "-o", "-selection", "clipboard", "-t", type}, output);
        int status = 0;
        clipboardtest::waitUntil([&] { return ::waitpid(pid, &status, WNOHANG) == pid; });
        return contents(output);
    }

    brindtest::TemporaryFolder temporary{"vantaquill-x11-clipboard"};
    fs::path folder = temporary.path() / "Clipboard";
    ManualScheduler scheduler;
    std::unique_ptr<ClipboardStore> store;
    std::unique_ptr<X11ClipboardWatcher> watcher;
    int skips = 0;
};

TEST_F(X11ClipboardWatcherTests, RecordsWhatOtherApplicationsCopyAndArchivesIt) {
    const std::string png = clipboardtest::encodedImage("PNG", 6, 4);

    const struct {
        std::string type;
        std::string bytes;
        brind::ClipKind kind;
        std::optional<std::string> text;
    } cases[] = {
        {"UTF8_STRING", "plain words from a terminal", brind::ClipKind::text, "plain words from a terminal"},
        {"text/html", "<p>rich <i>words</i> from a browser</p>", brind::ClipKind::text, "rich words from a browser"},
        {"image/png", png, brind::ClipKind::image, std::nullopt},
        {"x-special/gnome-copied-files", "copy\nfile:///home/user/report.pdf", brind::ClipKind::file,
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
    store->flush();
    const std::string index = contents(folder / "index.json");
    EXPECT_NE(index.find("plain words from a terminal"), std::string::npos);
    EXPECT_NE(index.find("report.pdf"), std::string::npos);
}

TEST_F(X11ClipboardWatcherTests, SecretsFromPasswordManagersNeverReachTheHistoryOrTheDisk) {
    copy("x-kde-passwordManagerHint", "secret");
    ASSERT_TRUE(heardCopy(0, 0));
    EXPECT_EQ(store->lastSkip(), brind::ClipSkipReason::concealed);

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
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, screen->root, active->atom, XCB_ATOM_WINDOW, 32, 1, &window);
    xcb_flush(connection);

    copy("UTF8_STRING", "correct horse battery staple");
    ASSERT_TRUE(heardCopy(0, 1));
    EXPECT_EQ(store->lastSkip(), brind::ClipSkipReason::passwordManager);
    EXPECT_TRUE(store->history().items().empty());

    xcb_delete_property(connection, screen->root, active->atom);
    xcb_destroy_window(connection, window);
    xcb_flush(connection);
    std::free(active);
    copy("UTF8_STRING", "an ordinary note");
    ASSERT_TRUE(heardCopy(0, 2));
    ASSERT_EQ(store->history().items().size(), 1u);
    store->flush();
    const std::string index = contents(folder / "index.json");
    EXPECT_NE(index.find("an ordinary note"), std::string::npos);
    EXPECT_EQ(index.find("correct horse"), std::string::npos);
}

TEST_F(X11ClipboardWatcherTests, CopiesBackWhatOthersCanPasteWithoutRecordingItAgain) {
    copy("UTF8_STRING", "older clip");
    ASSERT_TRUE(heardCopy(0, 0));
    copy("UTF8_STRING", "newer clip");
    ASSERT_TRUE(heardCopy(1, 0));

    const auto older = store->history().items()[1];
    const auto flavours = store->copyBack(older.id);
    ASSERT_TRUE(flavours);
    watcher->write(*flavours);
    ASSERT_TRUE(heardCopy(2, 0));
    EXPECT_EQ(store->lastSkip(), brind::ClipSkipReason::ownWrite);
    EXPECT_EQ(store->history().items().size(), 2u);
    EXPECT_EQ(store->history().items().front().id, older.id);

    EXPECT_EQ(paste("UTF8_STRING"), "older clip");
    EXPECT_EQ(paste("text/plain"), "older clip");
}

TEST_F(X11ClipboardWatcherTests, ThePrimarySelectionIsRecordedOnlyWhenAskedAndOnceTheButtonIsUp) {
    copy("UTF8_STRING", "selected but not wanted", "primary");
    // Longer than the selection's settling time: had it been read, it would be in by now.
    clipboardtest::waitUntil([] { return false; }, std::chrono::milliseconds(3 * X11ClipboardWatcher::primarySettleMs));
    copy("UTF8_STRING", "copied on purpose");
    ASSERT_TRUE(heardCopy(0, 0));
    EXPECT_EQ(store->history().items().size(), 1u);

    watcher->setWatchPrimary(true);
    // A selection still being made with the button held is not read, however long it takes.
    ASSERT_EQ(clipboardtest::display()->run({"xdotool", "mousemove", "5", "5", "mousedown", "1"}), 0);
    copy("UTF8_STRING", "selected with the pointer", "primary");
    clipboardtest::waitUntil([] { return false; }, std::chrono::milliseconds(3 * X11ClipboardWatcher::primarySettleMs));
    EXPECT_EQ(store->history().items().size(), 1u);
    ASSERT_EQ(clipboardtest::display()->run({"xdotool", "mouseup", "1"}), 0);
    ASSERT_TRUE(heardCopy(1, 0));
    EXPECT_EQ(store->history().items().front().text, "selected with the pointer");
}

} // namespace
} // namespace vq
