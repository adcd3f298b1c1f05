#include "tests/desktop/VirtualDisplay.hpp"
#include "tests/e2e/E2EProcess.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <utility>
#include <sstream>
#include <thread>

namespace vq::desktop {
namespace {

using namespace std::chrono_literals;

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

/// The real application on a private X server, and another program: one that drags onto the island,
/// takes a drag from it or has a text field to paste into.
class WithOtherProgram : public ::testing::Test {
protected:
    void SetUp() override {
        if (!VirtualDisplay::available())
            GTEST_SKIP() << "Xvfb, ImageMagick's import or xdotool is missing; scripts/setup installs them";
        display = std::make_unique<VirtualDisplay>();
        ASSERT_FALSE(display->name().empty()) << "Xvfb did not start";
    }

    /// Starts the island, with a `vantaquill://` URL to carry out at once when one is given.
    void startIsland(const std::string& url = {}) {
        auto environment = display->environmentFor(home.environment());
        std::vector<std::string> arguments{"--surface", "x11", "--port", "0"};
        if (!url.empty())
            arguments.push_back(url);
        island = std::make_unique<e2e::IslandProcess>(arguments, environment);
        ASSERT_NE(island->port(), 0) << "the island did not start";
    }

    void TearDown() override {
        for (const int program : {source, target})
            if (program > 0)
                VirtualDisplay::stop(program);
    }

    /// Starts the other program's window at (x, y), waits until it is on the screen; its output file.
    std::filesystem::path startOther(int& pid, int x, int y, const std::vector<std::string>& mode,
                                     const std::string& title) {
        const auto output = home.path() / (title + ".out");
        std::vector<std::string> command{std::string(BRIND_BIN_DIR) + "/islandOtherProgram", std::to_string(x),
                                         std::to_string(y)};
        command.insert(command.end(), mode.begin(), mode.end());
        pid = display->start(command, output);
        EXPECT_TRUE(waitForText(output, "ready")) << title << " did not start";
        // Shown is not yet mapped: wait until the server has the window where it asked for it.
        EXPECT_EQ(display->run({"timeout", "10", "xdotool", "search", "--sync", "--onlyvisible", "--name", title}), 0);
        std::this_thread::sleep_for(300ms);
        return output;
    }

    /// Moves the pressed pointer from `from` to `to` in `steps` small steps, as a hand would.
    void dragAlong(QPoint from, QPoint to, int steps, std::chrono::milliseconds pause) const {
        for (int step = 1; step <= steps; ++step) {
            const QPoint at = from + (to - from) * step / steps;
            display->run({"xdotool", "mousemove", std::to_string(at.x()), std::to_string(at.y())});
            std::this_thread::sleep_for(pause);
        }
    }

    /// Starts the drag source's window at the lower left and drags from it to the island at the top
    /// centre, in small steps as a hand would.
    void dragToIsland(const std::string& option, const std::string& payload) {
        const auto output = startOther(source, 100, 500, {option, payload}, "drag source");
        display->run({"xdotool", "mousemove", "200", "600", "mousedown", "1"});
        dragAlong({200, 600}, {720, 40}, 12, 60ms);
        // The island opens for the drag; a few moves over it let it settle before the drop.
        for (int wiggle = 0; wiggle < 6; ++wiggle) {
            display->run({"xdotool", "mousemove", std::to_string(716 + wiggle), "60"});
            std::this_thread::sleep_for(120ms);
        }
        display->run({"xdotool", "mouseup", "1"});
        EXPECT_TRUE(waitForText(output, "drag ended")) << "the drag never ended";
    }

    /// Copies `text` with xclip and waits until the island has it in its history; then starts the text
    /// field the user works in and clicks into it. The field's output file.
    std::filesystem::path copyThenWorkInAField(const std::string& text) {
        EXPECT_EQ(std::system(("printf '" + text + "' | DISPLAY=" + display->name() + " xclip -selection clipboard -i")
                                  .c_str()),
                  0);
        EXPECT_TRUE(island->waitForLine("clipboard: text " + text, 10s)) << island->errors();
        const auto typed = startOther(target, 500, 500, {"--field"}, "text field");
        display->run({"xdotool", "mousemove", "600", "600", "click", "1"});
        return typed;
    }

