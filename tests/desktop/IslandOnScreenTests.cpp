#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/island/IslandPath.hpp"
#include "BrindKit/island/NotchMetrics.hpp"
#include "tests/desktop/VirtualDisplay.hpp"
#include "tests/e2e/E2EProcess.hpp"
#include "tests/support/PipeWireSession.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <utility>
#include <fstream>
#include <poll.h>
#include <thread>
#include <unistd.h>

namespace vq::desktop {
namespace {

using namespace std::chrono_literals;
using brind::IslandLayout;

constexpr double screenWidth = 1440;
constexpr double screenHeight = 900;
// Antialiasing and the rounding of a shaped window leave the outline's edge within this many pixels.
constexpr int edgeTolerance = 2;
// The same limit the screenshots' black is found with.
constexpr int blackLimit = 60;

struct Housing {
    std::string preference; ///< "island.housing", empty for none
    double width = 0;
    double height = 0;
};

std::string describe(const std::optional<QRect>& rect) {
    if (!rect)
        return "no black";
    return std::to_string(rect->x()) + "," + std::to_string(rect->y()) + " " + std::to_string(rect->width()) + "x" +
           std::to_string(rect->height());
}

/// An island as it should look: its rectangle and the flare at its top corners.
struct Outline {
    QRect rect;
    brind::IslandPath::Corners corners;
};

std::string describe(const Outline& outline) {
    return describe(std::optional(outline.rect)) + " ear " + std::to_string(outline.corners.ear);
}

// The black run in one row of the image: its first and last x.
std::optional<std::pair<int, int>> blackRun(const QImage& image, int y) {
    std::optional<std::pair<int, int>> run;
    for (int x = 0; y >= 0 && y < image.height() && x < image.width(); ++x) {
        const QRgb pixel = image.pixel(x, y);
        if (qRed(pixel) <= blackLimit && qGreen(pixel) <= blackLimit && qBlue(pixel) <= blackLimit)
            run = run ? std::pair(run->first, x) : std::pair(x, x);
    }
    return run;
}

/// Whether the black on the screen is the outline: its top and bottom edges, and the width of its
/// straight sides (between the flares or rounded corners above and the rounded corners below).
/// The flares' tips are thinner than a pixel, so the full width shows only as the sides' width
/// plus the flares.
bool matches(const QImage& image, const Outline& expected) {
    const auto bounds = blackBounds(image);
    if (!bounds || std::abs(bounds->top() - expected.rect.top()) > edgeTolerance ||
        std::abs(bounds->bottom() - expected.rect.bottom()) > edgeTolerance)
        return false;
    const double ear = expected.corners.ear;
    const double sideTop = std::max(ear, expected.corners.top);
    const double sideBottom = expected.rect.height() - expected.corners.bottom;
    const int middle = expected.rect.top() + static_cast<int>((sideTop + sideBottom) / 2);
    const auto run = blackRun(image, middle);
    return run && std::abs(run->first - (expected.rect.left() + static_cast<int>(ear))) <= edgeTolerance &&
           std::abs(run->second - (expected.rect.right() - static_cast<int>(ear))) <= edgeTolerance;
}

/// Whether the black on the screen is the open island: its top edge and the width of its sides as
/// `expected` has them, and taller than its header. The height follows the panel's content, which
/// the panel's own tests check.
bool matchesOpen(const QImage& image, const Outline& expected) {
    const auto bounds = blackBounds(image);
    if (!bounds || std::abs(bounds->top() - expected.rect.top()) > edgeTolerance ||
        bounds->height() < 2 * std::max(expected.corners.bottom, expected.corners.ear))
        return false;
    const double ear = expected.corners.ear;
    const int row = expected.rect.top() + static_cast<int>(std::max(ear, expected.corners.top)) + 4;
    const auto run = blackRun(image, row);
    return run && std::abs(run->first - (expected.rect.left() + static_cast<int>(ear))) <= edgeTolerance &&
           std::abs(run->second - (expected.rect.right() - static_cast<int>(ear))) <= edgeTolerance;
}

/// The real application with its X11 window on a private X server, in a fresh home.
class IslandOnScreen : public ::testing::TestWithParam<Housing> {
protected:
    /// A slow hover delay, so that "not yet open" can be seen before it runs out.
    static constexpr double hoverDelay = 2.5;

