#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/island/NotchMetrics.hpp"
#include "tests/desktop/KWinSession.hpp"
#include "tests/desktop/OtherProgramWindow.hpp"
#include "tests/desktop/ScreenChecks.hpp"
#include "tests/desktop/VirtualDisplay.hpp"
#include "tests/e2e/E2EProcess.hpp"

#include <QColor>
#include <QProcess>
#include <fstream>
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>
#include <thread>

namespace vq::desktop {
namespace {

using namespace std::chrono_literals;
using brind::IslandLayout;
using test::KWinSession;
using test::OtherProgramWindow;

/// The real application in a fresh home, started the way a Plasma session starts it (no `--surface`:
/// it chooses its surface itself), on a KWin of its own; and a user's pointer and keyboard there.
class IslandOnKWin : public ::testing::Test {
  protected:
    /// Longer than any test: the island opens here by clicks only, never by resting on it.
    static constexpr double hoverDelay = 60;
    static constexpr QPoint away{200, 600};

    void SetUp() override {
        if (const auto reason = KWinSession::unavailableReason(); !reason.empty())
            GTEST_SKIP() << "no KWin here: " << reason;
        auto session = KWinSession::start();
        ASSERT_TRUE(session) << session.error();
        kwin = std::move(*session);
        environment = home.environment();
        environment.erase("QT_QPA_PLATFORM");
        environment["WAYLAND_DISPLAY"] = kwin->waylandDisplay();
        environment["DBUS_SESSION_BUS_ADDRESS"] = kwin->busAddress();
        environment["XDG_SESSION_TYPE"] = "wayland";
        environment["XDG_CURRENT_DESKTOP"] = "KDE";
        environment["KDE_FULL_SESSION"] = "true";
        move(away);
        std::filesystem::create_directories(home.path() / ".config/vantaquill");
        std::ofstream(home.path() / ".config/vantaquill/vantaquill.conf")
            << "[General]\nisland.hoverDelay=" << hoverDelay << "\n";
        island = std::make_unique<e2e::IslandProcess>(std::vector<std::string>{"--port", "0"}, environment);
        ASSERT_NE(island->port(), 0) << "the island did not start: " << island->errors();
    }

    void TearDown() override {
        if (island) {
            EXPECT_EQ(island->stop(), 0) << island->errors();
        }
    }

    /// Where the layout puts an island of `size` on the output.
    static QRect onScreen(brind::SizeF size) {
        const auto layout = input();
        const auto frame = IslandLayout::windowFrame(
            {0, 0, double(KWinSession::outputWidth), double(KWinSession::outputHeight)}, layout);
        const auto rect = IslandLayout::islandRect(size, IslandLayout::window(layout), layout);
        return {static_cast<int>(std::lround(frame.x + rect.x)), static_cast<int>(std::lround(rect.y)),
                static_cast<int>(std::lround(size.width)), static_cast<int>(std::lround(size.height))};
    }

    static IslandLayout::Input input() {
        return {.metrics =
                    brind::NotchMetrics::compute(KWinSession::outputWidth, 0, std::nullopt, std::nullopt, 0),
                .floating = true};
    }

    static std::optional<QRect> islandBounds(const QImage& image) { return blackBounds(image, band); }

    QImage screenshot() const {
        auto shot = kwin->screenshot();
        EXPECT_TRUE(shot) << shot.error();
        return shot.value_or(QImage());
    }

    /// Waits until the island's black on the screen is `expected` (within the edge's tolerance);
    /// whether it was, with what was seen last when not.
    ::testing::AssertionResult shows(const QRect& expected) const {
        std::optional<QRect> seen;
        const auto near = [&] {
            return seen && std::abs(seen->left() - expected.left()) <= edgeTolerance &&
                   std::abs(seen->right() - expected.right()) <= edgeTolerance &&
                   std::abs(seen->top() - expected.top()) <= edgeTolerance &&
                   std::abs(seen->bottom() - expected.bottom()) <= edgeTolerance;
        };
        if (waitUntil([&] {
                seen = islandBounds(screenshot());
                return near();
            }))
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure()
               << "expected " << describe(expected) << ", saw " << describe(seen);
    }

    /// The open island once the screen shows it, or nothing.
    std::optional<QRect> openIsland() const {
        std::optional<QRect> seen;
        waitUntil([&] {
            seen = islandBounds(screenshot());
            return seen && seen->height() > 150;
        });
        return seen && seen->height() > 150 ? seen : std::nullopt;
    }

    void move(QPoint at) const { ASSERT_TRUE(kwin->movePointer(at)); }
    void click(QPoint at) const {
        move(at);
        ASSERT_TRUE(kwin->button(true));
        ASSERT_TRUE(kwin->button(false));
    }

    /// How many lines of the island's standard error hold `text`.
    std::size_t errorLinesWith(const std::string& text) const {
        const std::string errors = island->errors();
        std::size_t count = 0;
        for (auto at = errors.find(text); at != std::string::npos; at = errors.find(text, at + 1))
            ++count;
        return count;
    }

