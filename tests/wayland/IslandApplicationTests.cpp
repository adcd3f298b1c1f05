#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/island/NotchMetrics.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "tests/wayland/SwaySession.hpp"
#include "tests/wayland/TestWindow.hpp"

#include <QEventLoop>
#include <QProcess>
#include <QStandardPaths>
#include <QTimer>
#include <QUrl>
#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <cmath>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vq {
namespace {

using test::SwaySession;

constexpr int processTimeoutMs = 30'000;
constexpr auto waitTimeout = std::chrono::seconds(20);
constexpr std::string_view listeningPrefix = "Listening on 127.0.0.1:";

/// The island's shape in a screenshot: the bounding box of the pixels that are not the desktop's
/// background in the band where the island hangs, antialiased edges and the ears' thin tips included
/// (the cursor is kept out of the band unless a test moves it onto the island).
QRect islandShape(const QImage& image) {
    constexpr int bandHeight = 300;
    constexpr int backgroundTolerance = 12;
    const QColor background(SwaySession::backgroundHex);
    QRect box;
    for (int y = 0; y < std::min(bandHeight, image.height()); ++y)
        for (int x = image.width() / 4; x < image.width() * 3 / 4; ++x) {
            const QColor colour = image.pixelColor(x, y);
            if (std::abs(colour.red() - background.red()) > backgroundTolerance ||
                std::abs(colour.green() - background.green()) > backgroundTolerance ||
                std::abs(colour.blue() - background.blue()) > backgroundTolerance)
                box |= QRect(x, y, 1, 1);
        }
    return box;
}

/// The island's shape where a window covers the desktop's background: the bounding box of its
/// black in the band where it hangs.
QRect blackShape(const QImage& image) {
    constexpr int bandHeight = 300;
    constexpr int blackTolerance = 8;
    QRect box;
    for (int y = 0; y < std::min(bandHeight, image.height()); ++y)
        for (int x = image.width() / 4; x < image.width() * 3 / 4; ++x) {
            const QColor colour = image.pixelColor(x, y);
            if (colour.red() <= blackTolerance && colour.green() <= blackTolerance &&
                colour.blue() <= blackTolerance)
                box |= QRect(x, y, 1, 1);
        }
    return box;
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
    const int left = shape.left();
    const int right = SwaySession::outputWidth - 1 - shape.right();
    return std::abs(left - right) <= edgePixels;
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
        // Past the first start, whose report window would cover the output the screenshots measure.
        std::filesystem::create_directories(home.path() / ".local/share/vantaquill");
        std::ofstream{home.path() / ".local/share/vantaquill/first-start-shown"};
        std::ofstream settings(home.path() / ".config/vantaquill/vantaquill.conf");
        settings << "[General]\n";
        if (!GetParam().empty())
            settings << "island.housing=" << GetParam() << "\n";
        for (const auto& line : preferences())
            settings << line << "\n";
        settings.close();
        environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", QString::fromStdString(home.path().string()));
        environment.insert("XDG_CONFIG_HOME", QString::fromStdString((home.path() / ".config").string()));
        environment.insert("XDG_DATA_HOME", QString::fromStdString((home.path() / ".local/share").string()));
        environment.insert("XDG_RUNTIME_DIR", QString::fromStdString(home.path().string()));
        environment.insert("WAYLAND_DISPLAY", QString::fromStdString(sway->waylandDisplay()));
        environment.remove("DISPLAY");
        environment.remove("QT_QPA_PLATFORM");

        island.setProcessEnvironment(environment);
        startIsland({});
    }

    /// Starts the island (again), with `extra` arguments, and waits until its SDK listens.
    void startIsland(const QStringList& extra) {
        output.clear();
        island.start(QString(BRIND_BIN_DIR) + "/vantaquill-island", QStringList{"--port", "0"} + extra);
        ASSERT_TRUE(island.waitForStarted(processTimeoutMs));
        ASSERT_TRUE(waitUntil([&] {
            output += island.readAllStandardOutput();
            return output.contains(listeningPrefix.data()) &&
                   output.indexOf('\n', output.indexOf(listeningPrefix.data())) > 0;
        })) << "the island did not start: "
            << island.readAllStandardError().toStdString();
        const qsizetype start = output.indexOf(listeningPrefix.data()) + qsizetype(listeningPrefix.size());
        port = output.mid(start, output.indexOf('\n', start) - start).trimmed().toInt();
    }

