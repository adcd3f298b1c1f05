#include "tests/wayland/EventLoopWait.hpp"
#include "tests/wayland/SwaySession.hpp"
#include "vantaquill/wayland/LayerShellSurface.hpp"
#include "vantaquill/wayland/WaylandDataDevice.hpp"

#include <QEventLoop>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <vector>

namespace vq {
namespace {

using test::SwaySession;
using test::waitUntil;

const QColor islandColour(200, 30, 60);
const QColor backgroundColour(SwaySession::backgroundHex);

/// Lets the event loop run for a while with nothing to wait for.
void settle(std::chrono::milliseconds duration) {
    QEventLoop loop;
    QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    loop.exec();
}

bool near(QColor actual, QColor expected) {
    constexpr int tolerance = 3;
    return std::abs(actual.red() - expected.red()) <= tolerance &&
           std::abs(actual.green() - expected.green()) <= tolerance &&
           std::abs(actual.blue() - expected.blue()) <= tolerance;
}

/// Expects each point of a screenshot (in device pixels) to show its colour.
void expectColours(const QImage& shot, const std::vector<std::pair<QPoint, QColor>>& expected) {
    for (const auto& [point, colour] : expected)
        EXPECT_TRUE(near(shot.pixelColor(point), colour))
            << "at " << point.x() << "," << point.y() << ": " << shot.pixelColor(point).name().toStdString()
            << " instead of " << colour.name().toStdString();
}

class LayerShellSurfaceTest : public ::testing::Test {
  protected:
    void start(int scale = 1) {
        if (const auto reason = SwaySession::unavailableReason(); !reason.empty())
            GTEST_SKIP() << "no headless sway here: " << reason;
        auto session = SwaySession::start({.scale = scale});
        ASSERT_TRUE(session) << session.error();
        sway = std::move(*session);
        qputenv("WAYLAND_DISPLAY", QByteArray::fromStdString(sway->waylandDisplay()));
        auto connected = LayerShellSurface::connect();
        ASSERT_TRUE(connected) << connected.error();
        surface = std::move(*connected);
        surface->paint = [this](QPainter& painter) {
            ++paints;
            paintedScale = painter.device()->devicePixelRatio();
            painter.fillRect(QRect(QPoint(0, 0), frame.size()), islandColour);
        };
        surface->onFrame = [this](double) { ++frames; };
    }

    void TearDown() override {
        if (surface) {
            EXPECT_FALSE(surface->connectionError()) << *surface->connectionError();
        }
        surface.reset();
        sway.reset();
    }

    /// Places the surface and waits until sway shows its first frame.
    void show(QSize size) {
        frame = QRect(QPoint(0, 0), size);
        const int before = paints;
        surface->place(nullptr, frame);
        ASSERT_TRUE(waitUntil([&] { return paints > before; })) << "the surface was never drawn";
    }

    /// A screenshot taken once sway shows `expected` at `point` (device pixels).
    QImage screenshotShowing(QPoint point, QColor expected) {
        QImage image;
        waitUntil([&] {
            auto shot = sway->screenshot();
            if (!shot)
                return false;
            image = *shot;
            return near(image.pixelColor(point), expected);
        });
        return image;
    }

