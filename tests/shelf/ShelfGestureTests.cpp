#include "BrindKit/shelf/ShelfDragTracker.hpp"
#include "BrindKit/shelf/ShelfShakeDetector.hpp"

#include <gtest/gtest.h>

using brind::ShelfDragTracker;
using Event = ShelfDragTracker::Event;
using Rect = ShelfDragTracker::Rect;
using brind::ShelfShakeDetector;
using Moves = std::vector<std::pair<double, double>>; // (x, seconds)

namespace {

const std::vector<Rect> notches = {Rect{700, 0, 200, 32}, Rect{2500, 0, 180, 30}};

/// `count` moves `step` seconds apart going 0, 50, 100, 50, 0, 50, ...: a reversal every second
/// move after the third.
Moves shake(int count, double step) {
    constexpr double pattern[] = {0, 50, 100, 50};
    Moves moves;
    for (int index = 0; index < count; ++index)
        moves.emplace_back(pattern[index % 4], index * step);
    return moves;
}

/// The indices of the moves at which `detector` recognised a shake.
std::vector<int> firings(ShelfShakeDetector& detector, const Moves& moves) {
    std::vector<int> fired;
    for (std::size_t index = 0; index < moves.size(); ++index)
        if (detector.feed(moves[index].first, moves[index].second))
            fired.push_back(static_cast<int>(index));
    return fired;
}

Moves swings(double width) {
    Moves moves;
    for (int step = 0; step < 20; ++step)
        moves.emplace_back(step % 2 == 0 ? 0 : width, step * 0.03);
    return moves;
}

} // namespace

TEST(ShelfDragTracker, RectangleContainsItsGrownEdges) {
    const Rect notch{100, 0, 200, 30};
    const std::tuple<double, double, bool> cases[] = {
        {200, 15, true},     {90, -10, true},      {310, 40, true},       {89.999, 0, false},
        {310.001, 0, false}, {200, 40.001, false}, {200, -10.001, false},
    };
    for (const auto& [x, y, inside] : cases)
        EXPECT_EQ(notch.contains(x, y, 10), inside) << x << ", " << y;
    EXPECT_TRUE(Rect(300, 30, -200, -30).contains(100, 0, 0)) << "a mirrored rectangle covers the same area";
    EXPECT_FALSE(notch.contains(99, 15, 0));
}

TEST(ShelfDragTracker, DragStartsOnlyWhenThePasteboardChangedAndThePointerTravelled) {
    ShelfDragTracker tracker;
    tracker.mouseDown(100, 500, 7);
    // However far the pointer goes, an unchanged pasteboard is a window move, not a drag.
    for (double x = 100; x < 3000; x += 400)
        EXPECT_EQ(tracker.mouseDragged(x, 10, 7, notches), Event::none) << x;
    EXPECT_FALSE(tracker.isDragging);

    tracker.mouseDown(100, 500, 7);
    EXPECT_EQ(tracker.mouseDragged(103, 504.9, 8, notches), Event::none) << "below the start distance";
    EXPECT_EQ(tracker.mouseDragged(103.6, 504.8, 8, notches), Event::dragStarted);
    EXPECT_TRUE(tracker.isDragging);
    EXPECT_EQ(tracker.mouseDragged(400, 400, 8, notches), Event::none);

    // A missed mouse-down is recorded by the first drag.
    tracker = {};
    EXPECT_EQ(tracker.mouseDragged(100, 500, 3, notches), Event::none);
    EXPECT_EQ(tracker.origin, (ShelfDragTracker::Point{100, 500}));
    EXPECT_EQ(tracker.downCount, 3);
    EXPECT_EQ(tracker.mouseDragged(200, 500, 3, notches), Event::none);
    EXPECT_EQ(tracker.mouseDragged(200, 500, 4, notches), Event::dragStarted);
    EXPECT_EQ(tracker.mouseUp(), Event::ended);
}

