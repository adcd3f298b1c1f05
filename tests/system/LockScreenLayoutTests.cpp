#include "BrindKit/system/LockScreenLayout.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brind {
namespace {

TEST(LockScreenLayout, WidgetsFrameHangsBelowTheClockOrSitsLow) {
    struct Case {
        std::string label;
        RectF screen;
        RectF clock;
        RectF bottom;
    };
    const std::vector<Case> cases = {
        // 1000 points high: the clock block's top is 330 below the top edge, its height min(410, 340).
        {"laptop", {0, 0, 1512, 1000}, {436, 330, 640, 340}, {436, 240, 640, 340}},
        // A screen left of the main one, odd width: x rounds half away from zero.
        {"left of main", {-1440, 0, 1441, 900}, {-1040, 263, 640, 340}, {-1040, 216, 640, 340}},
        // Narrow and short: the width leaves 20 points each side and the height comes from the fractions.
        {"small", {0, 200, 500, 300}, {20, 278, 460, 123}, {20, 272, 460, 138}},
        // Tiny: the height never drops below 120.
        {"tiny", {0, 0, 400, 200}, {20, 14, 360, 120}, {20, 48, 360, 120}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(LockScreenLayout::widgetsFrame(c.screen, LockPosition::clock), c.clock) << c.label;
        EXPECT_EQ(LockScreenLayout::widgetsFrame(c.screen, LockPosition::bottom), c.bottom) << c.label;
    }
}

TEST(LockScreenLayout, NotchShapeAddsAWingEachSideWhenExpanded) {
    // The wings go on the closed island as the user sized it, offsets included.
    IslandLayout::Input housing;
    housing.metrics = NotchMetrics{true, SizeF{185, 32}, 32};
    housing.widthOffset = 10;
    housing.heightOffset = 4;
    EXPECT_EQ(LockScreenLayout::notchShape(housing, false), (SizeF{195, 36}));
    EXPECT_EQ(LockScreenLayout::notchShape(housing, true), (SizeF{287, 36}));

    // Floating below the top bar there is no housing to hug.
    IslandLayout::Input floating;
    floating.floating = true;
    EXPECT_EQ(LockScreenLayout::notchShape(floating, true), (SizeF{180, 36}));
}

TEST(LockScreenLayout, WidgetsGoToTheFirstBuiltInScreen) {
    EXPECT_EQ(LockScreenLayout::widgetsScreen({}), std::nullopt);
    EXPECT_EQ(LockScreenLayout::widgetsScreen({false, false, true, true}), 2u);
    EXPECT_EQ(LockScreenLayout::widgetsScreen({false, false}), 0u);
}

} // namespace
} // namespace brind
