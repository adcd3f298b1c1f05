#pragma once

#include "BrindKit/island/ActivityGlyph.hpp"
#include "BrindKit/island/Geometry.hpp"
#include "BrindKit/island/IslandState.hpp"
#include "BrindKit/island/LiveActivity.hpp"
#include "BrindKit/island/NotchMetrics.hpp"

#include <functional>
#include <optional>
#include <string_view>

namespace brind {

/// How big the island is in each state and where its window sits. Pure functions of the measured
/// housing and the user's choices; the island controller applies the results.
struct IslandLayout {
    /// The user's size choice.
    enum class Size { small, medium, large };

    /// Everything a size depends on; the controller republishes it only when it changes.
    struct Input {
        NotchMetrics metrics;
        /// A pill below the top bar instead of growing from a housing.
        bool floating = false;
        Size size = Size::medium;
        /// Added to the measured housing, for housings the measurement gets slightly wrong.
        double widthOffset = 0;
        double heightOffset = 0;

        friend bool operator==(const Input&, const Input&) = default;
    };

    /// Measures a text in the semibold system font of the given size; returns its width.
    using TextMeasure = std::function<double(std::string_view text, double fontSize)>;

    /// Sizes of the outward flares at the top corners.
    static constexpr double closedEar = 6;
    static constexpr double peekEar = 10;
    static constexpr double openEar = 14;
    /// Kept free beside (each side) and below the largest island for shadows and the opening spring.
    static constexpr SizeF windowMargin{90, 70};
    /// Gap between the top bar and a floating pill.
    static constexpr double floatingGap = 6;

    /// 0.88, 1.0, 1.13.
    static double scale(Size size);
    /// The floating pill's width: 132, 150, 169.
    static double pillWidth(Size size);

    static SizeF closed(const Input& input);
    /// The wider wing is used on both sides so the housing stays centred.
    static SizeF compact(const Input& input, double leading, double trailing);
    static SizeF peek(const Input& input);
    static SizeF expanded(const Input& input);
    static SizeF size(IslandState state, const Input& input, double leading, double trailing);

    /// From the top of the screen to a floating pill.
    static double floatingTop(const Input& input);
    /// The window's size, fixed for the largest island the screen can show.
    static SizeF window(const Input& input);
    /// The window in screen coordinates (origin bottom-left), centred and hanging from the top.
    static RectF windowFrame(const RectF& screen, const Input& input);
    /// The island inside the window (origin top-left).
    static RectF islandRect(SizeF size, SizeF window, const Input& input);
    /// The island in screen coordinates (origin bottom-left), grown by `slop` for hit-testing.
    static RectF screenRect(SizeF size, const RectF& screen, double slop, const Input& input);

    // How the controller sizes content.

    /// The side of a glyph's box: 36 when floating, else the housing height but at least 24.
    static double glyphSide(const Input& input);
    /// The point size of a text glyph's font.
    static double glyphFontSize(const Input& input);
    /// The width of the wing that shows `glyph`.
    static double wingWidth(const ActivityGlyph& glyph, const Input& input, const TextMeasure& measure);
    /// The (leading, trailing) wings for the compact island: the top activity's glyphs, or 36 each
    /// when there is none.
    static std::pair<double, double> compactWings(const LiveActivity* top, const Input& input,
                                                  const TextMeasure& measure);
    /// A closed island with a count badge beside the housing.
    static SizeF badged(const Input& input);
    /// The peek for an alert: room for the buttons of a critical activity with actions, and wider
    /// for a long title.
    static SizeF alertPeek(const LiveActivity& alert, const Input& input);
    /// Widens a peek to 7.4 points per character + 90, never beyond 520 (never narrower than given).
    static SizeF widenedForTitle(SizeF peek, std::string_view title);
    /// The header above the expanded content.
    static double headerHeight(const Input& input);
    /// Between the header and the expanded content, and below the content.
    static constexpr double headerGap = 6;
    static constexpr double contentBottomPadding = 16;
    /// The expanded island once its content has reported a height (96 until then).
    static SizeF expandedForContent(const Input& input, std::optional<double> contentHeight);
};

/// "small", "medium" or "large".
std::string_view name(IslandLayout::Size size);
std::optional<IslandLayout::Size> islandLayoutSizeNamed(std::string_view name);

} // namespace brind