    void TearDown() override {
        if (island.state() == QProcess::NotRunning)
            return;
        island.terminate();
        if (!island.waitForFinished(processTimeoutMs))
            island.kill();
        EXPECT_EQ(island.exitCode(), 0) << island.readAllStandardError().toStdString();
    }

    static bool waitUntil(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + waitTimeout;
        while (std::chrono::steady_clock::now() < deadline) {
            if (condition())
                return true;
            QEventLoop loop;
            QTimer::singleShot(50, &loop, &QEventLoop::quit);
            loop.exec();
        }
        return condition();
    }

    /// The island's shape once it has come to rest (the same in two screenshots in a row) and
    /// `accept` holds for it, or the last shape seen.
    QRect shapeWhen(const std::function<bool(QRect)>& accept,
                    const std::function<QRect(const QImage&)>& measure = islandShape) {
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

    bool notify(const QStringList& arguments) {
        QProcess command;
        QProcessEnvironment commandEnvironment = environment;
        commandEnvironment.insert("VANTAQUILL_PORT", QString::number(port));
        command.setProcessEnvironment(commandEnvironment);
        command.start(QString(BRIND_BIN_DIR) + "/vantaquill", QStringList{"notify"} + arguments);
        return command.waitForFinished(processTimeoutMs) && command.exitCode() == 0;
    }

    std::string token() const {
        std::ifstream file(home.path() / ".config/vantaquill/cli-token");
        std::string text;
        file >> text;
        return text;
    }

    /// A connection to the island's SDK, or -1.
    int connectSDK() const {
        const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            ::close(descriptor);
            return -1;
        }
        return descriptor;
    }

    std::string request(const std::string& method, const std::string& target,
                        const std::string& body = {}) const {
        std::string text = method + " " + target + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                           "\r\nAuthorization: Bearer " + token() + "\r\n";
        if (method == "POST")
            text +=
                "Content-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
        return text + "\r\n" + body;
    }

    /// Reads from `descriptor` into `received` until it holds `text` or the time-out passes.
    static bool readUntil(int descriptor, std::string& received, const std::string& text) {
        const auto deadline = std::chrono::steady_clock::now() + waitTimeout;
        while (received.find(text) == std::string::npos && std::chrono::steady_clock::now() < deadline) {
            pollfd ready{descriptor, POLLIN, 0};
            if (::poll(&ready, 1, 200) <= 0)
                continue;
            std::array<char, 4096> buffer{};
            const ssize_t count = ::recv(descriptor, buffer.data(), buffer.size(), 0);
            if (count <= 0)
                break;
            received.append(buffer.data(), static_cast<std::size_t>(count));
        }
        return received.find(text) != std::string::npos;
    }

    std::unique_ptr<SwaySession> sway;
    brindtest::TemporaryFolder home{"vantaquill-wayland"};
    QProcessEnvironment environment;
    QProcess island;
    QByteArray output;
    int port = 0;
};

TEST_P(IslandOnSway, ChoosesTheLayerShellAndSaysWhy) {
    ASSERT_FALSE(shapeWhen([](QRect shape) { return !shape.isEmpty(); }).isEmpty())
        << "no island on the screen";
    island.terminate();
    ASSERT_TRUE(island.waitForFinished(processTimeoutMs));
    const QString errors = island.readAllStandardError();
    EXPECT_EQ(errors.count("island surface:"), 1) << errors.toStdString();
    EXPECT_TRUE(errors.contains("island surface: layer-shell (")) << errors.toStdString();
    EXPECT_FALSE(errors.contains("protocol error")) << errors.toStdString();
}

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

