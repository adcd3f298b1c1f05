#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/island/NotchMetrics.hpp"
#include "tests/e2e/E2EProcess.hpp"
#include "tests/wayland/EventLoopWait.hpp"
#include "tests/wayland/SwaySession.hpp"
#include "vantaquill/wayland/LayerShellSurface.hpp"

#include <QGuiApplication>
#include <QPainter>
#include <cmath>
#include <fstream>
#include <gtest/gtest.h>

namespace vq {
namespace {

using test::SwaySession;
using test::waitUntil;
using namespace std::chrono_literals;

// The headless sway's output, wide enough for two nested outputs side by side that each hold the
// island's whole window.
constexpr int hostWidth = 2560;
constexpr int hostHeight = 720;

/// The bounding box of what is not the desktop's background in the top band of an output: the
/// island, antialiased edges and the ears' thin tips included.
QRect islandShape(const QImage& image) {
    constexpr int band = 200;
    constexpr int backgroundTolerance = 12;
    const QColor background(SwaySession::backgroundHex);
    QRect box;
    for (int y = 0; y < std::min(band, image.height()); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            if (std::abs(qRed(pixel) - background.red()) > backgroundTolerance ||
                std::abs(qGreen(pixel) - background.green()) > backgroundTolerance ||
                std::abs(qBlue(pixel) - background.blue()) > backgroundTolerance)
                box |= QRect(x, y, 1, 1);
        }
    return box;
}

/// Where the closed island over a 200 by 32 housing lies on an output `width` wide: the
/// compositor centres the layer surface, and the layout centres the island in it.
QRect closedIsland(int width) {
    using brind::IslandLayout;
    const auto metrics = brind::NotchMetrics::compute(width, 32, (width - 200) / 2.0, (width - 200) / 2.0, 0);
    const IslandLayout::Input input{.metrics = metrics, .floating = false};
    const auto size = IslandLayout::closed(input);
    const auto window = IslandLayout::window(input);
    const auto rect = IslandLayout::islandRect(size, window, input);
    return QRect(static_cast<int>((width - window.width) / 2 + rect.x), static_cast<int>(rect.y),
                 static_cast<int>(std::lround(size.width)), static_cast<int>(std::lround(size.height)));
}

/// The same outline but for the antialiased pixel at each edge.
bool sameShape(QRect seen, QRect expected) {
    constexpr int edgePixels = 2;
    return std::abs(seen.left() - expected.left()) <= edgePixels &&
           std::abs(seen.right() - expected.right()) <= edgePixels &&
           std::abs(seen.top() - expected.top()) <= edgePixels &&
           std::abs(seen.bottom() - expected.bottom()) <= edgePixels;
}

std::string describe(QRect shape) {
    return std::to_string(shape.width()) + "x" + std::to_string(shape.height()) + " at " +
           std::to_string(shape.x()) + "," + std::to_string(shape.y());
}

struct Removal {
    std::string displayModes; ///< "island.displayModes"
    std::string removed;      ///< the output taken away under an island
    std::string remaining;
};

void PrintTo(const Removal& removal, std::ostream* out) {
    *out << removal.displayModes << ", " << removal.removed << " removed";
}

/// A headless sway holding a nested sway with two outputs, WL-1 and WL-2 side by side.
class TwoOutputs {
  protected:
    void startSways() {
        if (const auto reason = SwaySession::unavailableReason(); !reason.empty())
            GTEST_SKIP() << "no headless sway here: " << reason;
        auto started = SwaySession::start({});
        ASSERT_TRUE(started) << started.error();
        host = std::move(*started);
        ASSERT_TRUE(host->command("output HEADLESS-1 resolution " + std::to_string(hostWidth) + "x" +
                                  std::to_string(hostHeight)));
        auto inner = SwaySession::start({.nestedIn = host->waylandDisplay(), .outputs = 2});
        ASSERT_TRUE(inner) << inner.error();
        nested = std::move(*inner);
        ASSERT_TRUE(waitUntil([&] { return nested->screenshot("WL-1") && nested->screenshot("WL-2"); }))
            << "the nested sway did not show its outputs";
    }

    /// Closes the output's window in the host (its title ends in the output's name) and waits until
    /// the nested sway has let the output go.
    ::testing::AssertionResult removeOutput(const std::string& output) {
        if (auto closed = host->command("[title=\"" + output + "$\"] kill"); !closed)
            return ::testing::AssertionFailure() << closed.error();
        if (!waitUntil([&] { return !nested->screenshot(output); }))
            return ::testing::AssertionFailure() << output << " did not go";
        return ::testing::AssertionSuccess();
    }

