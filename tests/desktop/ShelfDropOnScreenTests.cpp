#include "tests/desktop/VirtualDisplay.hpp"
#include "tests/e2e/E2EProcess.hpp"

#include <gtest/gtest.h>

#include <fstream>
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

/// The real application on a private X server, and another program dragging onto it.
class ShelfDrop : public ::testing::Test {
protected:
    void SetUp() override {
        if (!VirtualDisplay::available())
            GTEST_SKIP() << "Xvfb, ImageMagick's import or xdotool is missing; scripts/setup installs them";
        display = std::make_unique<VirtualDisplay>();
        ASSERT_FALSE(display->name().empty()) << "Xvfb did not start";
        auto environment = home.environment();
        environment.erase("QT_QPA_PLATFORM");
        environment["DISPLAY"] = display->name();
        island = std::make_unique<e2e::IslandProcess>(std::vector<std::string>{"--surface", "x11", "--port", "0"},
                                                      environment);
        ASSERT_NE(island->port(), 0) << "the island did not start";
    }

    void TearDown() override {
        if (source > 0)
            VirtualDisplay::stop(source);
    }

    /// Starts the drag source's window at the lower left and drags from it to the island at the top
    /// centre, in small steps as a hand would.
    void dragToIsland(const std::string& option, const std::string& payload) {
        const auto output = home.path() / "source.out";
        source = display->start({std::string(BRIND_BIN_DIR) + "/islandDragSource", "100", "500", option, payload},
                                output);
        ASSERT_TRUE(waitForText(output, "ready")) << "the drag source did not start";
        // Shown is not yet mapped: wait until the server has the window where it asked for it.
        ASSERT_EQ(display->run({"timeout", "10", "xdotool", "search", "--sync", "--onlyvisible", "--name", "drag source"}), 0);
        std::this_thread::sleep_for(300ms);
        display->run({"xdotool", "mousemove", "200", "600", "mousedown", "1"});
        for (int step = 1; step <= 12; ++step) {
            const int x = 200 + (720 - 200) * step / 12;
            const int y = 600 + (40 - 600) * step / 12;
            display->run({"xdotool", "mousemove", std::to_string(x), std::to_string(y)});
            std::this_thread::sleep_for(60ms);
        }
        // The island opens for the drag; a few moves over it let it settle before the drop.
        for (int wiggle = 0; wiggle < 6; ++wiggle) {
            display->run({"xdotool", "mousemove", std::to_string(716 + wiggle), "60"});
            std::this_thread::sleep_for(120ms);
        }
        display->run({"xdotool", "mouseup", "1"});
        EXPECT_TRUE(waitForText(output, "drag ended")) << "the drag never ended";
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
};

TEST_F(ShelfDrop, AFileDraggedOntoTheIslandLandsOnTheShelf) {
    const auto file = home.path() / "report.pdf";
    std::ofstream(file) << "%PDF-1.4\n";
    dragToIsland("--file", file.string());
    EXPECT_TRUE(island->waitForLine("shelf added path=\"" + file.string() + "\"", 10s)) << island->errors();
    EXPECT_NE(readFile(shelfFile()).find("report.pdf"), std::string::npos);
}

TEST_F(ShelfDrop, ALinkDraggedOntoTheIslandBecomesALinkEntry) {
    dragToIsland("--text", "https://www.example.org/notes");
    EXPECT_TRUE(island->waitForLine("shelf added", 10s)) << island->errors();
    const std::string shelf = readFile(shelfFile());
    EXPECT_NE(shelf.find("\"link\""), std::string::npos) << shelf;
    EXPECT_NE(shelf.find("example.org"), std::string::npos) << shelf;
}

} // namespace
} // namespace vq::desktop