    /// The open island's black once it has settled, or nothing.
    std::optional<QRect> openIsland() const {
        std::optional<QRect> previous;
        const QImage open = waitForScreen(*display, [&](const QImage& shot) {
            const auto bounds = blackBounds(shot);
            return bounds && bounds->height() > 150 && std::exchange(previous, bounds) == bounds;
        });
        const auto bounds = blackBounds(open);
        return bounds && bounds->height() > 150 ? bounds : std::nullopt;
    }

    static bool waitForText(const std::filesystem::path& file, const std::string& text) {
        for (int attempt = 0; attempt < 100; ++attempt) {
            if (readFile(file).find(text) != std::string::npos)
                return true;
            std::this_thread::sleep_for(100ms);
        }
        return false;
    }

    std::filesystem::path shelfFile() const { return home.path() / ".local/share/vantaquill/shelf.json"; }

    e2e::TemporaryHome home;
    std::unique_ptr<VirtualDisplay> display;
    std::unique_ptr<e2e::IslandProcess> island;
    int source = -1;
    int target = -1;
};

TEST_F(WithOtherProgram, AFileDraggedOntoTheIslandLandsOnTheShelf) {
    startIsland();
    const auto file = home.path() / "report.pdf";
    std::ofstream(file) << "%PDF-1.4\n";
    dragToIsland("--file", file.string());
    EXPECT_TRUE(island->waitForLine("shelf added path=\"" + file.string() + "\"", 10s)) << island->errors();
    EXPECT_NE(readFile(shelfFile()).find("report.pdf"), std::string::npos);
}

TEST_F(WithOtherProgram, ALinkDraggedOntoTheIslandBecomesALinkEntry) {
    startIsland();
    dragToIsland("--text", "https://www.example.org/notes");
    EXPECT_TRUE(island->waitForLine("shelf added", 10s)) << island->errors();
    const std::string shelf = readFile(shelfFile());
    EXPECT_NE(shelf.find("\"link\""), std::string::npos) << shelf;
    EXPECT_NE(shelf.find("example.org"), std::string::npos) << shelf;
}

TEST_F(WithOtherProgram, AShakeOfADragOverTheOpenPanelBringsUpTheShelf) {
    startIsland("vantaquill://open?tab=clipboard");
    const auto panel = openIsland();
    ASSERT_TRUE(panel) << "the island did not open";
    const auto file = home.path() / "shaken.txt";
    std::ofstream(file) << "shaken\n";
    // The drag source does not take the keyboard, so the island opened on the clipboard stays open.
    const auto output = startOther(source, 100, 500, {"--file", file.string()}, "drag source");
    display->run({"xdotool", "mousemove", "200", "600", "mousedown", "1"});
    // Up from below into the panel's lower part, far from the notch at the top.
    const QPoint over(panel->center().x(), panel->bottom() - 30);
    dragAlong({200, 600}, over, 10, 60ms);
    // Quick swings of 140 pixels, in one xdotool so that they come as fast as a hand's.
    std::vector<std::string> shake{"xdotool"};
    for (int swing = 0; swing < 8; ++swing)
        for (const std::string& word : {std::string("mousemove"), std::to_string(over.x() + (swing % 2 ? 70 : -70)),
                                        std::to_string(over.y()), std::string("sleep"), std::string("0.05")})
            shake.push_back(word);
    bool shown = false;
    for (int attempt = 0; attempt < 4 && !shown; ++attempt) {
        display->run(shake);
        shown = island->waitForLine("shelf shown for a shake", 2s).has_value();
    }
    display->run({"xdotool", "mouseup", "1"});
    EXPECT_TRUE(waitForText(output, "drag ended"));
    EXPECT_TRUE(shown) << island->errors();
    for (const std::string& line : island->lines())
        EXPECT_EQ(line.find("near the notch"), std::string::npos) << "the drag came nowhere near the notch: " << line;
}

/// The card of the first shelf entry: the panel's card colour inside the island.
std::optional<QRect> firstCard(const QImage& image) {
    std::optional<QRect> bounds;
    for (int y = 0; y < std::min(400, image.height()); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) == qRgb(0x1C, 0x1C, 0x1E))
                bounds = bounds ? bounds->united(QRect(x, y, 1, 1)) : QRect(x, y, 1, 1);
    return bounds;
}

TEST_F(WithOtherProgram, AnEntryDraggedOutOfTheShelfGivesTheFileToAnotherProgram) {
    startIsland("vantaquill://open?tab=shelf");
    const auto file = home.path() / "notes.txt";
    std::ofstream(file) << "notes\n";
    auto environment = home.environment();
    environment["VANTAQUILL_PORT"] = std::to_string(island->port());
    ASSERT_EQ(e2e::run(e2e::builtProgram("vantaquill"), {"shelf", "add", file.string()}, environment).exitCode, 0);
    const auto dropped = startOther(target, 1000, 500, {"--accept"}, "drop target");

    std::optional<QRect> previous;
    const QImage shown = waitForScreen(*display, [&](const QImage& shot) {
        const auto card = firstCard(shot);
        return card && card->width() > 200 && std::exchange(previous, card) == card;
    });
    const auto card = firstCard(shown);
    ASSERT_TRUE(card) << "the shelf shows no entry";
    // From the entry's icon, away from its buttons, to the other program's window in small steps.
    const QPoint from(card->left() + 24, card->center().y());
    display->run({"xdotool", "mousemove", std::to_string(from.x()), std::to_string(from.y()), "mousedown", "1"});
    dragAlong(from, {1100, 600}, 12, 80ms);
    display->run({"xdotool", "mouseup", "1"});
    EXPECT_TRUE(waitForText(dropped, "dropped file://" + file.string())) << readFile(dropped);
}

TEST_F(WithOtherProgram, AClipChosenFromTheHistoryIsPastedWhereTheUserWas) {
    startIsland("vantaquill://open?tab=clipboard");
    const auto typed = copyThenWorkInAField("pasted from the history");
    // The click into the field closed the island; a click opens it again on the clipboard section it
    // showed last, and Enter chooses the newest clip.
    const QImage closed = waitForScreen(*display, [](const QImage& shot) {
        const auto bounds = blackBounds(shot);
        return bounds && bounds->height() < 60;
    });
    const auto pill = blackBounds(closed);
    ASSERT_TRUE(pill) << "no island";
    display->run({"xdotool", "mousemove", std::to_string(pill->center().x()), std::to_string(pill->center().y()),
                  "click", "1"});
    ASSERT_TRUE(openIsland()) << "the click did not open the island";
    display->run({"xdotool", "key", "Return"});
    EXPECT_TRUE(waitForText(typed, "text pasted from the history")) << readFile(typed);
}

// The hot key opens the history over the window in use; Ctrl and a digit paste that clip there.
TEST_F(WithOtherProgram, TheHotKeyOpensTheHistoryAndCtrlAndADigitPasteThatClipWhereTheUserWas) {
    startIsland();
    EXPECT_EQ(std::system(("printf 'the older clip' | DISPLAY=" + display->name() + " xclip -selection clipboard -i")
                              .c_str()),
              0);
    EXPECT_TRUE(island->waitForLine("clipboard: text the older clip", 10s)) << island->errors();
    const auto typed = copyThenWorkInAField("the newer clip");
    display->run({"xdotool", "key", "super+shift+v"});
    ASSERT_TRUE(openIsland()) << "the hot key did not open the island";
    display->run({"xdotool", "key", "ctrl+2"});
    EXPECT_TRUE(waitForText(typed, "text the older clip")) << readFile(typed);
}

} // namespace
} // namespace vq::desktop
