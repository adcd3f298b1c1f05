#include "BrindKit/shelf/ShelfDragTracker.hpp"

#include <gtest/gtest.h>

using brind::ShelfDragTracker;
using Event = ShelfDragTracker::Event;
using Rect = ShelfDragTracker::Rect;

namespace {

const std::vector<Rect> notches = {Rect{700, 0, 200, 32}, Rect{2500, 0, 180, 30}};

} // namespace

TEST(ShelfDragTracker, RectangleContainsItsGrownEdges) {
    const Rect notch{100, 0, 200, 30};
    struct Case {
        double x, y;
        bool inside;
    };
    const std::vector<Case> cases = {
        {200, 15, true},   {90, -10, true},    {310, 40, true},  {89.999, 0, false},
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
}

TEST(ShelfDragTracker, ReportsEnteringAndLeavingTheNotchOnce) {
    ShelfDragTracker tracker;
    tracker.mouseDown(800, 400, 1);
    const std::vector<std::pair<std::pair<double, double>, Event>> moves = {
        {{800, 300}, Event::dragStarted},   {{800, 64}, Event::enteredNotch}, {{820, 10}, Event::none},
        {{800, 64.5}, Event::leftNotch},    {{800, 200}, Event::none},        {{2600, 20}, Event::enteredNotch},
        {{2600, 10}, Event::none},
    };
    for (const auto& [point, event] : moves)
        EXPECT_EQ(tracker.mouseDragged(point.first, point.second, 2, notches), event)
            << point.first << ", " << point.second;
    EXPECT_EQ(tracker.mouseUp(), Event::ended);
    EXPECT_EQ(tracker, ShelfDragTracker{}) << "mouse-up clears the whole gesture";
    EXPECT_EQ(tracker.mouseUp(), Event::none);
}

TEST(ShelfDragTracker, ADragThatStartsAtTheNotchEntersItAtOnce) {
    ShelfDragTracker tracker;
    tracker.mouseDown(800, 100, 1);
    EXPECT_EQ(tracker.mouseDragged(800, 40, 2, notches), Event::enteredNotch);
    EXPECT_TRUE(tracker.isNearNotch);
}

TEST(ShelfDragTracker, AMissedMouseDownIsRecordedByTheFirstDrag) {
    ShelfDragTracker tracker;
    EXPECT_EQ(tracker.mouseDragged(100, 500, 3, notches), Event::none);
    EXPECT_EQ(tracker.origin, (ShelfDragTracker::Point{100, 500}));
    EXPECT_EQ(tracker.downCount, 3);
    EXPECT_EQ(tracker.mouseDragged(200, 500, 3, notches), Event::none);
    EXPECT_EQ(tracker.mouseDragged(200, 500, 4, notches), Event::dragStarted);
    EXPECT_EQ(tracker.mouseUp(), Event::ended);
}