    void SetUp() override {
        if (!VirtualDisplay::available())
            GTEST_SKIP() << "Xvfb, ImageMagick's import or xdotool is missing; scripts/setup installs them";
        display = std::make_unique<VirtualDisplay>();
        ASSERT_FALSE(display->name().empty()) << "Xvfb did not start";
        std::filesystem::create_directories(home.path() / ".config/vantaquill");
        std::ofstream settings(home.path() / ".config/vantaquill/vantaquill.conf");
        settings << "[General]\n";
        if (!GetParam().preference.empty())
            settings << "island.housing=" << GetParam().preference << "\n";
        settings << "island.hoverDelay=" << hoverDelay << "\n";
        settings.close();
        auto environment = display->environmentFor(home.environment());
        island = std::make_unique<e2e::IslandProcess>(std::vector<std::string>{"--surface", "x11", "--port", "0"},
                                                      environment);
        ASSERT_NE(island->port(), 0) << "the island did not start";
    }

    IslandLayout::Input input() const {
        const Housing& housing = GetParam();
        const auto metrics =
            housing.preference.empty()
                ? brind::NotchMetrics::compute(screenWidth, 0, std::nullopt, std::nullopt, 0)
                : brind::NotchMetrics::compute(screenWidth, housing.height, (screenWidth - housing.width) / 2,
                                               (screenWidth - housing.width) / 2, 0);
        return {.metrics = metrics, .floating = !metrics.hasNotch};
    }

    /// Where an island of `size` in `state` lies on the screen, and its corners.
    Outline onScreen(brind::IslandState state, brind::SizeF size) const {
        const auto layout = input();
        const auto frame = IslandLayout::windowFrame({0, 0, screenWidth, screenHeight}, layout);
        const auto rect = IslandLayout::islandRect(size, IslandLayout::window(layout), layout);
        return {QRect(static_cast<int>(std::lround(frame.x + rect.x)), static_cast<int>(std::lround(rect.y)),
                      static_cast<int>(std::lround(size.width)), static_cast<int>(std::lround(size.height))),
                brind::IslandPath::corners(state, size.height, layout.floating, brind::IslandPath::defaultCornerRadius)};
    }

    /// Waits until the screen shows `expected`; whether it did, with what was seen last when not.
    ::testing::AssertionResult showsOutline(const Outline& expected, std::chrono::milliseconds timeout = 20s) const {
        const QImage image = waitForScreen(*display, [&](const QImage& shot) { return matches(shot, expected); }, timeout);
        if (matches(image, expected))
            return ::testing::AssertionSuccess();
        const auto bounds = blackBounds(image);
        return ::testing::AssertionFailure() << "expected " << describe(expected) << ", saw black at "
                                             << describe(bounds);
    }

    std::string token() const {
        std::ifstream file(home.path() / ".config/vantaquill/cli-token");
        std::string text;
        file >> text;
        return text;
    }

    std::string headers() const {
        return "Host: 127.0.0.1:" + std::to_string(island->port()) + "\r\nAuthorization: Bearer " + token() +
               "\r\nContent-Type: application/json\r\n";
    }

    int post(const std::string& target, const std::string& body) const {
        return e2e::statusOf(e2e::rawExchange(island->port(), "POST " + target + " HTTP/1.1\r\n" + headers() +
                                                                  "Content-Length: " + std::to_string(body.size()) +
                                                                  "\r\n\r\n" + body));
    }

    void pointer(const QPoint& at, bool click = false) const {
        std::vector<std::string> command{"xdotool", "mousemove", std::to_string(at.x()), std::to_string(at.y())};
        if (click)
            command.insert(command.end(), {"click", "1"});
        ASSERT_EQ(display->run(command), 0);
    }