    e2e::TemporaryHome home;
    std::unique_ptr<KWinSession> kwin;
    std::map<std::string, std::string> environment;
    std::unique_ptr<e2e::IslandProcess> island;
};

// Started as a Plasma session starts it, the island chooses the layer shell by itself and hangs at
// the top centre of the output with its closed outline, grows for an activity posted through the
// SDK, and says on stderr that KWin does not tell it which window is full screen. KWin found no
// fault with what it sent.
TEST_F(IslandOnKWin, ChoosesTheLayerShellShowsAtTheTopCentreAndGrowsForAnActivity) {
    const auto layout = input();
    EXPECT_TRUE(shows(onScreen(IslandLayout::closed(layout)))) << "closed";

    ASSERT_EQ(postAsCommand(home, island->port(), "/v1/activities", teaTimerBody), 200);
    EXPECT_TRUE(shows(onScreen(teaTimerCompact(layout)))) << "compact";

    EXPECT_EQ(island->stop(), 0);
    const std::string errors = island->errors();
    island.reset();
    EXPECT_NE(errors.find("island surface: layer-shell ("), std::string::npos) << errors;
    EXPECT_NE(errors.find("the island stays over full-screen windows"), std::string::npos) << errors;
    EXPECT_EQ(errors.find("protocol error"), std::string::npos) << errors;
}

// A click on the closed island opens its panel and gives it the keyboard, so that Escape closes it
// again, as does a click into the window below; clicks beside the outline reach that window, and
// the ones on the island do not.
TEST_F(IslandOnKWin, AClickOpensThePanelWithTheKeyboardAndClicksBesideItReachTheWindowBelow) {
    const QRect closed = onScreen(IslandLayout::closed(input()));
    ASSERT_TRUE(shows(closed));
    const OtherProgramWindow window(kwin->waylandDisplay(), {"0", "0", "--field"});
    ASSERT_TRUE(waitUntil([&] { return window.count("focus in") > 0; }))
        << "the window never took the keyboard";
    ASSERT_TRUE(waitUntil([&] { return screenshot().pixelColor(away) != QColor(KWinSession::wallpaperHex); }))
        << "the window was never shown";
    std::this_thread::sleep_for(300ms);

    click(away);
    ASSERT_TRUE(waitUntil([&] { return window.count("pressed") == 1; }))
        << "the window below never heard a click";
    // Beside the outline, in the band of the island's surface.
    click({closed.left() - 30, closed.center().y()});
    EXPECT_TRUE(waitUntil([&] { return window.count("pressed") == 2; }))
        << "a click beside the island did not reach the window below";

    click(closed.center());
    const auto open = openIsland();
    ASSERT_TRUE(open) << "the click did not open the panel";
    EXPECT_LE(std::abs(open->center().x() - KWinSession::outputWidth / 2), edgeTolerance) << describe(open);
    EXPECT_LE(std::abs(open->top() - closed.top()), edgeTolerance)
        << describe(open) << " " << describe(closed);
    EXPECT_TRUE(waitUntil([&] { return window.count("focus out") == 1; }))
        << "the island did not take the keyboard";
    ASSERT_TRUE(kwin->key(KEY_ESC));
    EXPECT_TRUE(shows(closed)) << "Escape did not close the panel";

    // Open again, then a click into the window: the panel closes, and the window has the click and
    // the keyboard. (After Escape KWin 5.27 gives the keyboard back to no window; the user's click does.)
    click(closed.center());
    ASSERT_TRUE(openIsland()) << "the second click did not open the panel";
    click(away);
    EXPECT_TRUE(shows(closed)) << "a click into the window did not close the panel";
    EXPECT_TRUE(waitUntil([&] { return window.count("focus in") == 2; }))
        << "the window did not get the keyboard back";
    EXPECT_EQ(window.count("pressed"), 3) << "a click on the island reached the window below";
}

// `vantaquill doctor` in a Plasma session reports what KWin offers (asked through wayland-info):
// the layer shell, the clipboard through data-control, where Plasma binds the HUD keys, and that
// the island cannot hide over full-screen windows there. The clipboard it promises is real: another
// program's copy reaches the history.
TEST_F(IslandOnKWin, TheDoctorReportsWhatKWinOffersAndTheClipboardHistoryHearsCopies) {
    auto commandEnvironment = environment;
    commandEnvironment["VANTAQUILL_PORT"] = std::to_string(island->port());
    const auto doctor = e2e::run(e2e::builtProgram("vantaquill"), {"doctor"}, commandEnvironment, {});
    EXPECT_NE(doctor.out.find("ok    placement       layer shell (zwlr_layer_shell_v1)"), std::string::npos)
        << doctor.out;
    EXPECT_NE(doctor.out.find("watched through data-control (zwlr_data_control_manager_v1)"),
              std::string::npos)
        << doctor.out;
    EXPECT_NE(doctor.out.find("# KDE Plasma: System Settings > Keyboard > Shortcuts"), std::string::npos)
        << doctor.out;
    EXPECT_NE(doctor.out.find(
                  "part  full screen     this compositor does not tell programs which window is full screen"),
              std::string::npos)
        << doctor.out;

    QProcess copier;
    QProcessEnvironment variables;
    for (const auto& [name, value] : environment)
        variables.insert(QString::fromStdString(name), QString::fromStdString(value));
    copier.setProcessEnvironment(variables);
    copier.start("wl-copy", {"--foreground", "copied on KDE"});
    ASSERT_TRUE(copier.waitForStarted());
    EXPECT_TRUE(island->waitForLine("clipboard: text", 20s)) << island->errors();
    copier.kill();
    copier.waitForFinished();
}

} // namespace
} // namespace vq::desktop
