#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/island/IslandPath.hpp"
#include "BrindKit/island/NotchMetrics.hpp"
#include "tests/desktop/GnomeShellSession.hpp"
#include "tests/desktop/OtherProgramWindow.hpp"
#include "tests/desktop/ScreenChecks.hpp"
#include "tests/desktop/VirtualDisplay.hpp"
#include "tests/e2e/E2EProcess.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <thread>

namespace vq::desktop {
namespace {

using namespace std::chrono_literals;
using brind::IslandLayout;
using brind::IslandState;
using test::GnomeShellSession;
using test::OtherProgramWindow;

/// The black below the Shell's top bar, which is black itself, and right of `left` (where another
/// window's dark title may lie): the island's, in screen coordinates.
std::optional<QRect> islandBelowBar(const QImage& image, int barHeight, int left = 0) {
    auto bounds = blackBounds(image.copy(left, barHeight, image.width() - left, band), band);
    if (bounds)
        bounds->translate(left, barHeight);
    return bounds;
}

/// The real application, started as a GNOME session starts it (no `--surface`: it finds no layer
/// shell and chooses XWayland itself), on a real headless GNOME Shell, with the hands of a user:
/// the Shell's pointer, and another program's window beside the island.
class IslandOnGnome : public ::testing::Test {
  protected:
    void SetUp() override {
        if (const auto reason = GnomeShellSession::unavailableReason(); !reason.empty())
            GTEST_SKIP() << "no headless GNOME Shell here: " << reason;
        auto session = GnomeShellSession::start();
        ASSERT_TRUE(session) << session.error();
        gnome = std::move(*session);
        environment = gnome->environmentFor(home.environment());
        // The other program's window inherits this process's environment; XWayland wants the cookie.
        setenv("XAUTHORITY", environment.at("XAUTHORITY").c_str(), 1);
        barHeight = std::stoi(gnome->evaluate("Main.panel.height").value_or("0"));
        ASSERT_GT(barHeight, 0) << "the Shell shows no top bar";
        std::filesystem::create_directories(home.path() / ".config/vantaquill");
        // A long hover delay: the pointer passing over the island on its way to a click opens nothing.
        std::ofstream(home.path() / ".config/vantaquill/vantaquill.conf") << "[General]\nisland.hoverDelay=30\n";
        ASSERT_TRUE(gnome->movePointer({200, 700}));
        island = std::make_unique<e2e::IslandProcess>(std::vector<std::string>{"--port", "0"}, environment);
        ASSERT_NE(island->port(), 0) << "the island did not start: " << island->errors();
    }

    void TearDown() override {
        if (island) {
            EXPECT_EQ(island->stop(), 0) << island->errors();
        }
        unsetenv("XAUTHORITY");
    }

    /// Where the layout puts an island of `size` on this screen, below the top bar it floats under.
    QRect expected(brind::SizeF size) const {
        const auto layout = input();
        const double width = GnomeShellSession::screenWidth;
        const auto frame = IslandLayout::windowFrame({0, 0, width, double(GnomeShellSession::screenHeight)}, layout);
        const auto rect = IslandLayout::islandRect(size, IslandLayout::window(layout), layout);
        return QRect(static_cast<int>(std::lround(frame.x + rect.x)), static_cast<int>(std::lround(rect.y)),
                     static_cast<int>(std::lround(size.width)), static_cast<int>(std::lround(size.height)));
    }

    IslandLayout::Input input() const {
        const auto metrics =
            brind::NotchMetrics::compute(GnomeShellSession::screenWidth, 0, std::nullopt, std::nullopt, barHeight);
        return {.metrics = metrics, .floating = true};
    }

    QImage screenshot() const { return gnome->screenshot().value_or(QImage()); }

    /// Waits until the island's black on the screen is `rect`; whether it was, with what was seen.
    ::testing::AssertionResult shows(const QRect& rect) const {
        std::optional<QRect> seen;
        const auto near = [&](const std::optional<QRect>& bounds) {
            return bounds && std::abs(bounds->left() - rect.left()) <= edgeTolerance &&
                   std::abs(bounds->right() - rect.right()) <= edgeTolerance &&
                   std::abs(bounds->top() - rect.top()) <= edgeTolerance &&
                   std::abs(bounds->bottom() - rect.bottom()) <= edgeTolerance;
        };
        if (waitUntil([&] { return near(seen = islandBelowBar(screenshot(), barHeight, left)); }))
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "expected " << describe(rect) << ", saw black at " << describe(seen);
    }

    void click(QPoint at) const {
        ASSERT_TRUE(gnome->movePointer(at));
        ASSERT_TRUE(gnome->click());
    }

