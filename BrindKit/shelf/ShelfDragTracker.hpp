#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace brind {

/// Follows a drag from mouse-down and says when the dragged item comes near a notch and leaves it,
/// so that the shelf can open under it.
struct ShelfDragTracker {
    struct Rect {
        double x = 0;
        double y = 0;
        double width = 0;
        double height = 0;

        /// True when (px, py) lies in the rectangle grown by `grownBy` on every side, edges included.
        bool contains(double px, double py, double grownBy) const;

        friend bool operator==(const Rect&, const Rect&) = default;
    };

    struct Point {
        double x = 0;
        double y = 0;
        friend bool operator==(const Point&, const Point&) = default;
    };

    enum class Event { none, dragStarted, enteredNotch, leftNotch, ended };

    /// A drag counts once the pointer has moved this far (points) from mouse-down: clicks that
    /// wobble by a pixel or two are not drags.
    static constexpr double defaultStartDistance = 6;
    /// The notch area grows by about its own height, so the tray opens as the item approaches.
    static constexpr double defaultReach = 32;

    double startDistance = defaultStartDistance;
    double reach = defaultReach;
    bool isDragging = false;
    bool isNearNotch = false;
    std::optional<std::int64_t> downCount{}; ///< drag pasteboard change count at mouse-down
    std::optional<Point> origin{};           ///< the mouse-down point

    void mouseDown(double x, double y, std::int64_t pasteboardChangeCount);

    /// `notches`: one rectangle per screen that has a notch.
    Event mouseDragged(double x, double y, std::int64_t pasteboardChangeCount, std::span<const Rect> notches);

    Event mouseUp();

    friend bool operator==(const ShelfDragTracker&, const ShelfDragTracker&) = default;
};

} // namespace brind