    e2e::TemporaryHome home;
    std::unique_ptr<VirtualDisplay> display;
    std::unique_ptr<e2e::IslandProcess> island;
};

void PrintTo(const Housing& housing, std::ostream* out) {
    *out << (housing.preference.empty() ? "no housing" : "housing " + housing.preference);
}

std::string housingName(const ::testing::TestParamInfo<Housing>& info) {
    return info.param.preference.empty() ? "Floating" : "DeclaredHousing";
}

const Housing noHousing{};
const Housing declaredHousing{"200x32", 200, 32};

// The outline through its states, and a click on the alert's button reaching the client's event
// stream once the HUD's flash has gone and the alert shows again.
TEST_P(IslandOnScreen, OutlineFollowsTheLayoutThroughClosedCompactAlertAndHUDAndTheAlertsButtonAnswers) {
    const int stream = e2e::connectLoopback(island->port());
    ASSERT_GE(stream, 0);
    const std::string open = "GET /v1/events HTTP/1.1\r\n" + headers() + "\r\n";
    ASSERT_EQ(::write(stream, open.data(), open.size()), static_cast<ssize_t>(open.size()));
    const auto layout = input();
    EXPECT_TRUE(showsOutline(onScreen(brind::IslandState::closed, IslandLayout::closed(layout)))) << "closed";

    ASSERT_EQ(post("/v1/activities",
                   R"({"id":"timer","title":"Tea","leading":{"symbol":"timer"},"trailing":{"ring":0.4}})"),
              200);
    brind::LiveActivity shown;
    shown.leading = brind::ActivityGlyph::symbol("timer");
    shown.trailing = brind::ActivityGlyph::ring(0.4);
    const auto [leading, trailing] =
        IslandLayout::compactWings(&shown, layout, [](std::string_view, double) { return 0.0; });
    EXPECT_TRUE(showsOutline(onScreen(brind::IslandState::compact, IslandLayout::compact(layout, leading, trailing))))
        << "compact";

    ASSERT_EQ(post("/v1/activities", R"({"id":"deploy","title":"Deploy?","priority":"critical","alert":true,)"
                                     R"("actions":[{"id":"go","label":"Go"},)"
                                     R"({"id":"stop","label":"Stop","role":"destructive"}]})"),
              200);
    brind::LiveActivity alert;
    alert.title = "Deploy?";
    alert.priority = brind::ActivityPriority::critical;
    alert.actions = {brind::ActivityAction{"go", "Go", brind::ActivityAction::Role::normal, std::nullopt},
                     brind::ActivityAction{"stop", "Stop", brind::ActivityAction::Role::destructive,
                                           std::nullopt}};
    EXPECT_TRUE(showsOutline(onScreen(brind::IslandState::peek, IslandLayout::alertPeek(alert, layout)))) << "alert";

    // A flash lasts 1.6 s; flashing again keeps it up however slow the screenshots are.
    std::atomic<bool> flashing = true;
    std::thread flasher([&] {
        while (flashing) {
            post("/v1/hud", R"({"kind":"volume","level":0.5})");
            std::this_thread::sleep_for(400ms);
        }
    });
    const auto seen = showsOutline(onScreen(brind::IslandState::peek, IslandLayout::peek(layout)));
    flashing = false;
    flasher.join();
    EXPECT_TRUE(seen) << "HUD";

    // The destructive button is the red one: find it on the screen rather than assuming where the
    // face puts it.
    const auto redBounds = [](const QImage& image) {
        std::optional<QRect> bounds;
        for (int y = 0; y < std::min(400, image.height()); ++y)
            for (int x = 0; x < image.width(); ++x) {
                const QRgb pixel = image.pixel(x, y);
                if (qRed(pixel) > 180 && qGreen(pixel) < 110 && qBlue(pixel) < 110)
                    bounds = bounds ? bounds->united(QRect(x, y, 1, 1)) : QRect(x, y, 1, 1);
            }
        return bounds;
    };
    const QImage shot = waitForScreen(*display, [&](const QImage& image) { return redBounds(image).has_value(); });
    const auto button = redBounds(shot);
    ASSERT_TRUE(button.has_value()) << "no red button on the screen";
    // Let the peek settle (two screenshots agree) so the button stays where it was seen.
    auto previous = button;
    const QImage settled = waitForScreen(*display, [&](const QImage& image) {
        const auto now = redBounds(image);
        return std::exchange(previous, now) == now;
    });
    pointer(redBounds(settled).value_or(*button).center(), true);

    std::string received;
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (received.find("event: action") == std::string::npos && std::chrono::steady_clock::now() < deadline) {
        pollfd wait{stream, POLLIN, 0};
        if (::poll(&wait, 1, 200) <= 0)
            continue;
        char buffer[4096];
        const ssize_t count = ::read(stream, buffer, sizeof buffer);
        if (count <= 0)
            break;
        received.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(stream);
    const auto at = received.find("event: action");
    ASSERT_NE(at, std::string::npos) << "no action event; the stream held: " << received.substr(received.size() > 400 ? received.size() - 400 : 0);
    EXPECT_NE(received.find(R"("action":"stop")", at), std::string::npos);
    EXPECT_NE(received.find(R"("activity":"deploy")", at), std::string::npos);
}

TEST_P(IslandOnScreen, ClicksBesideTheIslandReachTheWindowBelowAndClicksOnItDoNot) {
    const auto layout = input();
    const Outline closedOutline = onScreen(brind::IslandState::closed, IslandLayout::closed(layout));
    const QRect closed = closedOutline.rect;
    ASSERT_TRUE(showsOutline(closedOutline));
    brindtest::TemporaryFolder folder{"vantaquill-xev"};
    const auto log = folder.path() / "xev.txt";
    // Nothing but the island's window lies over the root window, so the root hears every click
    // that the island lets through.
    const int xev = display->start({"xev", "-root", "-event", "button"}, log);
    const auto pressesSeen = [&] {
        const std::string text = brind::AtomicFile::read(log).value_or("");
        std::size_t count = 0;
        for (auto at = text.find("ButtonPress"); at != std::string::npos; at = text.find("ButtonPress", at + 1))
            ++count;
        return count;
    };
    const auto waitForPresses = [&](std::size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + 20s;
        while (pressesSeen() < count && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(100ms);
        return pressesSeen();
    };
    // xev hears nothing until it has selected the root's events: click far from the island
    // until it reports a press.
    const auto listening = std::chrono::steady_clock::now() + 20s;
    while (pressesSeen() == 0 && std::chrono::steady_clock::now() < listening) {
        pointer({40, 600}, true);
        std::this_thread::sleep_for(300ms);
    }
    const std::size_t before = pressesSeen();
    ASSERT_GT(before, 0u) << "xev never heard the root window";

    // Inside the island's window (whose margins reach 90 pixels beside the largest island) but
    // beside the outline.
    pointer({closed.left() - 30, closed.center().y()}, true);
    EXPECT_EQ(waitForPresses(before + 1), before + 1) << "a click beside the island did not reach the window below";

    pointer(closed.center(), true);
    pointer({40, 600}, true);
    // The click on the island stays with the island: the root hears only the one after it.
    EXPECT_EQ(waitForPresses(before + 2), before + 2);
    std::this_thread::sleep_for(500ms);
    EXPECT_EQ(pressesSeen(), before + 2);
    VirtualDisplay::stop(xev);
}

TEST_P(IslandOnScreen, HidesWhileTheActiveWindowIsFullScreen) {
    const auto layout = input();
    const Outline closed = onScreen(brind::IslandState::closed, IslandLayout::closed(layout));
    ASSERT_TRUE(showsOutline(closed));
    // There is no window manager here, so the test plays its part: it marks an ordinary window
    // (xev's) full screen and active, as a window manager does for a full-screen application.
    brindtest::TemporaryFolder folder{"vantaquill-fullscreen"};
    const auto log = folder.path() / "xev.txt";
    const int xev = display->start({"xev", "-geometry", "200x200+40+500"}, log);
    std::string window;
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (window.empty() && std::chrono::steady_clock::now() < deadline) {
        const std::string text = brind::AtomicFile::read(log).value_or("");
        if (const auto at = text.find("Outer window is "); at != std::string::npos)
            window = text.substr(at + 16, text.find_first_of(",\n", at + 16) - at - 16);
        std::this_thread::sleep_for(100ms);
    }
    ASSERT_FALSE(window.empty()) << "xev showed no window";
    ASSERT_EQ(display->run({"xprop", "-id", window, "-f", "_NET_WM_STATE", "32a", "-set", "_NET_WM_STATE",
                            "_NET_WM_STATE_FULLSCREEN"}),
              0);
    ASSERT_EQ(display->run({"xprop", "-root", "-f", "_NET_ACTIVE_WINDOW", "32x", "-set", "_NET_ACTIVE_WINDOW", window}), 0);
    const QImage hidden = waitForScreen(*display, [](const QImage& shot) { return !blackBounds(shot).has_value(); });
    EXPECT_FALSE(blackBounds(hidden).has_value()) << "still showing " << describe(blackBounds(hidden));

    // Leaving full screen, told through the window's own state, brings the island back.
    ASSERT_EQ(display->run({"xprop", "-id", window, "-f", "_NET_WM_STATE", "32a", "-set", "_NET_WM_STATE", ""}), 0);
    EXPECT_TRUE(showsOutline(closed));
    VirtualDisplay::stop(xev);
}

TEST_P(IslandOnScreen, HidesWhileTheScreenIsShared) {
    if (!PipeWireDaemon::installed())
        GTEST_SKIP() << "pipewire is missing; scripts/setup installs it";
    const Outline closed = onScreen(brind::IslandState::closed, IslandLayout::closed(input()));
    ASSERT_TRUE(showsOutline(closed));
    // The screen-cast portal's stream, on the session's PipeWire (found after the island started).
    PipeWireDaemon pipewire(home.path());
    ASSERT_TRUE(pipewire.running());
    CaptureStream capture(home.path());
    ASSERT_TRUE(capture.connected);
    const QImage hidden = waitForScreen(*display, [](const QImage& shot) { return !blackBounds(shot).has_value(); });
    EXPECT_FALSE(blackBounds(hidden).has_value()) << "still showing " << describe(blackBounds(hidden));

    capture.end();
    EXPECT_TRUE(showsOutline(closed));
}

TEST_P(IslandOnScreen, HoverOpensAfterTheDelayAndLeavingCloses) {
    const auto layout = input();
    const Outline closedOutline = onScreen(brind::IslandState::closed, IslandLayout::closed(layout));
    const QRect closed = closedOutline.rect;
    ASSERT_TRUE(showsOutline(closedOutline));

    const auto entered = std::chrono::steady_clock::now();
    pointer(closed.center());
    const QImage early = display->screenshot();
    // Only a screenshot taken before the delay ran out can tell; a stalled machine skips this check.
    if (std::chrono::steady_clock::now() - entered < std::chrono::duration<double>(hoverDelay)) {
        EXPECT_TRUE(matches(early, closedOutline)) << "open before the hover delay: " << describe(blackBounds(early));
    }

    const Outline open = onScreen(brind::IslandState::expanded, IslandLayout::expandedForContent(layout, std::nullopt));
    const QImage opened =
        waitForScreen(*display, [&](const QImage& shot) { return matchesOpen(shot, open); });
    EXPECT_TRUE(matchesOpen(opened, open)) << "expected open " << describe(open) << ", saw black at "
                                           << describe(blackBounds(opened));

    pointer({40, 600});
    EXPECT_TRUE(showsOutline(closedOutline)) << "after leaving";
}

INSTANTIATE_TEST_SUITE_P(Housings, IslandOnScreen, ::testing::Values(noHousing, declaredHousing),
                         housingName);

} // namespace
} // namespace vq::desktop
