#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/island/NotchMetrics.hpp"
#include "tests/e2e/E2EProcess.hpp"
#include "tests/wayland/OtherProgramOnSway.hpp"
#include "tests/wayland/SwaySession.hpp"

#include <QProcess>
#include <QStandardPaths>
#include <QUrl>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <thread>

namespace vq {
namespace {

using test::SwaySession;

constexpr int processTimeoutMs = 30'000;
constexpr auto waitTimeout = std::chrono::seconds(20);

bool farFromBackground(QColor colour) {
    constexpr int backgroundTolerance = 12;
    const QColor background(SwaySession::backgroundHex);
    return std::abs(colour.red() - background.red()) > backgroundTolerance ||
           std::abs(colour.green() - background.green()) > backgroundTolerance ||
           std::abs(colour.blue() - background.blue()) > backgroundTolerance;
}

bool black(QColor colour) {
    constexpr int blackTolerance = 8;
    return colour.red() <= blackTolerance && colour.green() <= blackTolerance &&
           colour.blue() <= blackTolerance;
}

/// The bounding box of the pixels `belongs` takes for the island's, in the band where it hangs: by
/// default all that is not the desktop's background (antialiased edges and the ears' thin tips
/// included), or its black where a window covers the background. The cursor is kept out of the
/// band unless a test moves it onto the island.
QRect islandShape(const QImage& image, bool (*belongs)(QColor) = farFromBackground) {
    constexpr int bandHeight = 300;
    QRect box;
    for (int y = 0; y < std::min(bandHeight, image.height()); ++y)
        for (int x = image.width() / 4; x < image.width() * 3 / 4; ++x)
            if (belongs(image.pixelColor(x, y)))
                box |= QRect(x, y, 1, 1);
    return box;
}

QRect blackShape(const QImage& image) {
    return islandShape(image, black);
}

std::string describe(QRect shape) {
    return std::to_string(shape.width()) + "x" + std::to_string(shape.height()) + " at " +
           std::to_string(shape.x()) + "," + std::to_string(shape.y());
}

/// The same shape but for one antialiased row or column at an edge (the spring's last subpixel).
bool sameShape(QRect a, QRect b) {
    constexpr int edgePixels = 1;
    return std::abs(a.left() - b.left()) <= edgePixels && std::abs(a.right() - b.right()) <= edgePixels &&
           std::abs(a.top() - b.top()) <= edgePixels && std::abs(a.bottom() - b.bottom()) <= edgePixels;
}

/// Centred on the output, give or take the antialiased edge pixels.
bool centred(QRect shape) {
    constexpr int edgePixels = 2;
    return std::abs(shape.left() - (SwaySession::outputWidth - 1 - shape.right())) <= edgePixels;
}

/// The real application with the layer-shell surface, in a fresh home, on the test's sway.
/// Run with no housing (the island floats as a pill) and with a declared one it grows from.
class IslandOnSway : public ::testing::TestWithParam<std::string> {
  protected:
    /// Preferences besides the housing ("key=value" lines).
    virtual std::vector<std::string> preferences() const { return {}; }

    void SetUp() override {
        if (const auto reason = SwaySession::unavailableReason(); !reason.empty())
            GTEST_SKIP() << "no headless sway here: " << reason;
        auto session = SwaySession::start({});
        ASSERT_TRUE(session) << session.error();
        sway = std::move(*session);
        // Well away from the island, so that the cursor is not taken for part of it.
        ASSERT_TRUE(sway->command("seat - cursor set 100 600"));

        std::filesystem::create_directories(home.path() / ".config/vantaquill");
        std::ofstream settings(home.path() / ".config/vantaquill/vantaquill.conf");
        settings << "[General]\n";
        if (!GetParam().empty())
            settings << "island.housing=" << GetParam() << "\n";
        for (const auto& line : preferences())
            settings << line << "\n";
        settings.close();
        environment = home.environment();
        environment.erase("QT_QPA_PLATFORM");
        environment["WAYLAND_DISPLAY"] = sway->waylandDisplay();
        startIsland({});
    }

    /// Starts the island (again, once the one running has quit), with `extra` arguments.
    void startIsland(const std::vector<std::string>& extra) {
        if (island) {
            EXPECT_EQ(island->stop(), 0) << island->errors();
        }
        std::vector<std::string> arguments{"--port", "0"};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        island = std::make_unique<e2e::IslandProcess>(arguments, environment);
        ASSERT_NE(island->port(), 0) << "the island did not start: " << island->errors();
    }