    std::unique_ptr<SwaySession> host;
    std::unique_ptr<SwaySession> nested;
};

class OutputRemoval : public ::testing::TestWithParam<Removal>, public TwoOutputs {};

// An output goes while an island is on it: the compositor closes the island's layer surface and
// withdraws the output, and Qt drops its screen. The island lives on and shows on the output that
// remains (the new primary screen, or the island that was already there), where the layout puts it,
// and its SDK still answers.
TEST_P(OutputRemoval, TheIslandMovesToTheOutputThatRemains) {
    ASSERT_NO_FATAL_FAILURE(startSways());
    if (IsSkipped())
        return;

    e2e::TemporaryHome home;
    std::filesystem::create_directories(home.path() / ".config/vantaquill");
    std::ofstream(home.path() / ".config/vantaquill/vantaquill.conf")
        << "[General]\nisland.housing=200x32\nisland.displayModes=" << GetParam().displayModes << "\n";
    auto environment = home.environment();
    environment.erase("QT_QPA_PLATFORM");
    environment["WAYLAND_DISPLAY"] = nested->waylandDisplay();
    e2e::IslandProcess island({"--port", "0"}, environment);
    ASSERT_NE(island.port(), 0) << "the island did not start";

    const auto showsIsland = [&](const std::string& output, QRect& seen) {
        return waitUntil([&] {
            const auto shot = nested->screenshot(output);
            seen = shot ? islandShape(*shot) : QRect();
            return shot && sameShape(seen, closedIsland(shot->width()));
        });
    };
    QRect seen;
    ASSERT_TRUE(showsIsland(GetParam().removed, seen))
        << "no island on " << GetParam().removed << " before it goes: " << describe(seen);

    ASSERT_TRUE(removeOutput(GetParam().removed));
    EXPECT_TRUE(showsIsland(GetParam().remaining, seen))
        << "the island is not on " << GetParam().remaining << ": " << describe(seen);

    const std::string status = e2e::rawExchange(
        island.port(),
        "GET /v1/status HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(island.port()) + "\r\n\r\n");
    EXPECT_EQ(e2e::statusOf(status), 200) << status;
    EXPECT_NE(e2e::bodyOf(status).find("\"layer-shell\""), std::string::npos) << status;
    EXPECT_EQ(island.stop(), 0);
    EXPECT_EQ(island.errors().find("Wayland compositor"), std::string::npos) << island.errors();
}

class LayerSurfaceOutputRemoval : public ::testing::Test, public TwoOutputs {};

// The same with the surface alone, so that the compositor's closing of the layer surface and the
// output's withdrawal reach it rather than the application's screen list: it starts over on the
// output that remains.
TEST_F(LayerSurfaceOutputRemoval, StartsOverOnTheOutputThatRemains) {
    ASSERT_NO_FATAL_FAILURE(startSways());
    if (IsSkipped())
        return;
    const QByteArray saved = qgetenv("WAYLAND_DISPLAY");
    qputenv("WAYLAND_DISPLAY", QByteArray::fromStdString(nested->waylandDisplay()));
    auto connected = LayerShellSurface::connect();
    qputenv("WAYLAND_DISPLAY", saved);
    ASSERT_TRUE(connected) << connected.error();
    auto& surface = **connected;
    const QColor colour(200, 30, 60);
    const QRect frame(0, 0, 200, 40);
    int paints = 0;
    surface.paint = [&](QPainter& painter) {
        ++paints;
        painter.fillRect(frame, colour);
    };
    // The test's first screen lies where WL-1 does.
    surface.place(QGuiApplication::screens().at(0), frame);
    ASSERT_TRUE(waitUntil([&] { return paints > 0; })) << "the surface was never drawn";
    ASSERT_EQ(surface.outputName(), "WL-1");

    const int before = paints;
    ASSERT_TRUE(removeOutput("WL-1"));
    EXPECT_TRUE(waitUntil([&] { return surface.outputName() == "WL-2" && paints > before; }))
        << "on \"" << surface.outputName() << "\"";
    QColor top;
    EXPECT_TRUE(waitUntil([&] {
        const auto shot = nested->screenshot("WL-2");
        top = shot ? shot->pixelColor(shot->width() / 2, 20) : QColor();
        return top == colour;
    })) << "WL-2 shows "
        << top.name().toStdString() << " where the island hangs";
    EXPECT_FALSE(surface.connectionError()) << *surface.connectionError();
}

INSTANTIATE_TEST_SUITE_P(Modes, OutputRemoval,
                         ::testing::Values(Removal{"primary", "WL-1", "WL-2"},
                                           Removal{"all", "WL-2", "WL-1"}),
                         [](const auto& info) { return info.param.displayModes; });

} // namespace
} // namespace vq
