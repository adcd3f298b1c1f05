#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/island/IslandPath.hpp"
#include "BrindKit/island/NotchMetrics.hpp"
#include "tests/desktop/VirtualDisplay.hpp"
#include "tests/e2e/E2EProcess.hpp"
#include "vantaquill/island/X11IslandSurface.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <thread>

namespace vq::desktop {
namespace {

using namespace std::chrono_literals;
using brind::IslandLayout;

constexpr double screenWidth = 1440;
constexpr double screenHeight = 900;
// Screenshots are exact; this only absorbs a step of rounding in the compositor's blend.
constexpr int colourTolerance = 8;
// The outline lies where the layout puts it, give or take its antialiased rim.
constexpr int edgeTolerance = 2;

bool compositorRunning(const VirtualDisplay& display) {
    xcb_connection_t* connection = xcb_connect(display.name().c_str(), nullptr);
    const bool running =
        xcb_connection_has_error(connection) == 0 && X11IslandSurface::compositorRunning(connection, 0);
    xcb_disconnect(connection);
    return running;
}

bool near(QRgb pixel, QRgb colour) {
    return std::abs(qRed(pixel) - qRed(colour)) <= colourTolerance &&
           std::abs(qGreen(pixel) - qGreen(colour)) <= colourTolerance &&
           std::abs(qBlue(pixel) - qBlue(colour)) <= colourTolerance;
}

/// Strictly between the island's black and the background in every channel: the outline's edge
/// mixed with what lies below it.
bool blended(QRgb pixel, QRgb background) {
    const auto between = [](int value, int limit) {
        return value > colourTolerance && value < limit - colourTolerance;
    };
    return between(qRed(pixel), qRed(background)) && between(qGreen(pixel), qGreen(background)) &&
           between(qBlue(pixel), qBlue(background));
}

int blendedPixels(const QImage& image, const QRect& area, QRgb background) {
    int count = 0;
    for (int y = std::max(area.top(), 0); y <= std::min(area.bottom(), image.height() - 1); ++y)
        for (int x = std::max(area.left(), 0); x <= std::min(area.right(), image.width() - 1); ++x)
            count += blended(image.pixel(x, y), background);
    return count;
}

/// The closed island over a declared housing, on an X server with a compositing manager (true) or
/// without one (false).
class CompositedEdge : public ::testing::TestWithParam<bool> {};

// Under a compositor the window is translucent and the outline's curved parts (the ears flaring into
// the top bar and the rounded bottom corners) are antialiased against the desktop; without one the
// window is cut to the outline and every pixel is either the island's black or the desktop, which is
// also what a broken translucent window would show.
TEST_P(CompositedEdge, CurvedPartsOfTheOutlineAreBlendedOnlyUnderACompositor) {
    const bool composited = GetParam();
    if (!VirtualDisplay::available())
        GTEST_SKIP() << "Xvfb, ImageMagick's import or xdotool is missing; scripts/setup installs them";
    if (composited && !std::filesystem::exists("/usr/bin/xcompmgr"))
        GTEST_SKIP() << "xcompmgr is missing; scripts/setup installs it";
    VirtualDisplay display;
    ASSERT_FALSE(display.name().empty()) << "Xvfb did not start";
    e2e::TemporaryHome home;
    int compositor = -1;
    if (composited) {
        compositor = display.start({"xcompmgr"}, home.path() / "xcompmgr.log");
        for (auto waited = 0ms; waited < 20s && !compositorRunning(display); waited += 200ms)
            std::this_thread::sleep_for(200ms);
        ASSERT_TRUE(compositorRunning(display)) << "xcompmgr did not take the compositing selection";
    }
    std::filesystem::create_directories(home.path() / ".config/vantaquill");
    std::ofstream(home.path() / ".config/vantaquill/vantaquill.conf") << "[General]\nisland.housing=200x32\n";
    e2e::IslandProcess island({"--surface", "x11", "--port", "0"},
                              display.environmentFor(home.environment()));
    ASSERT_NE(island.port(), 0) << "the island did not start";

    const auto metrics =
        brind::NotchMetrics::compute(screenWidth, 32, (screenWidth - 200) / 2, (screenWidth - 200) / 2, 0);
    const IslandLayout::Input layout{.metrics = metrics, .floating = false};
    const auto size = IslandLayout::closed(layout);
    const auto frame = IslandLayout::windowFrame({0, 0, screenWidth, screenHeight}, layout);
    const auto inWindow = IslandLayout::islandRect(size, IslandLayout::window(layout), layout);
    const QRect outline(static_cast<int>(std::lround(frame.x + inWindow.x)),
                        static_cast<int>(std::lround(inWindow.y)), static_cast<int>(std::lround(size.width)),
                        static_cast<int>(std::lround(size.height)));
    const auto corners = brind::IslandPath::corners(brind::IslandState::closed, size.height, false,
                                                    brind::IslandPath::defaultCornerRadius);
    ASSERT_GT(corners.ear, 0);
    ASSERT_GT(corners.bottom, 0);

    const QImage shot = waitForScreen(display, [&](const QImage& image) {
        const auto bounds = blackBounds(image);
        return bounds && std::abs(bounds->top() - outline.top()) <= edgeTolerance &&
               std::abs(bounds->bottom() - outline.bottom()) <= edgeTolerance &&
               std::abs(bounds->center().x() - outline.center().x()) <= edgeTolerance;
    });
    ASSERT_FALSE(shot.isNull()) << "no screenshot";
    const auto bounds = blackBounds(shot);
    ASSERT_TRUE(bounds && std::abs(bounds->bottom() - outline.bottom()) <= edgeTolerance)
        << "the closed island is not where the layout puts it";

    // The desktop far from the window (xcompmgr paints its own grey where no root picture is set,
    // the bare server its white), and the same desktop inside the island's window but beside and
    // below the outline: the window covers nothing there.
    const QRgb background = shot.pixel(20, static_cast<int>(screenHeight) / 2);
    ASSERT_GT(qGray(background), 100) << "too dark a desktop to tell a blend from black";
    const int middle = outline.center().y();
    for (const QPoint beside : {QPoint(outline.left() - 40, middle), QPoint(outline.right() + 40, middle),
                                QPoint(outline.center().x(), outline.bottom() + 30)})
        EXPECT_TRUE(near(shot.pixel(beside), background))
            << "the window covers the desktop at " << beside.x() << "," << beside.y();
    EXPECT_TRUE(near(shot.pixel(outline.center()), qRgb(0, 0, 0))) << "the island is not black inside";

    // The curved parts, with a pixel to spare around each.
    const int ear = static_cast<int>(std::ceil(corners.ear));
    const int bottom = static_cast<int>(std::ceil(corners.bottom));
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
    if (composited) {
        for (const auto& [name, area] : curves)
            EXPECT_GE(blendedPixels(shot, area, background), 2) << "no blended edge at the " << name;
    } else {
        EXPECT_EQ(blendedPixels(shot, outline.adjusted(-3, -3, 3, 3), background), 0)
            << "a window cut to the outline has no blended pixels";
    }

    island.stop();
    VirtualDisplay::stop(compositor);
}

INSTANTIATE_TEST_SUITE_P(Compositor, CompositedEdge, ::testing::Bool(), [](const auto& info) {
    return info.param ? std::string("Composited") : std::string("Bare");
});

} // namespace
} // namespace vq::desktop
