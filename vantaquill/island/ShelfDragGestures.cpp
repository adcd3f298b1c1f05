#include "vantaquill/island/ShelfDragGestures.hpp"

namespace vq {

namespace {

// The island hears of a drag only once it is under way and over the island, so there is no wobble
// of a click to tell apart from it: the first position already counts.
constexpr double startDistance = 0;

} // namespace

ShelfDragGestures::ShelfDragGestures(int sensitivity)
    : tracker{.startDistance = startDistance}, shake(brind::ShelfShakeDetector::forSensitivity(sensitivity)) {}

void ShelfDragGestures::setSensitivity(int sensitivity) {
    // The cooldown outlives a change of sensitivity as it outlives a reset.
    const double lastFired = shake.lastFired;
    shake = brind::ShelfShakeDetector::forSensitivity(sensitivity);
    shake.lastFired = lastFired;
}

ShelfDragGestures::Gesture ShelfDragGestures::feed(const IslandSurface::DropEvent& event, const QRectF& notch,
                                                   double time) {
    using Type = IslandSurface::DropEvent::Type;
    const double x = event.position.x();
    const double y = event.position.y();
    switch (event.type) {
    case Type::enter:
        // Where the drag came in stands for its mouse-down; the drag itself is new data on the move.
        tracker.mouseDown(x, y, drags);
        ++drags;
        shake.reset();
        [[fallthrough]];
    case Type::move: {
        const brind::ShelfDragTracker::Rect rect{notch.x(), notch.y(), notch.width(), notch.height()};
        const auto moved = tracker.mouseDragged(x, y, drags, std::span(&rect, 1));
        if (shake.feed(x, time))
            return Gesture::shake;
        return moved == brind::ShelfDragTracker::Event::enteredNotch ? Gesture::nearNotch : Gesture::none;
    }
    case Type::leave:
    case Type::drop:
        tracker.mouseUp();
        shake.reset();
        return Gesture::none;
    }
    std::unreachable();
}

} // namespace vq