    void TearDown() override {
        if (island) {
            EXPECT_EQ(island->stop(), 0) << island->errors();
        }
    }

    static bool waitUntil(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + waitTimeout;
        while (std::chrono::steady_clock::now() < deadline) {
            if (condition())
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return condition();
    }

    /// How many lines of the island's output hold `text`.
    long linesWith(const std::string& text) const {
        return std::ranges::count_if(
            island->lines(), [&](const std::string& line) { return line.find(text) != std::string::npos; });
    }

    /// The island's shape once it has come to rest (the same in two screenshots in a row) and
    /// `accept` holds for it, or the last shape seen.
    QRect shapeWhen(
        const std::function<bool(QRect)>& accept,
        const std::function<QRect(const QImage&)>& measure = [](const QImage& image) {
            return islandShape(image);
        }) {
        QRect shape;
        std::optional<QRect> previous;
        waitUntil([&] {
            auto shot = sway->screenshot();
            if (!shot)
                return false;
            shape = measure(*shot);
            const bool atRest = previous == shape;
            previous = shape;
            return atRest && accept(shape);
        });
        return shape;
    }

    /// Runs the real `vantaquill` against the island.
    bool vantaquill(const std::vector<std::string>& arguments) const {
        auto commandEnvironment = environment;
        commandEnvironment["VANTAQUILL_PORT"] = std::to_string(island->port());
        const auto result = e2e::run(e2e::builtProgram("vantaquill"), arguments, commandEnvironment);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.exitCode == 0;
    }

    /// A program of the desktop beside the island (wtype, wl-copy), with the island's environment.
    std::unique_ptr<QProcess> startBeside(const QString& program, const QStringList& arguments) const {
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment variables;
        for (const auto& [name, value] : environment)
            variables.insert(QString::fromStdString(name), QString::fromStdString(value));
        process->setProcessEnvironment(variables);
        process->start(program, arguments);
        EXPECT_TRUE(process->waitForStarted(processTimeoutMs)) << program.toStdString();
        return process;
    }

    /// Types on the compositor's seat through a virtual keyboard, as a person would.
    bool type(const QStringList& arguments) const {
        const auto wtype = startBeside("wtype", arguments);
        return wtype->waitForFinished(processTimeoutMs) && wtype->exitCode() == 0;
    }

    /// Another program's window below the island (`mode` as the program takes it), once sway shows
    /// it over the output.
    std::unique_ptr<test::OtherProgramOnSway> openWindow(const QStringList& mode) {
        auto window = std::make_unique<test::OtherProgramOnSway>(sway->waylandDisplay(), mode);
        EXPECT_TRUE(waitUntil([&] {
            auto shot = sway->screenshot();
            return shot && farFromBackground(shot->pixelColor(100, 500));
        })) << "the window was never shown";
        return window;
    }

    std::unique_ptr<SwaySession> sway;
    e2e::TemporaryHome home;
    std::map<std::string, std::string> environment;
    std::unique_ptr<e2e::IslandProcess> island;
};

/// Where the layout puts an island of `size` on the test's output.
QRect expectedOnOutput(const brind::IslandLayout::Input& input, brind::SizeF size) {
    using brind::IslandLayout;
    const auto window = IslandLayout::window(input);
    const auto rect = IslandLayout::islandRect(size, window, input);
    // The compositor centres the layer surface; the island is centred inside it.
    const double left = (SwaySession::outputWidth - window.width) / 2 + rect.x;
    return QRect(static_cast<int>(std::lround(left)), static_cast<int>(std::lround(rect.y)),
                 static_cast<int>(std::lround(size.width)), static_cast<int>(std::lround(size.height)));
}

/// The layout's input for the housing the test declared ("WIDTHxHEIGHT", or none: a floating pill).
brind::IslandLayout::Input layoutInput(const std::string& housing) {
    const int width = SwaySession::outputWidth;
    if (housing.empty()) {
        const auto metrics = brind::NotchMetrics::compute(width, 0, std::nullopt, std::nullopt, 0);
        return {.metrics = metrics, .floating = true};
    }
    const auto cross = housing.find('x');
    const double housingWidth = std::stod(housing.substr(0, cross));
    const double housingHeight = std::stod(housing.substr(cross + 1));
    const auto metrics = brind::NotchMetrics::compute(width, housingHeight, (width - housingWidth) / 2,
                                                      (width - housingWidth) / 2, 0);
    return {.metrics = metrics, .floating = false};
}

// Closed where the layout puts it, grown for an activity (with wings beside a housing), open while
// the pointer is over it, and the layout's peek for a HUD flash; the island chose the layer shell,
// said why, and spoke the protocol without an error.
TEST_P(IslandOnSway, FollowsTheLayoutClosedForAnActivityOnHoverAndInTheHUDPeek) {
    using brind::IslandLayout;
    const auto input = layoutInput(GetParam());
    const QRect closedExpected = expectedOnOutput(input, IslandLayout::closed(input));
    const QRect closed = shapeWhen([&](QRect shape) { return sameShape(shape, closedExpected); });
    EXPECT_TRUE(sameShape(closed, closedExpected))
        << describe(closed) << " instead of " << describe(closedExpected);

    ASSERT_TRUE(vantaquill({"notify", "--id", "build", "--title", "Building", "--symbol",
                            "checkmark.circle.fill", "--progress", "0.3"}));
    const QRect compact = shapeWhen([&](QRect shape) { return !shape.isEmpty() && shape != closed; });
    EXPECT_NE(compact, closed) << "the island did not change for the activity";
    EXPECT_TRUE(centred(compact)) << describe(compact);
    if (!GetParam().empty()) {
        EXPECT_GT(compact.width(), closed.width()) << "no wings beside the housing: " << describe(compact);
    }

    // The pointer over the island opens it after the hover delay; leaving closes it again.
    ASSERT_TRUE(sway->command("seat - cursor set " + std::to_string(SwaySession::outputWidth / 2) + " " +
                              std::to_string(compact.center().y())));
    const QRect expanded = shapeWhen([&](QRect shape) { return shape.height() > 2 * compact.height(); });
    EXPECT_GT(expanded.height(), 2 * compact.height())
        << "hovering did not open the island: " << describe(expanded);
    EXPECT_GT(expanded.width(), compact.width());
    ASSERT_TRUE(sway->command("seat - cursor set 100 600"));
    const QRect closedAgain = shapeWhen([&](QRect shape) { return sameShape(shape, compact); });
    EXPECT_TRUE(sameShape(closedAgain, compact))
        << "leaving did not close the island: " << describe(closedAgain) << " instead of "
        << describe(compact);

    // A flash lasts 1.6 s; flashing again keeps it up however slow the screenshots are.
    const QRect hudExpected = expectedOnOutput(input, IslandLayout::peek(input));
    const std::string body = R"({"kind":"volume","value":0.5,"muted":false})";
    std::string token;
    std::ifstream(home.path() / ".config/vantaquill/cli-token") >> token;
    QRect hud;
    waitUntil([&] {
        e2e::rawExchange(island->port(),
                         "POST /v1/hud HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(island->port()) +
                             "\r\nAuthorization: Bearer " + token +
                             "\r\nContent-Type: application/json\r\nContent-Length: " +
                             std::to_string(body.size()) + "\r\n\r\n" + body);
        auto shot = sway->screenshot();
        hud = shot ? islandShape(*shot) : QRect();
        return sameShape(hud, hudExpected);
    });
    EXPECT_TRUE(sameShape(hud, hudExpected)) << describe(hud) << " instead of " << describe(hudExpected);

    EXPECT_EQ(island->stop(), 0);
    const std::string errors = island->errors();
    EXPECT_EQ(errors.find("island surface:"), errors.rfind("island surface:")) << errors;
    EXPECT_NE(errors.find("island surface: layer-shell ("), std::string::npos) << errors;
    EXPECT_EQ(errors.find("protocol error"), std::string::npos) << errors;
}

TEST_P(IslandOnSway, HidesWhileTheActiveWindowIsFullScreenUnlessTheUserKeepsIt) {
    ASSERT_FALSE(shapeWhen([](QRect shape) { return !shape.isEmpty(); }).isEmpty())
        << "no island on the screen";
    const auto window = openWindow({"--accept"});
    const auto islandShows = [&](bool wanted, bool fullScreen) {
        return waitUntil([&] {
            auto shot = sway->screenshot();
            return shot && (window->last("full screen ") == "on") == fullScreen &&
                   blackShape(*shot).isEmpty() != wanted;
        });
    };
    const std::string criteria = "[title=\"drop target\"] ";
    // Tiled, the window leaves the island above it.
    ASSERT_TRUE(islandShows(true, false)) << "no island over the tiled window";
    ASSERT_TRUE(sway->command(criteria + "fullscreen enable"));
    EXPECT_TRUE(islandShows(false, true)) << "the island stayed over the full-screen window";
    ASSERT_TRUE(sway->command(criteria + "fullscreen disable"));
    EXPECT_TRUE(islandShows(true, false)) << "the island did not come back after full screen";

    // Kept over full screen, as the user can ask: the compositor tells the island as it tells the
    // window, and a hidden island would be gone by the last of these screenshots.
    std::ofstream(home.path() / ".config/vantaquill/vantaquill.conf", std::ios::app)
        << "island.hideInFullScreen=false\n";
    startIsland({});
    ASSERT_FALSE(HasFatalFailure());
    ASSERT_TRUE(sway->command(criteria + "fullscreen enable"));
    ASSERT_TRUE(islandShows(true, true)) << "the island hid over the full-screen window";
    for (int shot = 0; shot < 5; ++shot) {
        auto image = sway->screenshot();
        ASSERT_TRUE(image) << image.error();
        EXPECT_FALSE(blackShape(*image).isEmpty())
            << "the island hid over the full-screen window, screenshot " << shot;
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
}

TEST_P(IslandOnSway, AFileDraggedOntoTheIslandJoinsTheShelf) {
    const QRect closed = shapeWhen([](QRect shape) { return !shape.isEmpty(); });
    ASSERT_FALSE(closed.isEmpty()) << "no island on the screen";
    const auto file = home.path() / "dropped report.txt";
    std::ofstream{file} << "quarterly figures\n";
    // A file manager's drag: pressed in its window, carried onto the island, let go there.
    const auto window = openWindow({"--file", QString::fromStdString(file.string())});
    ASSERT_TRUE(sway->command("seat - cursor set 100 300"));
    ASSERT_TRUE(sway->command("seat - cursor press button1"));
    ASSERT_TRUE(waitUntil([&] { return window->count("pressed") == 1; }));
    for (const int dx : {0, 2})
        ASSERT_TRUE(sway->command("seat - cursor set " + std::to_string(closed.center().x() + dx) + " " +
                                  std::to_string(closed.center().y())));
    // Taking it, the island opens on the shelf under the pointer.
    const QRect open =
        shapeWhen([&](QRect shape) { return shape.height() > 3 * closed.height(); }, blackShape);
    ASSERT_GT(open.height(), 3 * closed.height())
        << "the island did not open for the drag: " << describe(open);
    ASSERT_TRUE(sway->command("seat - cursor release button1"));
    ASSERT_TRUE(waitUntil([&] { return linesWith("shelf added") > 0; })) << "nothing joined the shelf";
    EXPECT_GT(linesWith("title=\"dropped report.txt\""), 0);
    EXPECT_TRUE(waitUntil([&] { return window->count("drag ended copied") == 1; }))
        << "the drop was not finished";
}

// Hovering would open the island under the pointer on its way; a click opens it with the keyboard.
class PasteOnSway : public IslandOnSway {
  protected:
    std::vector<std::string> preferences() const override { return {"island.hoverToOpen=false"}; }
};

TEST_P(PasteOnSway, AClipChosenFromTheHistoryIsPastedIntoTheWindowInUse) {
    if (QStandardPaths::findExecutable("wtype").isEmpty() ||
        QStandardPaths::findExecutable("wl-copy").isEmpty())
        GTEST_SKIP() << "wtype or wl-copy is missing; scripts/setup installs them";
    // A keyboard plugged in for the whole test, as a person's is: each `wtype` below adds one of its
    // own for its keys, and the seat keeps this one when they go.
    const auto keyboard = startBeside("wtype", {"-s", "120000"});
    const auto window = openWindow({"--field"});
    ASSERT_TRUE(waitUntil([&] { return window->last("focus ") == "in"; }));

    // Two copies made elsewhere; the later one is what the clipboard holds.
    const auto first = startBeside("wl-copy", {"--foreground", "the first clip"});
    ASSERT_TRUE(waitUntil([&] { return linesWith("clipboard: text") == 1; }));
    const auto second = startBeside("wl-copy", {"--foreground", "the second clip"});
    ASSERT_TRUE(waitUntil([&] { return linesWith("clipboard: text") == 2; }));
    first->kill();
    first->waitForFinished();

    // The island started again on its clipboard history, with the keyboard: the first clip is
    // searched for and chosen with Enter.
    startIsland({"vantaquill://clipboard"});
    ASSERT_FALSE(HasFatalFailure());
    ASSERT_TRUE(waitUntil([&] { return window->last("focus ") == "out"; }))
        << "the island did not take the keyboard";
    ASSERT_TRUE(type({"first"}));
    ASSERT_TRUE(type({"-k", "Return"}));
    EXPECT_TRUE(waitUntil([&] { return window->last("text ") == "the first clip"; }))
        << "pasted: \"" << window->last("text ").value_or("") << "\"";
    for (QProcess* helper : {second.get(), keyboard.get()}) {
        helper->kill();
        helper->waitForFinished(processTimeoutMs);
    }
}

TEST_P(PasteOnSway, AShelfCardDraggedOutOfTheIslandLandsInAWindow) {
    const auto file = home.path() / "shelved notes.txt";
    std::ofstream{file} << "notes\n";
    ASSERT_TRUE(vantaquill({"shelf", "add", file.string()}));
    const auto window = openWindow({"--accept"});
    startIsland({"vantaquill://open?tab=shelf"});
    ASSERT_FALSE(HasFatalFailure());
    const QRect open = shapeWhen([](QRect shape) { return shape.height() > 150; }, blackShape);
    ASSERT_GT(open.height(), 150) << "the island did not open on the shelf: " << describe(open);

    // The card is the first band lighter than the island's black below the section buttons, in a
    // column between its name and its buttons.
    const auto shot = sway->screenshot();
    ASSERT_TRUE(shot) << shot.error();
    const int x = open.center().x() - 40;
    int top = -1;
    int bottom = -1;
    for (int y = open.top() + 100; y < open.bottom() && bottom < 0; ++y) {
        const QColor colour = shot->pixelColor(x, y);
        const bool card =
            colour.red() > 16 && colour.red() < 90 && std::abs(colour.red() - colour.blue()) < 8;
        if (card && top < 0)
            top = y;
        else if (!card && top >= 0)
            bottom = y;
    }
    ASSERT_GT(bottom - top, 20) << "no shelf card found at x " << x;
    const int y = (top + bottom) / 2;

    // Pressed on the card, carried a little on the island (the drag starts), then over the window.
    const auto pointer = [&](const std::string& action) { return sway->command("seat - cursor " + action); };
    ASSERT_TRUE(pointer("set " + std::to_string(x) + " " + std::to_string(y)));
    ASSERT_TRUE(pointer("press button1"));
    // Moves, not jumps: sway sends the surface under the pointer no motion for a jump.
    for (int step = 0; step < 3; ++step)
        ASSERT_TRUE(sway->movePointer(10, 5));
    ASSERT_TRUE(pointer("set 600 500"));
    ASSERT_TRUE(sway->movePointer(10, 10));
    ASSERT_TRUE(waitUntil([&] { return window->count("drag entered") > 0; }))
        << "nothing was dragged over the window";
    // Released only once the window has taken a motion sent after it took the drag: by then its
    // answer to the drag has reached sway, which otherwise cancels a drop nobody accepted yet.
    const auto moves = window->count("drag moved");
    ASSERT_TRUE(sway->movePointer(5, 5));
    ASSERT_TRUE(waitUntil([&] { return window->count("drag moved") > moves; }))
        << "the window took no motion of the drag";
    ASSERT_TRUE(pointer("release button1"));
    ASSERT_TRUE(waitUntil([&] { return window->last("dropped ").has_value(); }))
        << "nothing was dropped on the window";
    EXPECT_EQ(window->last("dropped "),
              QUrl::fromLocalFile(QString::fromStdString(file.string())).toString().toStdString());
    // The card went where the user took it: the island, kept open through the drag, closes.
    const QRect after =
        shapeWhen([&](QRect shape) { return shape.height() < open.height() / 2; }, blackShape);
    EXPECT_LT(after.height(), open.height() / 2) << "the island stayed open: " << describe(after);
}

INSTANTIATE_TEST_SUITE_P(Housing, PasteOnSway, ::testing::Values(std::string()),
                         [](const auto&) { return std::string("Floating"); });

INSTANTIATE_TEST_SUITE_P(Housing, IslandOnSway, ::testing::Values(std::string(), std::string("200x32")),
                         [](const auto& info) {
                             return info.param.empty() ? std::string("Floating") : std::string("Declared");
                         });

} // namespace
} // namespace vq