TEST_P(IslandOnSway, OutlineFollowsTheLayoutClosedAndInTheHUDPeek) {
    using brind::IslandLayout;
    const auto input = layoutInput(GetParam());
    const QRect closedExpected = expectedOnOutput(input, IslandLayout::closed(input));
    const QRect closed = shapeWhen([&](QRect shape) { return sameShape(shape, closedExpected); });
    EXPECT_TRUE(sameShape(closed, closedExpected))
        << describe(closed) << " instead of " << describe(closedExpected);

    // A flash lasts 1.6 s; flashing again keeps it up however slow the screenshots are.
    const QRect hudExpected = expectedOnOutput(input, IslandLayout::peek(input));
    const std::string body = R"({"kind":"volume","value":0.5,"muted":false})";
    QRect hud;
    waitUntil([&] {
        const int descriptor = connectSDK();
        if (descriptor >= 0) {
            const std::string text = request("POST", "/v1/hud", body);
            std::string reply;
            if (::send(descriptor, text.data(), text.size(), MSG_NOSIGNAL) ==
                static_cast<ssize_t>(text.size()))
                readUntil(descriptor, reply, "\r\n\r\n");
            ::close(descriptor);
        }
        auto shot = sway->screenshot();
        hud = shot ? islandShape(*shot) : QRect();
        return sameShape(hud, hudExpected);
    });
    EXPECT_TRUE(sameShape(hud, hudExpected)) << describe(hud) << " instead of " << describe(hudExpected);
}