    /// The title of the window that has the keyboard, as mutter has it.
    std::string focusedTitle() const {
        return gnome->evaluate("global.display.focus_window ? global.display.focus_window.get_title() : ''")
            .value_or("?");
    }

    e2e::TemporaryHome home;
    std::unique_ptr<GnomeShellSession> gnome;
    std::map<std::string, std::string> environment;
    std::unique_ptr<e2e::IslandProcess> island;
    int barHeight = 0;
    /// Where the island is looked for from, on the left.
    int left = 0;
};

// The island a GNOME user sees: chosen as an X11 window through XWayland by itself, at the top
// centre just below the Shell's top bar (which is drawn over every window), with the closed
// outline; an activity posted through the SDK grows it to its compact size there.
TEST_F(IslandOnGnome, ShowsBelowTheTopBarAtTheCentreAndGrowsForAnActivity) {
    const auto layout = input();
    ASSERT_TRUE(shows(expected(IslandLayout::closed(layout)))) << "closed";

    ASSERT_EQ(postAsCommand(home, island->port(), "/v1/activities", teaTimerBody), 200);
    EXPECT_TRUE(shows(expected(teaTimerCompact(layout)))) << "compact";

    EXPECT_EQ(island->stop(), 0);
    const std::string errors = island->errors();
    island.reset();
    EXPECT_NE(errors.find("island surface: x11 (the compositor offers no layer shell"), std::string::npos)
        << errors;
}

// Another program's window lies below the island and has the keyboard. The closed island leaves
// the keyboard there, and a click beside the outline, inside the island's window, reaches the
// program; a click on the outline opens the panel, which takes the keyboard (for Escape) and stays
// open, where it was; a click into the program closes it and gives the program the keyboard back.
TEST_F(IslandOnGnome, ClicksOnItOpenThePanelClicksBesideItReachTheWindowBelowAndItLeavesTheKeyboardAlone) {
    const QRect closed = expected(IslandLayout::closed(input()));
    ASSERT_TRUE(shows(closed));
    OtherProgramWindow window(gnome->x11Display(), {QString::number(closed.left() - 230), "0", "--accept"});
    ASSERT_TRUE(waitUntil([&] { return focusedTitle() == "drop target"; }))
        << "the other program never had the keyboard; mutter's focus is on \"" << focusedTitle() << "\"";
    // The Shell eases a new window in; until it stands still the pointer finds no window there.
    ASSERT_TRUE(waitUntil([&] {
        return gnome->evaluate("global.get_window_actors().every(actor => !actor.get_transition('opacity') &&"
                               "    !actor.get_transition('scale-x'))") == "true";
    }));
    const int pressesBefore = window.count("pressed");
    // The window's title bar lies beside the island, left of it.
    left = closed.left() - 25;

    // Inside the island's window (whose margins reach 90 pixels beside the largest island, and which
    // reaches down to the open panel's foot) but beside the outline: the Shell must pick the window
    // below. (Beside the closed outline at its height lies the other window's title bar.)
    click({closed.left() - 60, 150});
    EXPECT_TRUE(waitUntil([&] { return window.count("pressed") == pressesBefore + 1; }))
        << "a click beside the island did not reach the window below";
    EXPECT_EQ(focusedTitle(), "drop target") << "the closed island took the keyboard";

    click(closed.center());
    std::optional<QRect> open;
    EXPECT_TRUE(waitUntil([&] {
        open = islandBelowBar(screenshot(), barHeight, left);
        return open && open->height() > 150;
    })) << "a click did not open the island: saw black at "
        << describe(open);
    // Opened by a click, it stays open (it holds the keyboard for Escape) until the user moves on.
    std::this_thread::sleep_for(1s);
    open = islandBelowBar(screenshot(), barHeight, left);
    EXPECT_TRUE(open && open->height() > 150) << "the island closed by itself: " << describe(open);
    EXPECT_EQ(open ? open->top() : -1, closed.top()) << "the open island moved";
    EXPECT_EQ(focusedTitle(), "vantaquill island");
    EXPECT_EQ(window.count("pressed"), pressesBefore + 1) << "the click on the island reached the window below";

    click({closed.left() - 100, 250});
    EXPECT_TRUE(waitUntil([&] { return window.count("pressed") == pressesBefore + 2; }));
    EXPECT_TRUE(shows(closed)) << "a click into the other program did not close the island";
    EXPECT_TRUE(waitUntil([&] { return focusedTitle() == "drop target"; })) << focusedTitle();
}

} // namespace
} // namespace vq::desktop
