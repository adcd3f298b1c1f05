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
    const auto input = [](double width, double height, bool floating, double widthOffset,
                          double heightOffset) {
        IslandLayout::Input in;
        in.metrics = NotchMetrics{true, SizeF{width, height}, height};
        in.floating = floating;
        in.widthOffset = widthOffset;
        in.heightOffset = heightOffset;
        return in;
    };
    struct Case {
        std::string label;
        IslandLayout::Input input;
        SizeF closed;
        SizeF expanded;
    };
    const std::vector<Case> cases = {
        {"housing", input(185, 32, false, 0, 0), {185, 32}, {277, 32}},
        {"offsets", input(185, 32, false, 10, 4), {195, 36}, {287, 36}},
        {"shrunk below the minimum", input(10, 5, false, -100, -10), {60, 20}, {152, 20}},
        {"floating", input(0, 0, true, 0, 0), {150, 32}, {180, 36}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(LockScreenLayout::notchShape(c.input, false), c.closed) << c.label;
        EXPECT_EQ(LockScreenLayout::notchShape(c.input, true), c.expanded) << c.label;
    }
}

TEST(LockScreenLayout, WidgetsGoToTheFirstBuiltInScreen) {
    struct Case {
        std::vector<bool> builtIn;
        std::optional<std::size_t> index;
    };
    const std::vector<Case> cases = {
        {{}, std::nullopt}, {{false}, 0}, {{true}, 0}, {{false, false, true, true}, 2}, {{false, false}, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(LockScreenLayout::widgetsScreen(c.builtIn), c.index) << c.builtIn.size();
}

} // namespace
} // namespace brind
