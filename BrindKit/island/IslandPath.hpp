#pragma once

#include "BrindKit/island/Geometry.hpp"
#include "BrindKit/island/IslandState.hpp"

#include <variant>
#include <vector>

namespace brind {

/// The island's outline as a list of drawing elements that a painter replays in order. Coordinates
/// grow downward: the flat top edge lies at the rectangle's minimum y.
struct IslandPath {
    struct MoveTo {
        PointF to;
        friend bool operator==(const MoveTo&, const MoveTo&) = default;
    };
    struct LineTo {
        PointF to;
        friend bool operator==(const LineTo&, const LineTo&) = default;
    };
    struct QuadTo {
        PointF control;
        PointF to;
        friend bool operator==(const QuadTo&, const QuadTo&) = default;
    };
    struct CubicTo {
        PointF control1;
        PointF control2;
        PointF to;
        friend bool operator==(const CubicTo&, const CubicTo&) = default;
    };
    struct Close {
        friend bool operator==(const Close&, const Close&) = default;
    };
    using Element = std::variant<MoveTo, LineTo, QuadTo, CubicTo, Close>;

    /// The flare and corner radii of one state.
    struct Corners {
        double ear = 0;
        double top = 0;
        double bottom = 0;
        friend bool operator==(const Corners&, const Corners&) = default;
    };

    /// The user's corner radius when nothing is set ("island.cornerRadius").
    static constexpr double defaultCornerRadius = 22;

    std::vector<Element> elements;

    bool isEmpty() const { return elements.empty(); }

    /// The lower corners' radius for a state; `base` is the user's corner radius.
    static double bottomRadius(IslandState state, double height, bool floating, double base);

    /// Ear, top and bottom for a state: a housing island flares into the top bar (14 when expanded,
    /// 10 as a peek, 6 otherwise) with square top corners; a floating pill has no ears and rounds
    /// its top corners like its bottom ones.
    static Corners corners(IslandState state, double height, bool floating, double base);

    /// The outline in `rect`: ears flaring outward at the top corners (or rounded top corners when
    /// there are none) and rounded bottom corners. Cubic corners use control points at 0.4 of the
    /// radius, flatter than circular arcs on purpose. Empty for a rectangle 1 point wide or high or less.
    static IslandPath make(const RectF& rect, double ear, double top, double bottom);

    friend bool operator==(const IslandPath&, const IslandPath&) = default;
};

} // namespace brind
