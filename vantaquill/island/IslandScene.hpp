#pragma once

#include "BrindKit/island/HUDEvent.hpp"
#include "BrindKit/island/IslandState.hpp"
#include "BrindKit/island/LiveActivity.hpp"

#include <QRectF>

#include <optional>

namespace vq {

/// Everything the island view paints in one frame: a snapshot the controller fills from the activity
/// queue, the layout numbers and the running animation. The view reads nothing else (no clock, no
/// service), so a frame is a pure function of its scene.
struct IslandScene {
    /// The state the island is in or moving to.
    brind::IslandState state = brind::IslandState::closed;
    /// The outline's rectangle in surface coordinates, and its ear, top and bottom radii, as the
    /// animation has them in this frame.
    QRectF outline;
    double ear = 0;
    double topRadius = 0;
    double bottomRadius = 0;
    /// 0 while the face of `state` starts to appear, 1 once it has settled; faces fade and scale in.
    double faceProgress = 1;

    /// Floating pill (no camera housing), and the housing's size when there is one: wings and
    /// texts are drawn beside the housing, never under it.
    bool floating = true;
    QSizeF housing;

    /// Compact: the top activity, whose leading and trailing glyphs fill the wings, and the wing
    /// widths the layout gave them.
    std::optional<brind::LiveActivity> top;
    double leadingWing = 0;
    double trailingWing = 0;
    /// The count shown beside the housing when more activities wait behind the top one.
    std::optional<int> badge;

    /// Peek: the alert of a critical activity (with its action buttons), or a HUD flash.
    std::optional<brind::LiveActivity> alert;
    std::optional<brind::HUDEvent> hud;

    /// Expanded: the header's height and the height the content reported.
    double headerHeight = 0;
    std::optional<double> contentHeight;

    /// Seconds on a monotonic clock, for spinners and visualisers; the controller only keeps
    /// frames coming while one of them is visible.
    double time = 0;

    friend bool operator==(const IslandScene&, const IslandScene&) = default;
};

} // namespace vq
