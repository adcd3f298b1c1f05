#pragma once

#include "BrindKit/island/HUDEvent.hpp"
#include "BrindKit/island/HUDSteps.hpp"
#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/island/LiveActivity.hpp"
#include "vantaquill/island/IslandScene.hpp"

#include <QRectF>

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace vq {

/// Where each part of a face lies in surface coordinates, worked out from the scene alone. Painting
/// and hit-testing both read these rectangles, so a button is clicked exactly where it is drawn.
struct FaceLayout {
    /// The compact wings: each glyph is drawn centred in its rectangle, beside the housing.
    struct Wings {
        QRectF leading;
        QRectF trailing;
    };

    /// An alert peek: a row with the leading glyph, title and subtitle and the trailing glyph, and
    /// below it the action buttons of a critical activity.
    struct Alert {
        QRectF leading;
        QRectF title;
        QRectF subtitle;
        QRectF trailing;
        std::vector<QRectF> buttons;
    };

    /// A HUD peek: symbol, caption, the level bar's segments and the percentage.
    struct HUD {
        QRectF symbol;
        QRectF label;
        std::array<QRectF, brind::HUDSteps::barSegments> segments;
        QRectF percent;
    };

    /// The expanded panel: its header (leading glyph and title on one side of the housing, trailing
    /// glyph on the other) and the content area below it.
    struct Header {
        QRectF leading;
        QRectF title;
        QRectF trailing;
        QRectF content;
    };

    /// The layout input the scene implies (its housing and whether the island floats).
    static brind::IslandLayout::Input input(const IslandScene& scene);
    /// The side of a compact glyph's box, and the size of a text glyph's font.
    static double glyphSide(const IslandScene& scene);
    static double glyphFontSize(const IslandScene& scene);

    /// The outline without its ears: the flares at the top corners are not room for content.
    static QRectF body(const IslandScene& scene);
    /// The camera housing, centred at the top of the outline; empty when floating.
    static QRectF housing(const IslandScene& scene);
    /// The part of the body below the housing (all of it when floating).
    static QRectF belowHousing(const IslandScene& scene);

    static Wings wings(const IslandScene& scene);
    /// The count badge's capsule, when the scene has a badge and the face has room for it.
    static std::optional<QRectF> badge(const IslandScene& scene);
    /// The badge's text: the count, or "99+" beyond 99 (a badge has the room of two digits).
    static std::string badgeText(int count);
    static constexpr int maximumBadgeCount = 99;
    /// Whether the alert shows action buttons: only a critical activity with actions gets the room.
    static bool showsButtons(const brind::LiveActivity& alert);
    static Alert alert(const IslandScene& scene, const brind::LiveActivity& alert);
    static HUD hud(const IslandScene& scene, const brind::HUDEvent& event);
    static Header header(const IslandScene& scene);

    /// Sizes shared with the painter.
    static constexpr double rowGlyphSide = 24;
    static constexpr double headerGlyphSide = 20;
    static constexpr double buttonHeight = 28;
    static constexpr double buttonGap = 8;
    static constexpr double horizontalPadding = 16;
    static constexpr double hudFontSize = 12;
    static constexpr double titleFontSize = 13;
    static constexpr double subtitleFontSize = 11;
    static constexpr double buttonFontSize = 12;
    static constexpr double badgeFontSize = 11;
};

} // namespace vq
