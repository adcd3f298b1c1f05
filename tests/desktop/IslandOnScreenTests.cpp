#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/island/IslandPath.hpp"
#include "BrindKit/island/NotchMetrics.hpp"
#include "tests/desktop/OtherProgramWindow.hpp"
#include "tests/desktop/ScreenChecks.hpp"
#include "tests/desktop/VirtualDisplay.hpp"
#include "tests/e2e/E2EFixture.hpp"
#include "tests/e2e/E2EProcess.hpp"
#include "tests/support/PipeWireSession.hpp"
#include "tests/wayland/SwaySession.hpp"
#include "vantaquill/island/X11IslandSurface.hpp"

#include <QStandardPaths>
#include <QUrl>
#include <csignal>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <poll.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace vq::desktop {
namespace {

using namespace std::chrono_literals;
using brind::IslandLayout;
using brind::IslandState;
using test::OtherProgramWindow;
using test::SwaySession;

enum class Server { x11, sway };

struct ScreenSetup {
    Server server;
    std::string housing; ///< "island.housing", empty for none
    double width = 0;
    double height = 0;
    bool composited = false; ///< with a compositing manager on the X server
};

std::string setupName(const ::testing::TestParamInfo<ScreenSetup>& info) {
    return std::string(info.param.server == Server::x11 ? "X11" : "Sway") +
           (info.param.housing.empty() ? "Floating" : "Housing") +
           (info.param.composited ? "Composited" : "");
}

/// The island's black, in the band where it hangs.
const auto islandBounds = [](const QImage& image) { return blackBounds(image, band); };

/// An island as it should look: its rectangle and the flare at its top corners.
struct Outline {
    QRect rect;
    brind::IslandPath::Corners corners;
};

/// Whether the row `y` of the image holds the outline's straight sides, inside its flares.
bool sidesAt(const QImage& image, const Outline& expected, int y) {
    const int ear = static_cast<int>(expected.corners.ear);
    const auto run = blackBounds(image.copy(0, y, image.width(), 1), 1);
    return run && std::abs(run->left() - (expected.rect.left() + ear)) <= edgeTolerance &&
           std::abs(run->right() - (expected.rect.right() - ear)) <= edgeTolerance;
}

/// Whether the black on the screen is the outline: its top and bottom edges, and the width of its
/// straight sides (between the flares or rounded corners above and the rounded corners below).
/// The flares' tips are thinner than a pixel, so the full width shows only as the sides' width
/// plus the flares.
bool matches(const QImage& image, const Outline& expected) {
    const auto bounds = islandBounds(image);
    if (!bounds || std::abs(bounds->top() - expected.rect.top()) > edgeTolerance ||
        std::abs(bounds->bottom() - expected.rect.bottom()) > edgeTolerance)
        return false;
    const double sideTop = std::max(expected.corners.ear, expected.corners.top);
    const double sideBottom = expected.rect.height() - expected.corners.bottom;
    return sidesAt(image, expected, expected.rect.top() + static_cast<int>((sideTop + sideBottom) / 2));
}

/// Whether the black on the screen is the open island: its top edge and the width of its sides as
/// `expected` has them, and taller than its header. The height follows the panel's content, which
/// the panel's own tests check.
bool matchesOpen(const QImage& image, const Outline& expected) {
    const auto bounds = islandBounds(image);
    return bounds && std::abs(bounds->top() - expected.rect.top()) <= edgeTolerance &&
           bounds->height() >= 2 * std::max(expected.corners.bottom, expected.corners.ear) &&
           sidesAt(image, expected,
                   expected.rect.top() +
                       static_cast<int>(std::max(expected.corners.ear, expected.corners.top)) + 4);
}

/// The bounds of the pixels `wanted` takes in the top `rows` rows of the image.
std::optional<QRect> boundsOf(const QImage& image, const std::function<bool(QRgb)>& wanted, int rows = 400) {
    std::optional<QRect> bounds;
    for (int y = 0; y < std::min(rows, image.height()); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (wanted(image.pixel(x, y)))
                bounds = bounds ? bounds->united(QRect(x, y, 1, 1)) : QRect(x, y, 1, 1);
    return bounds;
}

/// The real application in a fresh home, with its X11 window on a private Xvfb or its layer-shell
/// surface on a headless sway, floating or grown from a declared housing; and the hands of a user
/// on that server: the pointer, the keyboard, the clipboard and other programs' windows.
class IslandOnScreen : public ::testing::TestWithParam<ScreenSetup> {
  protected:
    /// A slow hover delay, so that "not yet open" can be seen before it runs out.
    static constexpr double hoverDelay = 2.5;
    /// Far below the island, and inside the other program's window on either server.
    static constexpr QPoint away{200, 600};

    /// Preferences besides the housing and the hover delay ("key=value" lines).
    virtual std::vector<std::string> preferences() const { return {}; }
    /// Runs once the server is up, before the island starts.
    virtual void beforeIsland() {}

    bool x11() const { return GetParam().server == Server::x11; }

    void SetUp() override {
        if (x11()) {
            if (!VirtualDisplay::available())
                GTEST_SKIP()
                    << "Xvfb, ImageMagick's import or xdotool is missing; scripts/setup installs them";
            display = std::make_unique<VirtualDisplay>();
            ASSERT_FALSE(display->name().empty()) << "Xvfb did not start";
            environment = display->environmentFor(home.environment());
        } else {
            if (const auto reason = SwaySession::unavailableReason(); !reason.empty())
                GTEST_SKIP() << "no headless sway here: " << reason;
            auto session = SwaySession::start({});
            ASSERT_TRUE(session) << session.error();
            sway = std::move(*session);
            environment = home.environment();
            environment.erase("QT_QPA_PLATFORM");
            environment["WAYLAND_DISPLAY"] = sway->waylandDisplay();
            environment["XDG_SESSION_TYPE"] = "wayland";
            environment["XDG_CURRENT_DESKTOP"] = "sway";
            // A keyboard plugged in for the whole test, as a person's is: windows take the keyboard
            // only from a seat that has one, and each `wtype` below adds one of its own for its keys.
            if (!QStandardPaths::findExecutable("wtype").isEmpty())
                helpers.push_back(beside("wtype", {"-s", "600000"}));
        }
        move(away);
        std::filesystem::create_directories(home.path() / ".config/vantaquill");
        std::ofstream settings(home.path() / ".config/vantaquill/vantaquill.conf");
        settings << "[General]\nisland.hoverDelay=" << hoverDelay << "\n";
        if (!GetParam().housing.empty())
            settings << "island.housing=" << GetParam().housing << "\n";
        for (const auto& line : preferences())
            settings << line << "\n";
        settings.close();
        beforeIsland();
        if (!IsSkipped() && !HasFatalFailure())
            startIsland();
    }

    void TearDown() override {
        if (island) {
            EXPECT_EQ(island->stop(), 0) << island->errors();
        }
        for (const auto& helper : helpers) {
            helper->kill();
            helper->waitForFinished();
        }
    }

    /// Starts the island (again, once the one running has quit), carrying out a `vantaquill://` URL
    /// at once when one is given.
    void startIsland(const std::string& url = {}) {
        if (island) {
            EXPECT_EQ(island->stop(), 0) << island->errors();
        }
        std::vector<std::string> arguments{"--port", "0"};
        if (x11())
            arguments.insert(arguments.begin(), {"--surface", "x11"});
        if (!url.empty())
            arguments.push_back(url);
        island = std::make_unique<e2e::IslandProcess>(arguments, environment);
        ASSERT_NE(island->port(), 0) << "the island did not start: " << island->errors();
    }

    QSize screenSize() const {
        return x11() ? QSize(1440, 900) : QSize(SwaySession::outputWidth, SwaySession::outputHeight);
    }

    IslandLayout::Input input() const {
        const double width = screenSize().width();
        const ScreenSetup& setup = GetParam();
        const auto metrics =
            setup.housing.empty()
                ? brind::NotchMetrics::compute(width, 0, std::nullopt, std::nullopt, 0)
                : brind::NotchMetrics::compute(width, setup.height, (width - setup.width) / 2,
                                               (width - setup.width) / 2, 0);
        return {.metrics = metrics, .floating = !metrics.hasNotch};
    }

    /// Where an island of `size` in `state` lies on the screen, and its corners.
    Outline onScreen(IslandState state, brind::SizeF size) const {
        const auto layout = input();
        const auto frame = IslandLayout::windowFrame(
            {0, 0, double(screenSize().width()), double(screenSize().height())}, layout);
        const auto rect = IslandLayout::islandRect(size, IslandLayout::window(layout), layout);
        return {QRect(static_cast<int>(std::lround(frame.x + rect.x)), static_cast<int>(std::lround(rect.y)),
                      static_cast<int>(std::lround(size.width)), static_cast<int>(std::lround(size.height))),
                brind::IslandPath::corners(state, size.height, layout.floating,
                                           brind::IslandPath::defaultCornerRadius)};
    }

    QImage screenshot() const {
        return x11() ? display->screenshot() : sway->screenshot().value_or(QImage());
    }

    /// Takes screenshots until `accept` holds for one (or 20 s pass); the last screenshot.
    QImage screenWhen(const std::function<bool(const QImage&)>& accept) const {
        QImage image;
        waitUntil([&] { return accept(image = screenshot()); });
        return image;
    }

    /// What `find` sees once it is the same in two screenshots in a row and `accept` holds for it.
    std::optional<QRect> settled(
        const std::function<std::optional<QRect>(const QImage&)>& find,
        const std::function<bool(const QRect&)>& accept = [](const QRect&) { return true; }) const {
        std::optional<QRect> previous, seen;
        screenWhen([&](const QImage& shot) {
            seen = find(shot);
            return std::exchange(previous, seen) == seen && seen && accept(*seen);
        });
        return seen && accept(*seen) ? seen : std::nullopt;
    }

    /// The open island once it has settled, or nothing.
    std::optional<QRect> openIsland() const {
        return settled(islandBounds, [](const QRect& bounds) { return bounds.height() > 150; });
    }

    /// Waits until the screen shows `expected`; whether it did, with what was seen last when not.
    ::testing::AssertionResult showsOutline(const Outline& expected) const {
        const QImage image = screenWhen([&](const QImage& shot) { return matches(shot, expected); });
        if (matches(image, expected))
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "expected " << describe(expected.rect) << ", saw black at "
                                             << describe(islandBounds(image));
    }

    /// How many lines of the island's output hold `text`.
    long linesWith(const std::string& text) const {
        return std::ranges::count_if(
            island->lines(), [&](const std::string& line) { return line.find(text) != std::string::npos; });
    }

    /// A raw SDK request with the command's token, or with `token` when one is given.
    std::string request(const std::string& line, const std::string& body = {},
                        std::optional<std::string> token = std::nullopt) const {
        if (!token)
            std::ifstream(home.path() / ".config/vantaquill/cli-token") >> token.emplace();
        std::string text = line + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(island->port()) +
                           "\r\nContent-Type: application/json\r\n";
        if (!token->empty())
            text += "Authorization: Bearer " + *token + "\r\n";
        if (!line.starts_with("GET"))
            text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
        return text + "\r\n" + body;
    }

    int post(const std::string& target, const std::string& body) const {
        return e2e::statusOf(e2e::rawExchange(island->port(), request("POST " + target, body)));
    }

    /// Runs the real `vantaquill` against the island, with `input` on its standard input.
    e2e::CommandResult vantaquill(const std::vector<std::string>& arguments,
                                  const std::string& input = {}) const {
        auto commandEnvironment = environment;
        commandEnvironment["VANTAQUILL_PORT"] = std::to_string(island->port());
        return e2e::run(e2e::builtProgram("vantaquill"), arguments, commandEnvironment, input);
    }

    /// A program of the desktop beside the island (wtype, wl-copy), with the island's environment.
    std::unique_ptr<QProcess> beside(const QString& program, const QStringList& arguments) const {
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment variables;
        for (const auto& [name, value] : environment)
            variables.insert(QString::fromStdString(name), QString::fromStdString(value));
        process->setProcessEnvironment(variables);
        process->start(program, arguments);
        EXPECT_TRUE(process->waitForStarted()) << program.toStdString();
        return process;
    }

    /// Moves the pointer straight to `at`.
    void move(QPoint at) {
        pointer = at;
        const std::string x = std::to_string(at.x()), y = std::to_string(at.y());
        ASSERT_TRUE(x11() ? display->run({"xdotool", "mousemove", x, y}) == 0
                          : sway->command("seat - cursor set " + x + " " + y).has_value());
    }

    void button(bool down) {
        ASSERT_TRUE(
            x11() ? display->run({"xdotool", down ? "mousedown" : "mouseup", "1"}) == 0
                  : sway->command(std::string("seat - cursor ") + (down ? "press" : "release") + " button1")
                        .has_value());
    }

    void click(QPoint at) {
        move(at);
        button(true);
        button(false);
    }

    /// Moves the pointer to `to` in small steps, as a hand would: the windows under it see it move
    /// (sway moves no surface's pointer for a jump).
    void glide(QPoint to, int steps = 12) {
        const QPoint from = pointer;
        for (int step = 1; step <= steps; ++step) {
            const QPoint at = from + (to - from) * step / steps;
            ASSERT_TRUE(x11() ? display->run({"xdotool", "mousemove", std::to_string(at.x()),
                                              std::to_string(at.y())}) == 0
                              : sway->movePointer(at.x() - pointer.x(), at.y() - pointer.y()).has_value());
            pointer = at;
            std::this_thread::sleep_for(60ms);
        }
    }

    /// Presses the keys named (X keysym names) on the server's keyboard, or types `text` with it.
    void keys(const std::vector<std::string>& names) const {
        for (const auto& name : names)
            ASSERT_TRUE(x11() ? display->run({"xdotool", "key", name}) == 0
                              : beside("wtype", {"-k", QString::fromStdString(name)})->waitForFinished());
    }
    void type(const std::string& text) const {
        ASSERT_TRUE(x11() ? display->run({"xdotool", "type", "--delay", "40", text}) == 0
                          : beside("wtype", {QString::fromStdString(text)})->waitForFinished());
    }

    /// Copies `text` in another program, as the clipboard's owner from then on.
    void copy(const std::string& text) {
        if (x11())
            ASSERT_EQ(display->run({"sh", "-c", "printf '%s' '" + text + "' | xclip -selection clipboard"}),
                      0);
        else
            helpers.push_back(beside("wl-copy", {"--foreground", QString::fromStdString(text)}));
    }

    /// Another program's window below the island (`mode` as the program takes it), once the server
    /// shows it: at `at` on X11, tiled over the whole output on sway.
    std::unique_ptr<OtherProgramWindow> openWindow(const QStringList& mode, QPoint at = {100, 500}) const {
        auto window = std::make_unique<OtherProgramWindow>(
            x11() ? display->name() : sway->waylandDisplay(),
            QStringList{QString::number(at.x()), QString::number(at.y())} + mode);
        const QColor desktop = x11() ? QColor(Qt::white) : QColor(SwaySession::backgroundHex);
        EXPECT_TRUE(waitUntil([&] { return screenshot().pixelColor(at) != desktop; }))
            << "the window was never shown";
        // Shown is not yet settled: a window pressed at once may start no drag.
        std::this_thread::sleep_for(300ms);
        return window;
    }

    e2e::TemporaryHome home;
    std::unique_ptr<VirtualDisplay> display;
    std::unique_ptr<SwaySession> sway;
    std::map<std::string, std::string> environment;
    std::unique_ptr<e2e::IslandProcess> island;
    std::vector<std::unique_ptr<QProcess>> helpers;
    QPoint pointer;
};

const ScreenSetup floating{.server = Server::x11, .housing = {}};
const ScreenSetup housing{.server = Server::x11, .housing = "200x32", .width = 200, .height = 32};
ScreenSetup onSway(ScreenSetup setup) {
    setup.server = Server::sway;
    return setup;
}
ScreenSetup composited(ScreenSetup setup) {
    setup.composited = true;
    return setup;
}

// The outline through its states, as the layout has them: closed, open once the pointer has rested
// on it for the hover delay and closed again when it leaves, compact for an activity, an alert's
// peek and a HUD flash's; a click on the alert's button reaches the client's event stream. The
// island said which surface it chose and why, and the server found no fault with it.
TEST_P(IslandOnScreen, OutlineFollowsTheLayoutThroughItsStatesAndTheAlertsButtonAnswers) {
    const int stream = e2e::connectLoopback(island->port());
    ASSERT_GE(stream, 0);
    const std::string events = request("GET /v1/events");
    ASSERT_EQ(::write(stream, events.data(), events.size()), static_cast<ssize_t>(events.size()));
    const auto layout = input();
    const Outline closed = onScreen(IslandState::closed, IslandLayout::closed(layout));
    ASSERT_TRUE(showsOutline(closed)) << "closed";

    const auto entered = std::chrono::steady_clock::now();
    move(closed.rect.center());
    const QImage early = screenshot();
    // Only a screenshot taken before the delay ran out can tell; a stalled machine skips this check.
    if (std::chrono::steady_clock::now() - entered < std::chrono::duration<double>(hoverDelay)) {
        EXPECT_TRUE(matches(early, closed))
            << "open before the hover delay: " << describe(islandBounds(early));
    }
    const Outline open =
        onScreen(IslandState::expanded, IslandLayout::expandedForContent(layout, std::nullopt));
    const QImage opened = screenWhen([&](const QImage& shot) { return matchesOpen(shot, open); });
    EXPECT_TRUE(matchesOpen(opened, open))
        << "expected open " << describe(open.rect) << ", saw black at " << describe(islandBounds(opened));
    move(away);
    EXPECT_TRUE(showsOutline(closed)) << "after leaving";

    ASSERT_EQ(post("/v1/activities", teaTimerBody), 200);
    EXPECT_TRUE(showsOutline(onScreen(IslandState::compact, teaTimerCompact(layout)))) << "compact";

    ASSERT_EQ(post("/v1/activities", R"({"id":"deploy","title":"Deploy?","priority":"critical","alert":true,)"
                                     R"("actions":[{"id":"go","label":"Go"},)"
                                     R"({"id":"stop","label":"Stop","role":"destructive"}]})"),
              200);
    brind::LiveActivity alert;
    alert.title = "Deploy?";
    alert.priority = brind::ActivityPriority::critical;
    alert.actions = {
        brind::ActivityAction{"go", "Go", brind::ActivityAction::Role::normal, std::nullopt},
        brind::ActivityAction{"stop", "Stop", brind::ActivityAction::Role::destructive, std::nullopt}};
    EXPECT_TRUE(showsOutline(onScreen(IslandState::peek, IslandLayout::alertPeek(alert, layout)))) << "alert";

    // A flash lasts 1.6 s; flashing again before each screenshot keeps it up however slow they are.
    const Outline hud = onScreen(IslandState::peek, IslandLayout::peek(layout));
    EXPECT_TRUE(waitUntil([&] {
        return post("/v1/hud", R"({"kind":"volume","level":0.5})") == 200 && matches(screenshot(), hud);
    })) << "HUD";

    // The destructive button is the red one: find it on the screen rather than assuming where the
    // face puts it, once the peek has settled so that it stays where it was seen.
    const auto button = settled([](const QImage& image) {
        return boundsOf(
            image, [](QRgb pixel) { return qRed(pixel) > 180 && qGreen(pixel) < 110 && qBlue(pixel) < 110; });
    });
    ASSERT_TRUE(button.has_value()) << "no red button on the screen";
    click(button->center());
    std::string received;
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (received.find("event: action") == std::string::npos &&
           std::chrono::steady_clock::now() < deadline) {
        pollfd wait{stream, POLLIN, 0};
        char buffer[4096];
        const ssize_t count = ::poll(&wait, 1, 200) > 0 ? ::read(stream, buffer, sizeof buffer) : 0;
        received.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    ::close(stream);
    const auto at = received.find("event: action");
    ASSERT_NE(at, std::string::npos) << "no action event; the stream held: " << received;
    EXPECT_NE(received.find(R"("action":"stop")", at), std::string::npos);
    EXPECT_NE(received.find(R"("activity":"deploy")", at), std::string::npos);

    EXPECT_EQ(island->stop(), 0);
    const std::string errors = island->errors();
    island.reset();
    EXPECT_NE(errors.find(std::string("island surface: ") + (x11() ? "x11 (" : "layer-shell (")),
              std::string::npos)
        << errors;
    EXPECT_EQ(errors.find("island surface:"), errors.rfind("island surface:")) << errors;
    EXPECT_EQ(errors.find("protocol error"), std::string::npos) << errors;
}

// On X11 there is no window manager, so the test plays its part: it marks the window full screen
// and active, as a window manager does for a full-screen application. Sway makes it full screen.
TEST_P(IslandOnScreen, HidesWhileTheScreenIsSharedOrTheActiveWindowIsFullScreenUnlessTheUserKeepsIt) {
    const Outline closed = onScreen(IslandState::closed, IslandLayout::closed(input()));
    ASSERT_TRUE(showsOutline(closed));
    const auto hidden = [&] {
        return !islandBounds(screenWhen([](const QImage& shot) { return !islandBounds(shot); }));
    };
    if (PipeWireDaemon::installed()) {
        // The screen-cast portal's stream, on the session's PipeWire (found after the island started).
        PipeWireDaemon pipewire(home.path());
        ASSERT_TRUE(pipewire.running());
        CaptureStream capture(home.path());
        ASSERT_TRUE(capture.connected);
        EXPECT_TRUE(hidden()) << "the island showed while the screen was shared";
        capture.end();
        EXPECT_TRUE(showsOutline(closed)) << "after sharing";
    }
    const auto window = openWindow({"--accept"});
    const auto fullScreen = [&](bool on) {
        const std::string id = window->last("ready ").value_or("");
        if (!x11())
            return sway
                ->command(std::string("[title=\"drop target\"] fullscreen ") + (on ? "enable" : "disable"))
                .has_value();
        return display->run({"xprop", "-id", id, "-f", "_NET_WM_STATE", "32a", "-set", "_NET_WM_STATE",
                             on ? "_NET_WM_STATE_FULLSCREEN" : ""}) == 0 &&
               (!on || display->run({"xprop", "-root", "-f", "_NET_ACTIVE_WINDOW", "32x", "-set",
                                     "_NET_ACTIVE_WINDOW", id}) == 0);
    };
    ASSERT_TRUE(showsOutline(closed)) << "no island over the window";
    ASSERT_TRUE(fullScreen(true));
    EXPECT_TRUE(hidden()) << "the island stayed over the full-screen window";
    // Leaving full screen, told through the window's own state, brings the island back.
    ASSERT_TRUE(fullScreen(false));
    EXPECT_TRUE(showsOutline(closed)) << "after full screen";

    // Kept over full screen, as the user can ask: a hidden island would be gone by the last of
    // these screenshots.
    std::ofstream(home.path() / ".config/vantaquill/vantaquill.conf", std::ios::app)
        << "island.hideInFullScreen=false\n";
    startIsland();
    ASSERT_FALSE(HasFatalFailure());
    ASSERT_TRUE(fullScreen(true));
    ASSERT_TRUE(showsOutline(closed)) << "the island hid over the full-screen window";
    for (int shot = 0; shot < 5; ++shot) {
        EXPECT_TRUE(islandBounds(screenshot()))
            << "the island hid over the full-screen window, screenshot " << shot;
        std::this_thread::sleep_for(200ms);
    }
}

// A file manager's drag, a browser's of a link and an image's data: pressed in its window, carried
// onto the island, which opens for what the shelf can hold and lets the rest pass, and let go there.
// Each drag the island takes comes after one it refused: let go, or ended by its program dying over
// the island, which then hears no more of it.
TEST_P(IslandOnScreen, DraggedFilesAndLinksJoinTheShelfAndWhatItCannotHoldIsRefused) {
    const Outline closed = onScreen(IslandState::closed, IslandLayout::closed(input()));
    ASSERT_TRUE(showsOutline(closed));
    const auto file = home.path() / "dropped report.txt";
    std::ofstream(file) << "quarterly figures\n";
    const QStringList image{"--offer", "image/png", "PNG bytes"};
    const struct {
        QStringList drags;
        std::string line; ///< what the island says it added, or nothing when it refuses the drag
        std::vector<std::string> shelf;
        bool dies = false; ///< the dragging program is killed in mid-drag, over the island
    } rows[] = {
        {image, "", {}}, // nothing the shelf holds: refused, the island stays shut
        {{"--file", QString::fromStdString(file.string())},
         "path=\"" + file.string() + "\"",
         {"dropped report.txt"}},
        {image, "", {}, true}, // refused, and its program dies before letting go
        {{"--text", "https://www.example.org/notes"}, "shelf added", {"\"link\"", "example.org"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.drags.join(' ').toStdString() + (row.dies ? " (dies)" : ""));
        const long added = linesWith("shelf added");
        auto window = openWindow(row.drags);
        move(away);
        // The pointer left on the island by the row before opened it: each drag starts at a shut island.
        ASSERT_TRUE(showsOutline(closed));
        button(true);
        ASSERT_TRUE(waitUntil([&] { return window->count("pressed") == 1; }));
        glide(closed.rect.center());
        bool opened = false;
        for (int wiggle = 0; wiggle < (row.line.empty() ? 6 : 20) && !opened; ++wiggle) {
            glide(closed.rect.center() + QPoint(wiggle % 2, 0), 1);
            const auto bounds = islandBounds(screenshot());
            opened = bounds && bounds->height() > 3 * closed.rect.height();
        }
        EXPECT_EQ(opened, !row.line.empty())
            << "the island opened for a drag it refuses, or not for one it takes";
        if (row.dies) {
            window.reset();
            move(away);
        }
        button(false);
        const std::string ended = row.line.empty() ? "drag ended cancelled" : "drag ended copied";
        if (!row.dies) {
            EXPECT_TRUE(waitUntil([&] { return window->count(ended) == 1; })) << "no " << ended;
        }
        if (row.line.empty()) {
            EXPECT_EQ(linesWith("shelf added"), added);
            continue;
        }
        ASSERT_TRUE(waitUntil([&] { return linesWith("shelf added") > added; }))
            << "nothing joined the shelf";
        EXPECT_GT(linesWith(row.line), 0);
        EXPECT_GT(linesWith("shelf shown for a drag near the notch"), 0);
        const std::string shelf =
            brind::AtomicFile::read(home.path() / ".local/share/vantaquill/shelf.json").value_or("");
        for (const auto& text : row.shelf)
            EXPECT_NE(shelf.find(text), std::string::npos) << shelf;
    }
}

TEST_P(IslandOnScreen, AShelfEntryDraggedOutOfTheIslandLandsInAnotherProgram) {
    const auto file = home.path() / "shelved notes.txt";
    std::ofstream(file) << "notes\n";
    ASSERT_EQ(vantaquill({"shelf", "add", file.string()}).exitCode, 0);
    const auto window = openWindow({"--accept"}, {1000, 500});
    startIsland("vantaquill://open?tab=shelf");
    ASSERT_FALSE(HasFatalFailure());
    // The card of the entry, in the panel's card colour, once the panel has settled.
    const auto card = settled(
        [](const QImage& image) {
            return boundsOf(image, [](QRgb pixel) { return pixel == qRgb(0x1C, 0x1C, 0x1E); });
        },
        [](const QRect& bounds) { return bounds.width() > 200; });
    ASSERT_TRUE(card) << "the shelf shows no entry";

    // From the entry's icon, away from its buttons, to the other program's window.
    move({card->left() + 24, card->center().y()});
    button(true);
    glide({1100, 600});
    ASSERT_TRUE(waitUntil([&] { return window->count("drag entered") > 0; }))
        << "nothing was dragged over the window";
    // Released only once the window has taken a motion sent after it took the drag: by then its
    // answer to the drag has reached the server, which otherwise cancels a drop nobody accepted yet.
    const auto moves = window->count("drag moved");
    glide({1105, 605}, 1);
    ASSERT_TRUE(waitUntil([&] { return window->count("drag moved") > moves; }))
        << "the window took no motion of the drag";
    button(false);
    ASSERT_TRUE(waitUntil([&] { return window->last("dropped ").has_value(); }))
        << "nothing was dropped on the window";
    EXPECT_EQ(window->last("dropped "),
              QUrl::fromLocalFile(QString::fromStdString(file.string())).toString().toStdString());
    // The card went where the user took it: the island, kept open through the drag, closes.
    EXPECT_TRUE(settled(islandBounds, [](const QRect& bounds) { return bounds.height() < 60; }))
        << "the island stayed open";
}

// The island opened on its clipboard history closes when the user goes to work in a window; a
// click opens it again on the history, where a search and Enter paste the clip into that window.
// On X11 the history's hot key opens it over that window too, and Ctrl and a digit paste that clip.
TEST_P(IslandOnScreen, AClipChosenFromTheHistoryIsPastedIntoTheWindowInUse) {
    for (const char* tool : x11() ? std::vector{"xclip"} : std::vector{"wtype", "wl-copy"})
        if (QStandardPaths::findExecutable(tool).isEmpty())
            GTEST_SKIP() << tool << " is missing; scripts/setup installs it";
    startIsland("vantaquill://open?tab=clipboard");
    ASSERT_FALSE(HasFatalFailure());
    copy("the first clip");
    ASSERT_TRUE(waitUntil([&] { return linesWith("clipboard: text") == 1; }));
    copy("the second clip");
    ASSERT_TRUE(waitUntil([&] { return linesWith("clipboard: text") == 2; }));
    const auto window = openWindow({"--field"});
    click(away);
    ASSERT_TRUE(waitUntil([&] { return window->last("focus ") == "in"; }));
    const auto closed = [&] {
        return settled(islandBounds, [](const QRect& bounds) { return bounds.height() < 60; });
    };
    auto pill = closed();
    ASSERT_TRUE(pill) << "the island did not close";
    std::string pasted;
    if (x11()) {
        keys({"super+shift+v"});
        ASSERT_TRUE(openIsland()) << "the hot key did not open the island";
        keys({"ctrl+2"});
        EXPECT_TRUE(waitUntil([&] { return window->last("text ") == "the first clip"; }))
            << "pasted: \"" << window->last("text ").value_or("") << "\"";
        pasted = "the first clip";
        pill = closed();
        ASSERT_TRUE(pill) << "the island did not close after the paste";
    }

    click(pill->center());
    ASSERT_TRUE(openIsland()) << "the click did not open the island";
    ASSERT_TRUE(waitUntil([&] { return window->last("focus ") == "out"; }))
        << "the island did not take the keyboard";
    type("first");
    keys({"Return"});
    EXPECT_TRUE(waitUntil([&] { return window->last("text ") == pasted + "the first clip"; }))
        << "pasted: \"" << window->last("text ").value_or("") << "\"";

    // The history follows its settings while it runs: switched off, copies are no longer kept.
    const auto settings = home.path() / ".config/vantaquill/vantaquill.conf";
    ASSERT_TRUE(brind::AtomicFile::write(settings, brind::AtomicFile::read(settings).value_or("") +
                                                       "clipboard.enabled=false\n"));
    // Copied until one is refused: the island notices the file's change a moment after it is written.
    int copies = 0;
    EXPECT_TRUE(waitUntil([&] {
        copy("copied while switched off " + std::to_string(++copies));
        std::this_thread::sleep_for(400ms);
        return linesWith("clipboard: skipped (disabled)") > 0;
    })) << "the history kept recording after it was switched off";
}

// On X11 nothing but the island's window lies over the root window, so the root hears every click
// that the island lets through; sway tiles a window below the island.
TEST_P(IslandOnScreen, ClicksBesideTheIslandReachTheWindowBelowAndClicksOnItDoNot) {
    const Outline closed = onScreen(IslandState::closed, IslandLayout::closed(input()));
    ASSERT_TRUE(showsOutline(closed));
    const auto log = home.path() / "xev.txt";
    const int xev = x11() ? display->start({"xev", "-root", "-event", "button"}, log) : -1;
    const auto window = x11() ? nullptr : openWindow({"--accept"});
    const auto pressesSeen = [&] {
        if (window)
            return std::size_t(window->count("pressed"));
        const std::string text = brind::AtomicFile::read(log).value_or("");
        std::size_t count = 0;
        for (auto at = text.find("ButtonPress"); at != std::string::npos;
             at = text.find("ButtonPress", at + 1))
            ++count;
        return count;
    };
    // xev hears nothing until it has selected the root's events: click far from the island until it
    // reports a press.
    EXPECT_TRUE(waitUntil([&] {
        click({40, 600});
        std::this_thread::sleep_for(300ms);
        return pressesSeen() > 0;
    })) << "the window below never heard a click";
    const std::size_t before = pressesSeen();

    // Inside the island's window (whose margins reach 90 pixels beside the largest island) but
    // beside the outline.
    click({closed.rect.left() - 30, closed.rect.center().y()});
    EXPECT_TRUE(waitUntil([&] { return pressesSeen() == before + 1; }))
        << "a click beside the island did not reach the window below";
    click(closed.rect.center());
    click({40, 600});
    // The click on the island stays with the island: the window below hears only the one after it.
    EXPECT_TRUE(waitUntil([&] { return pressesSeen() == before + 2; }));
    std::this_thread::sleep_for(500ms);
    EXPECT_EQ(pressesSeen(), before + 2);
    VirtualDisplay::stop(xev);
}

INSTANTIATE_TEST_SUITE_P(Servers, IslandOnScreen,
                         ::testing::Values(floating, housing, onSway(floating), onSway(housing)), setupName);

/// What only sway is asked here: the doctor's report of what the compositor offers.
class IslandOnSway : public IslandOnScreen {};

// `vantaquill doctor` inside a sway session reports the layer shell and the data-control clipboard
// that the compositor really offers (asked through wayland-info), and sway's own key bindings.
TEST_P(IslandOnSway, TheDoctorReportsTheLayerShellTheClipboardAndSwaysBindings) {
    const auto doctor = vantaquill({"doctor"});
    EXPECT_NE(doctor.out.find("ok    placement       layer shell (zwlr_layer_shell_v1)"), std::string::npos)
        << doctor.out;
    EXPECT_NE(doctor.out.find("watched through data-control"), std::string::npos) << doctor.out;
    EXPECT_NE(doctor.out.find("bindsym XF86AudioRaiseVolume"), std::string::npos) << doctor.out;
    // The session bus is one of the essentials, and this session has none.
    EXPECT_EQ(doctor.exitCode, 1) << doctor.out;
}

INSTANTIATE_TEST_SUITE_P(Sway, IslandOnSway, ::testing::Values(onSway(floating)), setupName);

/// What only the X11 window is asked here: the panel's answers to the agents' requests from the
/// real `vantaquill hook` and to an SDK client's request to connect, and the clipboard history
/// across a crash.
class IslandOnX11 : public IslandOnScreen {
  protected:
    // Long enough that a request still waits however slow the screenshots are.
    std::vector<std::string> preferences() const override { return {"agents.approvalTimeout=300"}; }

    /// Runs Claude Code's hook with the fixture `payload` in the background, once the island holds
    /// its request; its result once it returns.
    std::future<e2e::CommandResult> hook(const std::string& payload) const {
        auto answer =
            std::async(std::launch::async, [this, input = e2e::readFixture("agents/payloads/" + payload)] {
                return vantaquill({"hook", "--agent", "claude-code"}, input);
            });
        EXPECT_TRUE(island->waitForLine("approval waiting id=", 20s))
            << "the request never reached the island";
        return answer;
    }

    /// Clicks the island, peeking around where it is closed, open on the request: the panel opens on
    /// the Agents section with the keyboard; the open island's black.
    QRect openOnTheRequest() {
        click(onScreen(IslandState::closed, IslandLayout::closed(input())).rect.center());
        const auto open = openIsland();
        EXPECT_TRUE(open) << "the panel did not open";
        return open.value_or(QRect());
    }
};

/// The panel's accent, which the primary button fills; a few units of slack for antialiasing.
bool isAccent(QRgb pixel) {
    return std::abs(qRed(pixel) - 0x0A) <= 12 && std::abs(qGreen(pixel) - 0x84) <= 12 &&
           std::abs(qBlue(pixel) - 0xFF) <= 12;
}

/// The rightmost shape of accent pixels in the top of the screen: the primary button, right of the
/// others; the countdown ring, drawn in the same colour, sits at the card's left edge.
std::optional<QRect> primaryButton(const QImage& image) {
    const auto all = boundsOf(image, isAccent, 500);
    if (!all)
        return std::nullopt;
    // Walk back from the rightmost column while the columns hold accent pixels.
    int left = all->right();
    while (left > all->left() && boundsOf(image.copy(left - 1, 0, 1, 500), isAccent, 500))
        --left;
    return boundsOf(image.copy(left, 0, all->right() - left + 1, 500), isAccent, 500)
        .transform([&](QRect rect) { return rect.translated(left, 0); });
}

// Escape closes the panel and leaves the request waiting; opened again, a typed reason denies it.
// The next request is allowed with a click.
TEST_P(IslandOnX11, PermissionRequestsAreDeniedWithATypedReasonOrAllowedWithAClick) {
    auto result = hook("claude-permission-request.json");
    const QRect open = openOnTheRequest();
    keys({"Escape"});
    EXPECT_TRUE(settled(islandBounds, [&](const QRect& bounds) {
        return bounds.height() < open.height() / 2;
    })) << "Escape left the panel open";
    EXPECT_EQ(result.wait_for(500ms), std::future_status::timeout) << "Escape answered the request";

    openOnTheRequest();
    // Allow has the keyboard; back past Always allow and Deny to the reason, where Enter denies.
    keys({"shift+Tab", "shift+Tab", "shift+Tab"});
    type("not on this machine");
    keys({"Return"});
    ASSERT_EQ(result.wait_for(20s), std::future_status::ready) << "the hook is still waiting";
    const std::string out = result.get().out;
    EXPECT_NE(out.find(R"("behavior":"deny")"), std::string::npos) << out;
    EXPECT_NE(out.find("not on this machine"), std::string::npos) << out;

    result = hook("claude-permission-request.json");
    openOnTheRequest();
    const auto allow = settled(primaryButton);
    ASSERT_TRUE(allow) << "no Allow button in the open island";
    click(allow->center());
    ASSERT_EQ(result.wait_for(20s), std::future_status::ready) << "the hook is still waiting";
    const auto answered = result.get();
    EXPECT_EQ(answered.exitCode, 0) << answered.err;
    EXPECT_EQ(
        answered.out,
        R"({"hookSpecificOutput":{"decision":{"behavior":"allow"},"hookEventName":"PermissionRequest"}})");
    EXPECT_TRUE(island->waitForLine("approval closed id=", 5s));
}

// A PreToolUse request, held by the island and answered with the agent's input updated; the
// section's other answers (plans, Always allow) are checked on its widgets in the panel's tests.
TEST_P(IslandOnX11, AQuestionIsAnsweredWithTwoOptionsChosen) {
    auto result = hook("claude-ask-user-question.json");
    openOnTheRequest();
    // The first option has the keyboard: tick it and the next; then on past the last option, the
    // field for an answer of one's own and "Answer in terminal" to Answer.
    keys({"space", "Tab", "space", "Tab", "Tab", "Tab", "Tab", "Return"});
    ASSERT_EQ(result.wait_for(20s), std::future_status::ready) << "the hook is still waiting";
    const std::string out = result.get().out;
    EXPECT_NE(out.find(R"("permissionDecision":"allow")"), std::string::npos) << out;
    EXPECT_NE(out.find("Unit"), std::string::npos) << out;
    EXPECT_NE(out.find("Lint"), std::string::npos) << out;
}

// A client asks to connect: the prompt opens the island, a second request meanwhile is told a
// prompt is showing, and a click on Allow hands the waiting client a token that works at once.
TEST_P(IslandOnX11, AllowClickedInTheIslandGivesAConnectingClientAWorkingToken) {
    const std::string registration = R"({"app":"lumetta","name":"Lumetta","scopes":["activities"]})";
    const auto port = island->port();
    auto waiting = std::async(std::launch::async, [&] {
        return e2e::rawExchange(port, request("POST /v1/register", registration, ""), 60s);
    });
    ASSERT_TRUE(island->waitForLine("consent asked app=lumetta", 20s)) << "no prompt was shown";
    const std::string second = e2e::rawExchange(port, request("POST /v1/register", registration, ""));
    EXPECT_EQ(e2e::statusOf(second), 409) << second;
    const auto allow = settled(primaryButton);
    ASSERT_TRUE(allow) << "no Allow button on the screen";
    click(allow->center());

    ASSERT_EQ(waiting.wait_for(20s), std::future_status::ready) << "the registration is still waiting";
    const std::string reply = waiting.get();
    ASSERT_EQ(e2e::statusOf(reply), 200) << reply;
    const auto body = brind::JSON::parse(e2e::bodyOf(reply), nullptr, false);
    ASSERT_TRUE(body.is_object() && body.contains("token") && body["token"].is_string()) << reply;
    EXPECT_TRUE(island->waitForLine(R"(consent allowed app=lumetta name="Lumetta")"));
    const std::string posted =
        e2e::rawExchange(port, request("POST /v1/activities", R"({"id":"upload","title":"Uploading"})",
                                       body["token"].get<std::string>()));
    EXPECT_EQ(e2e::statusOf(posted), 200) << posted;
    EXPECT_NE(e2e::bodyOf(posted).find(R"("id":"sdk.lumetta.upload")"), std::string::npos) << posted;
}

// Killed right after a copy, the island leaves a clipboard history that parses and keeps what was
// saved; a new island takes it up without a complaint and keeps it.
TEST_P(IslandOnX11, KilledRightAfterACopyTheClipboardHistoryParsesAndKeepsWhatWasSaved) {
    const auto index = home.path() / ".local/share/vantaquill/Clipboard/index.json";
    // Whether the history's archive parses and holds `text`.
    const auto holds = [&](const std::string& text) {
        const auto parsed = brind::JSONText::parse(brind::AtomicFile::read(index).value_or(""));
        return parsed && (*parsed)["items"].is_array() &&
               std::ranges::any_of((*parsed)["items"],
                                   [&](const auto& item) { return item.value("text", "") == text; });
    };
    copy("saved before the crash");
    ASSERT_TRUE(waitUntil([&] { return holds("saved before the crash"); }))
        << "the first copy was never archived";
    // The second copy is in the history and its save is still waiting when the island dies.
    copy("copied just before the crash");
    ASSERT_TRUE(island->waitForLine("copied just before", 20s)) << island->errors();
    ::kill(island->processID(), SIGKILL);
    island.reset();
    ASSERT_TRUE(holds("saved before the crash"))
        << "after the crash the archive does not parse or lost a save";

    startIsland();
    copy("after the restart");
    EXPECT_TRUE(waitUntil([&] { return holds("after the restart"); }));
    EXPECT_TRUE(holds("saved before the crash"));
    EXPECT_EQ(island->errors().find("Clipboard"), std::string::npos) << island->errors();
}

INSTANTIATE_TEST_SUITE_P(X11, IslandOnX11, ::testing::Values(floating), setupName);

/// Closer than this in every channel is the same colour: screenshots are exact, and this only
/// absorbs a step of rounding in a compositor's blend.
constexpr int colourTolerance = 8;

bool near(QRgb pixel, QRgb colour) {
    return std::abs(qRed(pixel) - qRed(colour)) <= colourTolerance &&
           std::abs(qGreen(pixel) - qGreen(colour)) <= colourTolerance &&
           std::abs(qBlue(pixel) - qBlue(colour)) <= colourTolerance;
}

/// The pixels in `area` strictly between the island's black and the background in every channel:
/// the outline's edge mixed with what lies below it.
int blendedPixels(const QImage& image, const QRect& area, QRgb background) {
    const auto between = [](int value, int limit) {
        return value > colourTolerance && value < limit - colourTolerance;
    };
    int count = 0;
    for (int y = std::max(area.top(), 0); y <= std::min(area.bottom(), image.height() - 1); ++y)
        for (int x = std::max(area.left(), 0); x <= std::min(area.right(), image.width() - 1); ++x) {
            const QRgb pixel = image.pixel(x, y);
            count += between(qRed(pixel), qRed(background)) && between(qGreen(pixel), qGreen(background)) &&
                     between(qBlue(pixel), qBlue(background));
        }
    return count;
}

/// The closed island over a declared housing on X11, with a compositing manager or without one.
class CompositedEdge : public IslandOnScreen {
  protected:
    void beforeIsland() override {
        if (!GetParam().composited)
            return;
        if (!std::filesystem::exists("/usr/bin/xcompmgr"))
            GTEST_SKIP() << "xcompmgr is missing; scripts/setup installs it";
        compositor = display->start({"xcompmgr"}, home.path() / "xcompmgr.log");
        ASSERT_TRUE(waitUntil([&] {
            xcb_connection_t* connection = xcb_connect(display->name().c_str(), nullptr);
            const bool running = xcb_connection_has_error(connection) == 0 &&
                                 X11IslandSurface::compositorRunning(connection, 0);
            xcb_disconnect(connection);
            return running;
        })) << "xcompmgr did not take the compositing selection";
    }

    void TearDown() override {
        IslandOnScreen::TearDown();
        VirtualDisplay::stop(compositor);
    }

    int compositor = -1;
};

// Under a compositor the window is translucent and the outline's curved parts (the ears flaring into
// the top bar and the rounded bottom corners) are antialiased against the desktop; without one the
// window is cut to the outline and every pixel is either the island's black or the desktop, which is
// also what a broken translucent window would show.
TEST_P(CompositedEdge, CurvedPartsOfTheOutlineAreBlendedOnlyUnderACompositor) {
    const Outline closed = onScreen(IslandState::closed, IslandLayout::closed(input()));
    const QRect outline = closed.rect;
    ASSERT_GT(closed.corners.ear, 0);
    ASSERT_GT(closed.corners.bottom, 0);
    ASSERT_TRUE(showsOutline(closed)) << "the closed island is not where the layout puts it";
    const QImage shot = screenshot();

    // The desktop far from the window (xcompmgr paints its own grey where no root picture is set,
    // the bare server its white), and the same desktop inside the island's window but beside and
    // below the outline: the window covers nothing there.
    const QRgb background = shot.pixel(20, shot.height() / 2);
    ASSERT_GT(qGray(background), 100) << "too dark a desktop to tell a blend from black";
    const int middle = outline.center().y();
    for (const QPoint beside : {QPoint(outline.left() - 40, middle), QPoint(outline.right() + 40, middle),
                                QPoint(outline.center().x(), outline.bottom() + 30)})
        EXPECT_TRUE(near(shot.pixel(beside), background))
            << "the window covers the desktop at " << beside.x() << "," << beside.y();
    EXPECT_TRUE(near(shot.pixel(outline.center()), qRgb(0, 0, 0))) << "the island is not black inside";

    // The curved parts, with a pixel to spare around each.
    const int ear = static_cast<int>(std::ceil(closed.corners.ear));
    const int bottom = static_cast<int>(std::ceil(closed.corners.bottom));
    const std::vector<std::pair<std::string, QRect>> curves{
        {"left ear", QRect(QPoint(outline.left() - 1, outline.top()),
                           QPoint(outline.left() + ear + 1, outline.top() + ear + 1))},
        {"right ear", QRect(QPoint(outline.right() - ear - 1, outline.top()),
                            QPoint(outline.right() + 1, outline.top() + ear + 1))},
        {"bottom left", QRect(QPoint(outline.left() + ear - 1, outline.bottom() - bottom - 1),
                              QPoint(outline.left() + ear + bottom + 1, outline.bottom() + 1))},
        {"bottom right", QRect(QPoint(outline.right() - ear - bottom - 1, outline.bottom() - bottom - 1),
                               QPoint(outline.right() - ear + 1, outline.bottom() + 1))},
    };
    if (GetParam().composited) {
        for (const auto& [name, area] : curves)
            EXPECT_GE(blendedPixels(shot, area, background), 2) << "no blended edge at the " << name;
    } else {
        EXPECT_EQ(blendedPixels(shot, outline.adjusted(-3, -3, 3, 3), background), 0)
            << "a window cut to the outline has no blended pixels";
    }
}

INSTANTIATE_TEST_SUITE_P(Compositor, CompositedEdge, ::testing::Values(housing, composited(housing)),
                         setupName);

} // namespace
} // namespace vq::desktop
