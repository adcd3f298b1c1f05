#include "BrindKit/shelf/ShelfDragTracker.hpp"

#include <algorithm>
#include <cmath>

namespace brind {

bool ShelfDragTracker::Rect::contains(double px, double py, double grownBy) const {
    // A rectangle with a negative width or height spans the same area as its mirror image.
    const double minX = std::min(x, x + width) - grownBy;
    const double maxX = std::max(x, x + width) + grownBy;
    const double minY = std::min(y, y + height) - grownBy;
    const double maxY = std::max(y, y + height) + grownBy;
    return minX <= px && px <= maxX && minY <= py && py <= maxY;
}

void ShelfDragTracker::mouseDown(double x, double y, std::int64_t pasteboardChangeCount) {
    origin = Point{x, y};
    downCount = pasteboardChangeCount;
    isDragging = false;
    isNearNotch = false;
}

ShelfDragTracker::Event ShelfDragTracker::mouseDragged(double x, double y, std::int64_t pasteboardChangeCount,
                                                       std::span<const Rect> notches) {
    const bool near = std::ranges::any_of(notches, [&](const Rect& notch) { return notch.contains(x, y, reach); });
    if (!isDragging) {
        if (!origin || !downCount) {
            mouseDown(x, y, pasteboardChangeCount);
            return Event::none;
        }
        // An unchanged drag pasteboard means nothing is being dragged: a window move or a selection.
        if (pasteboardChangeCount == *downCount)
            return Event::none;
        if (std::hypot(x - origin->x, y - origin->y) < startDistance)
            return Event::none;
        isDragging = true;
        isNearNotch = near;
        return near ? Event::enteredNotch : Event::dragStarted;
    }
    if (near == isNearNotch)
        return Event::none;
    isNearNotch = near;
    return near ? Event::enteredNotch : Event::leftNotch;
}

ShelfDragTracker::Event ShelfDragTracker::mouseUp() {
    const bool wasDragging = isDragging;
    isDragging = false;
    isNearNotch = false;
    downCount.reset();
    origin.reset();
    return wasDragging ? Event::ended : Event::none;
}

} // namespace brind