TEST(ShelfDragTracker, ReportsEnteringAndLeavingTheNotchOnce) {
    ShelfDragTracker tracker;
    tracker.mouseDown(800, 400, 1);
    const std::vector<std::pair<std::pair<double, double>, Event>> moves = {
        {{800, 300}, Event::dragStarted}, {{800, 64}, Event::enteredNotch}, {{820, 10}, Event::none},
        {{800, 64.5}, Event::leftNotch},  {{800, 200}, Event::none},        {{2600, 20}, Event::enteredNotch},
        {{2600, 10}, Event::none},
    };
    for (const auto& [point, event] : moves)
        EXPECT_EQ(tracker.mouseDragged(point.first, point.second, 2, notches), event)
            << point.first << ", " << point.second;
    EXPECT_EQ(tracker.mouseUp(), Event::ended);
    EXPECT_EQ(tracker, ShelfDragTracker{}) << "mouse-up clears the whole gesture";
    EXPECT_EQ(tracker.mouseUp(), Event::none);

    // A drag that starts near the notch enters it at once.
    tracker.mouseDown(800, 100, 1);
    EXPECT_EQ(tracker.mouseDragged(800, 40, 2, notches), Event::enteredNotch);
    EXPECT_TRUE(tracker.isNearNotch);
}

TEST(ShelfShakeDetector, FiresAtTheReversalThatCompletesAShake) {
    constexpr double step = 1.0 / 32; // exact in binary, so the boundaries below are exact
    Moves jitter = {{0, 0}, {100, 0.01}};
    // Creeping back by half a point at a time never reads as a turn.
    for (int index = 1; index <= 10; ++index)
        jitter.emplace_back(100 - 0.5 * index, 0.01 + index * 0.01);
    struct Row {
        const char* name;
        ShelfShakeDetector detector;
        Moves moves;
        std::vector<int> fired;
    };
    const ShelfShakeDetector quick{.reversalsNeeded = 1, .window = 1, .minSwing = 40, .cooldown = 0};
    const Row rows[] = {
        {"the fourth reversal inside the window", {}, shake(10, 0.04), {9}},
        {"swings of exactly the minimum count", {}, swings(40), {5}},
        {"swings of 39 points turn around but never count", {}, swings(39), {}},
        {"jitter", quick, jitter, {}},
        {"a slow shake never has four reversals inside the window", {}, shake(24, 0.125), {}},
        {"a reversal exactly one window old still counts",
         {.reversalsNeeded = 2, .window = 0.5, .minSwing = 40, .cooldown = 0},
         {{0, 0}, {50, 0.125}, {0, 0.25}, {50, 0.75}},
         {3}},
        {"the next shake waits exactly a cooldown", {}, shake(51, step), {9, 41}},
    };
    for (auto row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(firings(row.detector, row.moves), row.fired);
    }
}

TEST(ShelfShakeDetector, ResetForgetsTheGestureButKeepsTheCooldown) {
    ShelfShakeDetector detector;
    EXPECT_EQ(firings(detector, shake(10, 1.0 / 32)), std::vector<int>{9});
    detector.feed(100, 10 / 32.0);
    detector.reset();
    EXPECT_EQ(detector.lastX, std::nullopt);
    EXPECT_EQ(detector.direction, 0);
    EXPECT_TRUE(detector.reversals.empty());
    // A whole new shake right away is held back until the cooldown of the first has passed.
    Moves again = shake(10, 1.0 / 32);
    for (auto& move : again)
        move.second += 11 / 32.0;
    EXPECT_TRUE(firings(detector, again).empty());
    EXPECT_EQ(detector.lastFired, 9 / 32.0);
}

TEST(ShelfShakeDetector, SensitivityPicksTheThresholds) {
    const std::tuple<int, int, double> cases[] = {
        {0, 3, 30}, {1, 4, 40}, {2, 5, 60}, {-4, 3, 30}, {9, 5, 60}};
    for (const auto& [sensitivity, reversals, minSwing] : cases) {
        const auto detector = ShelfShakeDetector::forSensitivity(sensitivity);
        EXPECT_EQ(detector.reversalsNeeded, reversals) << sensitivity;
        EXPECT_EQ(detector.minSwing, minSwing) << sensitivity;
    }
}
