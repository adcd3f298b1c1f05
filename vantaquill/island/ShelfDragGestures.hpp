#pragma once

#include "BrindKit/shelf/ShelfDragTracker.hpp"
#include "BrindKit/shelf/ShelfShakeDetector.hpp"
#include "vantaquill/island/IslandSurface.hpp"

#include <QRectF>

#include <cstdint>

namespace vq {

/// Watches a drag over the island for the two gestures that bring the shelf up: the dragged item
/// coming near the notch, and a quick left-right shake. Fed with the drag's events as the surface
/// reports them, which is only while the pointer is over the island: X11's drag protocol (XDND) and
/// Wayland's tell a window about a drag only when the pointer is over it, so a shake elsewhere on
/// the screen goes unseen.
class ShelfDragGestures {
public:
    enum class Gesture { none, nearNotch, shake };

    /// `sensitivity`: the "shelf.shakeSensitivity" preference.
    explicit ShelfDragGestures(int sensitivity = 1);

    void setSensitivity(int sensitivity);

    /// One event of a drag the island can take. `notch` is the closed island's outline, `time` in
    /// seconds; both in the event's coordinates and clock. A gesture is reported
    /// once: coming near the notch again needs the item to leave its reach first, and shakes are
    /// spaced by the detector's cooldown.
    Gesture feed(const IslandSurface::DropEvent& event, const QRectF& notch, double time);

private:
    brind::ShelfDragTracker tracker;
    brind::ShelfShakeDetector shake;
    /// Drags seen so far: each one that enters is new data on the move, which is what the tracker
    /// takes a drag's start from.
    std::int64_t drags = 0;
};

} // namespace vq