    std::unique_ptr<SwaySession> sway;
    std::unique_ptr<LayerShellSurface> surface;
    QRect frame;
    int paints = 0;
    int frames = 0;
    qreal paintedScale = 0;
};

// Where sway offers the layer shell, the island on it chooses that surface (tests/desktop IslandOnScreen).
TEST(LayerShellProbe, SaysWhyThereIsNoLayerShellWithoutAReachableCompositor) {
    const QByteArray saved = qgetenv("WAYLAND_DISPLAY");
    qunsetenv("WAYLAND_DISPLAY");
    auto unset = LayerShellSurface::probe();
    EXPECT_FALSE(unset.offered);
    EXPECT_NE(unset.reason.find("WAYLAND_DISPLAY is not set"), std::string::npos) << unset.reason;

    qputenv("WAYLAND_DISPLAY", "/nonexistent/wayland-9");
    auto unreachable = LayerShellSurface::probe();
    EXPECT_FALSE(unreachable.offered);
    EXPECT_NE(unreachable.reason.find("cannot connect"), std::string::npos) << unreachable.reason;
    qputenv("WAYLAND_DISPLAY", saved);
}

TEST_F(LayerShellSurfaceTest, PaintsEveryDevicePixelAtTheOutputsScale) {
    start(2);
    // Half a logical pixel is one device pixel at scale 2: a checkerboard of them survives only if
    // the buffer has the output's resolution and the compositor is told its scale.
    surface->paint = [this](QPainter& painter) {
        ++paints;
        paintedScale = painter.device()->devicePixelRatio();
        painter.fillRect(QRect(QPoint(0, 0), frame.size()), islandColour);
        painter.fillRect(QRectF(0.5, 0, 0.5, 0.5), Qt::white);
        painter.fillRect(QRectF(0, 0.5, 0.5, 0.5), Qt::white);
    };
    show({200, 40});
    EXPECT_EQ(paintedScale, 2);

    // The output is 640x360 logical, 1280x720 device pixels: the island spans x 440..839, y 0..79.
    const QImage shot = screenshotShowing({640, 40}, islandColour);
    ASSERT_EQ(shot.size(), QSize(SwaySession::outputWidth, SwaySession::outputHeight));
    expectColours(shot, {{{440, 0}, islandColour},
                         {{441, 0}, Qt::white},
                         {{440, 1}, Qt::white},
                         {{441, 1}, islandColour},
                         {{839, 79}, islandColour},
                         {{840, 40}, backgroundColour},
                         {{640, 80}, backgroundColour}});

    // The output's scale changed at run time: the next frame has the new resolution.
    ASSERT_TRUE(sway->command("output HEADLESS-1 scale 1"));
    ASSERT_TRUE(waitUntil([&] { return paintedScale == 1; }));
    expectColours(screenshotShowing({640, 39}, islandColour),
                  {{{540, 20}, islandColour}, {{640, 40}, backgroundColour}, {{539, 20}, backgroundColour}});
}

TEST_F(LayerShellSurfaceTest, DrawsOnlyWhenAFrameIsAskedForAndKeepsItsConnectionThroughKeyboardChanges) {
    start();
    show({200, 40});
    // A keyboard interactivity the compositor does not know would end the connection, which the
    // frames below and the check at the end of the test would show.
    surface->setKeyboardInteractive(true);
    surface->setKeyboardInteractive(false);
    surface->setInputRegion(QRegion());
    screenshotShowing({640, 20}, islandColour);
    settle(std::chrono::milliseconds(300));
    const int atRest = paints;
    settle(std::chrono::milliseconds(500));
    EXPECT_EQ(paints, atRest) << "an island at rest drew frames";

    surface->requestFrame();
    ASSERT_TRUE(waitUntil([&] { return paints == atRest + 1; }));
    EXPECT_EQ(frames, paints) << "every paint follows onFrame";
    settle(std::chrono::milliseconds(300));
    EXPECT_EQ(paints, atRest + 1);

    // Asked for while a frame is still on its way, the next one waits for the compositor.
    surface->requestFrame();
    surface->requestFrame();
    ASSERT_TRUE(waitUntil([&] { return paints == atRest + 2; }));
    settle(std::chrono::milliseconds(300));
    EXPECT_EQ(paints, atRest + 2);
}

TEST_F(LayerShellSurfaceTest, GoesToItsScreensOutputWhenThatOutputArrives) {
    start();
    const auto screens = QGuiApplication::screens();
    ASSERT_EQ(screens.size(), 2);
    QScreen* second = screens.at(1);
    ASSERT_EQ(second->name(), "HEADLESS-2");

    // Until the screen's output exists the island waits on the one there is.
    frame = QRect(0, 0, 200, 40);
    int before = paints;
    surface->place(second, frame);
    ASSERT_TRUE(waitUntil([&] { return paints > before; }));
    EXPECT_EQ(surface->outputName(), "HEADLESS-1");

    before = paints;
    ASSERT_TRUE(sway->command("create_output"));
    ASSERT_TRUE(sway->command(std::string("output HEADLESS-2 resolution 1280x720 position 1280 0 bg ") +
                              SwaySession::backgroundHex + " solid_color"));
    ASSERT_TRUE(waitUntil([&] { return surface->outputName() == "HEADLESS-2" && paints > before; }))
        << surface->outputName();

    // The desktop is now two outputs side by side: the island hangs from the second one's centre.
    expectColours(screenshotShowing({1280 + 640, 20}, islandColour),
                  {{{1280 + 640, 20}, islandColour}, {{640, 20}, backgroundColour}});

    // Placed on the first screen again, matched by name.
    surface->place(screens.at(0), frame);
    ASSERT_TRUE(waitUntil([&] { return surface->outputName() == "HEADLESS-1"; }));
    expectColours(screenshotShowing({640, 20}, islandColour), {{{1280 + 640, 20}, backgroundColour}});
}

TEST(WaylandDropContent, ReadsFilesLinksAndTextFromWhatWasDropped) {
    struct Row {
        const char* name;
        std::string_view mimeType;
        std::string_view bytes;
        std::vector<std::string> files;
        std::string text;
    };
    const std::vector<Row> rows = {
        {"files, one per line, escaped",
         "text/uri-list",
         "# from a file manager\r\nfile:///tmp/a%20b.txt\r\nfile:///home/u/c\r\n",
         {"/tmp/a b.txt", "/home/u/c"},
         ""},
        {"a link alone is its text",
         "text/uri-list",
         "https://example.org/x?y=1\r\n",
         {},
         "https://example.org/x?y=1"},
        {"files win over links", "text/uri-list", "https://example.org/\nfile:///tmp/f\n", {"/tmp/f"}, ""},
        {"no line is a URI", "text/uri-list", "not a uri\r\n\r\n", {}, ""},
        {"text is kept as it is",
         "text/plain;charset=utf-8",
         "h\xc3\xa9llo\nworld\n",
         {},
         "h\xc3\xa9llo\nworld\n"},
    };
    for (const Row& row : rows) {
        const auto drop = WaylandDataDevice::content(row.mimeType, row.bytes);
        EXPECT_EQ(drop.files, row.files) << row.name;
        EXPECT_EQ(drop.text, row.text) << row.name;
    }
}

} // namespace
} // namespace vq