TEST_P(IslandOnSway, ShowsTheIslandAtTheTopCentreAndGrowsForAnActivityAndOnHover) {
    const int centre = SwaySession::outputWidth / 2;
    const bool housing = !GetParam().empty();
    const QRect closed = shapeWhen([](QRect shape) { return !shape.isEmpty(); });
    ASSERT_FALSE(closed.isEmpty()) << "no island on the screen";
    EXPECT_TRUE(centred(closed)) << describe(closed);
    if (housing) {
        // Closed, the island is the declared housing: 200x32 hanging from the top edge.
        EXPECT_EQ(closed.top(), 0) << describe(closed);
        EXPECT_NEAR(closed.width(), 200, 2) << describe(closed);
        EXPECT_NEAR(closed.height(), 32, 2) << describe(closed);
    } else {
        EXPECT_GT(closed.top(), 0) << "a floating island is a pill below the edge: " << describe(closed);
    }

    ASSERT_TRUE(notify(
        {"--id", "build", "--title", "Building", "--symbol", "checkmark.circle.fill", "--progress", "0.3"}));
    const QRect compact = shapeWhen([&](QRect shape) { return !shape.isEmpty() && shape != closed; });
    EXPECT_NE(compact, closed) << "the island did not change for the activity";
    EXPECT_TRUE(centred(compact)) << describe(compact);
    if (housing) {
        EXPECT_GT(compact.width(), closed.width()) << "no wings beside the housing: " << describe(compact);
    }

    // The pointer over the island opens it after the hover delay; leaving closes it again.
    ASSERT_TRUE(sway->command("seat - cursor set " + std::to_string(centre) + " " +
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
}

/// How many of the island's black pixels show in the band where it hangs: the desktop's background
/// and the test window's grey are far from black.
int blackPixels(const QImage& image) {
    constexpr int bandHeight = 300;
    constexpr int blackTolerance = 8;
    int count = 0;
    for (int y = 0; y < std::min(bandHeight, image.height()); ++y)
        for (int x = image.width() / 4; x < image.width() * 3 / 4; ++x) {
            const QColor colour = image.pixelColor(x, y);
            if (colour.red() <= blackTolerance && colour.green() <= blackTolerance &&
                colour.blue() <= blackTolerance)
                ++count;
        }
    return count;
}

TEST_P(IslandOnSway, HidesWhileTheActiveWindowIsFullScreenAndComesBackAfter) {
    ASSERT_FALSE(shapeWhen([](QRect shape) { return !shape.isEmpty(); }).isEmpty())
        << "no island on the screen";
    auto opened = test::TestWindow::open(sway->waylandDisplay());
    ASSERT_TRUE(opened) << opened.error();
    auto& window = **opened;
    const auto islandShows = [&](bool wanted, bool fullScreen) {
        return waitUntil([&] {
            window.dispatch();
            auto shot = sway->screenshot();
            return shot && window.shown() && window.fullScreen() == fullScreen &&
                   (blackPixels(*shot) > 0) == wanted;
        });
    };
    const std::string criteria = "[title=\"below the island\"] ";
    // Tiled, the window leaves the island above it.
    ASSERT_TRUE(islandShows(true, false)) << "no island over the tiled window";
    ASSERT_TRUE(sway->command(criteria + "fullscreen enable"));
    EXPECT_TRUE(islandShows(false, true)) << "the island stayed over the full-screen window";
    ASSERT_TRUE(sway->command(criteria + "fullscreen disable"));
    EXPECT_TRUE(islandShows(true, false)) << "the island did not come back after full screen";
}

class KeptOverFullScreenOnSway : public IslandOnSway {
  protected:
    std::vector<std::string> preferences() const override { return {"island.hideInFullScreen=false"}; }
};

TEST_P(KeptOverFullScreenOnSway, StaysOverAFullScreenWindowWhenTheUserAsks) {
    ASSERT_FALSE(shapeWhen([](QRect shape) { return !shape.isEmpty(); }).isEmpty())
        << "no island on the screen";
    auto opened = test::TestWindow::open(sway->waylandDisplay());
    ASSERT_TRUE(opened) << opened.error();
    auto& window = **opened;
    ASSERT_TRUE(waitUntil([&] {
        window.dispatch();
        return window.shown();
    }));
    ASSERT_TRUE(sway->command("[title=\"below the island\"] fullscreen enable"));
    ASSERT_TRUE(waitUntil([&] {
        window.dispatch();
        return window.fullScreen();
    }));
    // The compositor tells the island as it tells the window; a hidden island would be gone by the
    // last of these screenshots.
    for (int shot = 0; shot < 5; ++shot) {
        auto image = sway->screenshot();
        ASSERT_TRUE(image) << image.error();
        EXPECT_GT(blackPixels(*image), 0)
            << "the island hid over the full-screen window, screenshot " << shot;
        QEventLoop loop;
        QTimer::singleShot(200, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

// One housing is enough: whether the island hides does not depend on its shape.
INSTANTIATE_TEST_SUITE_P(Housing, KeptOverFullScreenOnSway, ::testing::Values(std::string("200x32")),
                         [](const auto&) { return std::string("Declared"); });

/// The primary button of an alert: the bounding box of its blue fill.
QRect primaryButton(const QImage& image) {
    QRect box;
    for (int y = 0; y < std::min(300, image.height()); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y);
            if (colour.blue() > 200 && colour.red() < 60 && colour.green() > 100 && colour.green() < 160)
                box |= QRect(x, y, 1, 1);
        }
    return box;
}

// Hovering would open the island under the pointer on its way to the button, and a click beside a
// button would open it too: both are off, so the alert stays a peek until the click.
class AlertOnSway : public IslandOnSway {
  protected:
    std::vector<std::string> preferences() const override {
        return {"island.hoverToOpen=false", "island.clickToOpen=false"};
    }
};

TEST_P(AlertOnSway, AClickOnTheAlertsButtonReachesTheEventStream) {
    const int stream = connectSDK();
    ASSERT_GE(stream, 0);
    const std::string open = request("GET", "/v1/events");
    ASSERT_EQ(::send(stream, open.data(), open.size(), 0), static_cast<ssize_t>(open.size()));
    std::string events;
    ASSERT_TRUE(readUntil(stream, events, "event: hello")) << events;

    const int post = connectSDK();
    ASSERT_GE(post, 0);
    const std::string alert =
        request("POST", "/v1/activities",
                R"({"id":"upload","title":"Upload failed","priority":"critical","alert":true,)"
                R"("actions":[{"id":"retry","label":"Retry","role":"primary"}]})");
    ASSERT_EQ(::send(post, alert.data(), alert.size(), 0), static_cast<ssize_t>(alert.size()));
    std::string reply;
    EXPECT_TRUE(readUntil(post, reply, "\"ok\":true")) << reply;
    ::close(post);

    QRect button;
    ASSERT_TRUE(waitUntil([&] {
        auto shot = sway->screenshot();
        button = shot ? primaryButton(*shot) : QRect();
        return button.width() > 20 && button.height() > 10;
    })) << "no button on the alert";
    const QPoint target = button.center();
    ASSERT_TRUE(
        sway->command("seat - cursor set " + std::to_string(target.x()) + " " + std::to_string(target.y())));
    ASSERT_TRUE(sway->command("seat - cursor press button1"));
    ASSERT_TRUE(sway->command("seat - cursor release button1"));
    EXPECT_TRUE(
        readUntil(stream, events, "event: action\ndata: {\"action\":\"retry\",\"activity\":\"upload\""))
        << events;
    ::close(stream);
}

// A click opens the island with the keyboard; hovering would open it without, so it is off.
class AgentsOnSway : public IslandOnSway {
  protected:
    std::vector<std::string> preferences() const override {
        return {"island.hoverToOpen=false", "agents.approvalTimeout=300"};
    }

    /// Types on the compositor's seat through a virtual keyboard, as a person would.
    bool type(const QStringList& arguments) const {
        QProcess wtype;
        QProcessEnvironment keyboard = environment;
        wtype.setProcessEnvironment(keyboard);
        wtype.start("wtype", arguments);
        return wtype.waitForFinished(processTimeoutMs) && wtype.exitCode() == 0;
    }
};

TEST_P(AgentsOnSway, ARequestIsDeniedWithATypedReasonFromTheKeyboard) {
    if (QStandardPaths::findExecutable("wtype").isEmpty())
        GTEST_SKIP() << "wtype is missing; scripts/setup installs it";
    // A keyboard plugged in for the whole test, as a person's is: each `wtype` below adds one of its
    // own for its keys, and the seat keeps this one when they go.
    QProcess keyboard;
    keyboard.setProcessEnvironment(environment);
    keyboard.start("wtype", {"-s", "120000"});
    ASSERT_TRUE(keyboard.waitForStarted(processTimeoutMs));
    QProcess hook;
    QProcessEnvironment hookEnvironment = environment;
    hookEnvironment.insert("VANTAQUILL_PORT", QString::number(port));
    hook.setProcessEnvironment(hookEnvironment);
    hook.start(QString(BRIND_BIN_DIR) + "/vantaquill", {"hook", "--agent", "claude-code"});
    ASSERT_TRUE(hook.waitForStarted(processTimeoutMs));
    std::ifstream payload(std::string(BRIND_TEST_DATA) + "/agents/payloads/claude-permission-request.json");
    const std::string input{std::istreambuf_iterator<char>(payload), {}};
    ASSERT_FALSE(input.empty());
    hook.write(input.data(), qint64(input.size()));
    hook.closeWriteChannel();

    // The waiting request pops the island out; a click opens the panel with the keyboard.
    QRect peek = shapeWhen([](QRect shape) { return shape.height() > 20; });
    ASSERT_TRUE(waitUntil([&] {
        output += island.readAllStandardOutput();
        return output.contains("approval waiting id=");
    })) << "the request never reached the island";
    peek = shapeWhen([](QRect shape) { return shape.height() > 20; });
    ASSERT_TRUE(sway->command("seat - cursor set " + std::to_string(peek.center().x()) + " " +
                              std::to_string(peek.center().y())));
    ASSERT_TRUE(sway->command("seat - cursor press button1"));
    ASSERT_TRUE(sway->command("seat - cursor release button1"));
    const QRect open = shapeWhen([&](QRect shape) { return shape.height() > 3 * peek.height(); });
    ASSERT_GT(open.height(), 3 * peek.height()) << "the click did not open the panel: " << describe(open);

    // Allow has the keyboard first; back past Always allow and Deny to the reason field.
    for (int step = 0; step < 3; ++step)
        ASSERT_TRUE(type({"-M", "shift", "-k", "Tab", "-m", "shift"}));
    ASSERT_TRUE(type({"not on this machine"}));
    ASSERT_TRUE(type({"-k", "Return"}));

    ASSERT_TRUE(waitUntil([&] { return hook.state() == QProcess::NotRunning; }))
        << "the hook is still waiting";
    const QString answer = QString::fromUtf8(hook.readAllStandardOutput());
    EXPECT_EQ(hook.exitCode(), 0);
    EXPECT_TRUE(answer.contains(R"("behavior":"deny")")) << answer.toStdString();
    EXPECT_TRUE(answer.contains("not on this machine")) << answer.toStdString();
    keyboard.kill();
    keyboard.waitForFinished(processTimeoutMs);
}

TEST_P(IslandOnSway, AFileDraggedOntoTheIslandJoinsTheShelf) {
    const QRect closed = shapeWhen([](QRect shape) { return !shape.isEmpty(); });
    ASSERT_FALSE(closed.isEmpty()) << "no island on the screen";
    const auto file = home.path() / "dropped report.txt";
    std::ofstream{file} << "quarterly figures\n";
    auto opened = test::TestWindow::open(sway->waylandDisplay());
    ASSERT_TRUE(opened) << opened.error();
    auto& window = **opened;
    ASSERT_TRUE(waitUntil([&] {
        window.dispatch();
        return window.shown();
    }));

    // A file manager's drag: pressed in its window, carried onto the island, let go there.
    window.dragOnNextPress(
        {{"text/uri-list",
          "file://" + QUrl::toPercentEncoding(QString::fromStdString(file.string()), "/").toStdString() +
              "\r\n"}});
    ASSERT_TRUE(sway->command("seat - cursor set 100 300"));
    ASSERT_TRUE(sway->command("seat - cursor press button1"));
    ASSERT_TRUE(waitUntil([&] {
        window.dispatch();
        return window.presses() == 1;
    }));
    const auto over = [&](int dx) {
        return sway->command("seat - cursor set " + std::to_string(closed.center().x() + dx) + " " +
                             std::to_string(closed.center().y()));
    };
    ASSERT_TRUE(over(0));
    ASSERT_TRUE(over(2));
    // Taking it, the island opens on the shelf under the pointer.
    const QRect open = shapeWhen(
        [&](QRect shape) {
            window.dispatch();
            return shape.height() > 3 * closed.height();
        },
        blackShape);
    ASSERT_GT(open.height(), 3 * closed.height())
        << "the island did not open for the drag: " << describe(open);
    ASSERT_TRUE(sway->command("seat - cursor release button1"));
    ASSERT_TRUE(waitUntil([&] {
        window.dispatch();
        output += island.readAllStandardOutput();
        return output.contains("shelf added");
    })) << "nothing joined the shelf: "
        << island.readAllStandardError().toStdString();
    EXPECT_TRUE(output.contains("title=\"dropped report.txt\"")) << output.toStdString();
    EXPECT_TRUE(waitUntil([&] {
        window.dispatch();
        return window.dragEnded() == std::optional(true);
    })) << "the drop was not finished";
}

class PasteOnSway : public AgentsOnSway {};

TEST_P(PasteOnSway, AClipChosenFromTheHistoryIsPastedIntoTheWindowInUse) {
    if (QStandardPaths::findExecutable("wtype").isEmpty() ||
        QStandardPaths::findExecutable("wl-copy").isEmpty())
        GTEST_SKIP() << "wtype or wl-copy is missing; scripts/setup installs them";
    QProcess keyboard;
    keyboard.setProcessEnvironment(environment);
    keyboard.start("wtype", {"-s", "120000"});
    ASSERT_TRUE(keyboard.waitForStarted(processTimeoutMs));
    auto opened = test::TestWindow::open(sway->waylandDisplay());
    ASSERT_TRUE(opened) << opened.error();
    auto& window = **opened;
    ASSERT_TRUE(waitUntil([&] {
        window.dispatch();
        return window.shown() && window.focused();
    }));

    // Two copies made elsewhere; the later one is what the clipboard holds.
    const auto copy = [&](QProcess& process, const QString& text, int captured) {
        process.setProcessEnvironment(environment);
        process.start("wl-copy", {"--foreground", text});
        return process.waitForStarted(processTimeoutMs) && waitUntil([&] {
                   output += island.readAllStandardOutput();
                   return output.count("clipboard: text") == captured;
               });
    };
    QProcess first;
    QProcess second;
    ASSERT_TRUE(copy(first, "the first clip", 1)) << output.toStdString();
    ASSERT_TRUE(copy(second, "the second clip", 2)) << output.toStdString();
    first.kill();
    first.waitForFinished();

    // The island started again on its clipboard history, with the keyboard: the first clip is
    // searched for and chosen with Enter.
    island.terminate();
    ASSERT_TRUE(island.waitForFinished(processTimeoutMs));
    startIsland({"vantaquill://clipboard"});
    ASSERT_FALSE(HasFatalFailure());
    ASSERT_TRUE(waitUntil([&] {
        window.dispatch();
        return !window.focused();
    })) << "the island did not take the keyboard";
    ASSERT_TRUE(type({"first"}));
    ASSERT_TRUE(type({"-k", "Return"}));
    EXPECT_TRUE(waitUntil([&] {
        window.dispatch();
        return window.pasted() == "the first clip";
    })) << "pasted: \""
        << window.pasted() << "\" " << island.readAllStandardError().toStdString();
    for (QProcess* helper : {&second, &keyboard}) {
        helper->kill();
        helper->waitForFinished(processTimeoutMs);
    }
}

TEST_P(PasteOnSway, AShelfCardDraggedOutOfTheIslandLandsInAWindow) {
    const auto file = home.path() / "shelved notes.txt";
    std::ofstream{file} << "notes\n";
    QProcess add;
    QProcessEnvironment commandEnvironment = environment;
    commandEnvironment.insert("VANTAQUILL_PORT", QString::number(port));
    add.setProcessEnvironment(commandEnvironment);
    add.start(QString(BRIND_BIN_DIR) + "/vantaquill",
              {"shelf", "add", QString::fromStdString(file.string())});
    ASSERT_TRUE(add.waitForFinished(processTimeoutMs) && add.exitCode() == 0)
        << add.readAllStandardError().toStdString();

    auto opened = test::TestWindow::open(sway->waylandDisplay());
    ASSERT_TRUE(opened) << opened.error();
    auto& window = **opened;
    ASSERT_TRUE(waitUntil([&] {
        window.dispatch();
        return window.shown();
    }));
    island.terminate();
    ASSERT_TRUE(island.waitForFinished(processTimeoutMs));
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
    ASSERT_TRUE(waitUntil([&] {
        window.dispatch();
        return window.dragOver();
    })) << "nothing was dragged over the window";
    window.sync();
    ASSERT_TRUE(pointer("release button1"));
    ASSERT_TRUE(waitUntil([&] {
        window.dispatch();
        return !window.dropped().empty();
    })) << "nothing was dropped on the window";
    const QByteArray uri = QUrl::fromLocalFile(QString::fromStdString(file.string())).toEncoded();
    EXPECT_EQ(window.dropped(), uri.toStdString() + "\r\n");
    // The card went where the user took it: the island, kept open through the drag, closes.
    const QRect after =
        shapeWhen([&](QRect shape) { return shape.height() < open.height() / 2; }, blackShape);
    EXPECT_LT(after.height(), open.height() / 2) << "the island stayed open: " << describe(after);
}

INSTANTIATE_TEST_SUITE_P(Housing, PasteOnSway, ::testing::Values(std::string()),
                         [](const auto&) { return std::string("Floating"); });

INSTANTIATE_TEST_SUITE_P(Housing, AgentsOnSway, ::testing::Values(std::string()),
                         [](const auto&) { return std::string("Floating"); });

INSTANTIATE_TEST_SUITE_P(Housing, AlertOnSway, ::testing::Values(std::string(), std::string("200x32")),
                         [](const auto& info) {
                             return info.param.empty() ? std::string("Floating") : std::string("Declared");
                         });

INSTANTIATE_TEST_SUITE_P(Housing, IslandOnSway, ::testing::Values(std::string(), std::string("200x32")),
                         [](const auto& info) {
                             return info.param.empty() ? std::string("Floating") : std::string("Declared");
                         });

} // namespace
} // namespace vq
