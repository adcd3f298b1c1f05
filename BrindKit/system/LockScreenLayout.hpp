#pragma once

#include "BrindKit/island/Geometry.hpp"
#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/system/LockPosition.hpp"

#include <cstddef>
#include <optional>
#include <vector>

namespace brind {

/// Where the lock-screen widgets go and how big the lock-screen notch is, in points.
struct LockScreenLayout {
    /// The widget block at its largest.
    static constexpr SizeF widgetsSize{640, 340};
    /// The width the widget views lay their content out in, inside the block.
    static constexpr double contentWidth = 580;
    /// Below the clock: the block's top edge, and the lowest its bottom edge may reach, as fractions
    /// of the screen height measured from the top.
    static constexpr double widgetsTopFraction = 0.33;
    static constexpr double widgetsBottomLimit = 0.74;
    /// Low on the screen: the block's bottom edge, and the highest its top may reach.
    static constexpr double widgetsLowerBottomFraction = 0.76;
    static constexpr double widgetsCeiling = 0.3;
    /// What the expanded notch adds on each side of the housing for the lock glyph.
    static constexpr double wing = 46;
    /// The padding of the notch's content, horizontal and vertical.
    static constexpr SizeF notchMargin{24, 18};

    /// Kept free between the block and the screen's sides, in total.
    static constexpr double screenInset = 40;
    /// The block never gets shorter than this, however small the screen.
    static constexpr double minimumWidgetsHeight = 120;
    /// The expanded notch when the island floats below the top bar.
    static constexpr SizeF floatingExpandedNotch{180, 36};

    /// The widget block's frame in screen coordinates (origin bottom-left).
    static RectF widgetsFrame(const RectF& screen, LockPosition position);

    /// The lock-screen notch: the closed island, or wide enough for the lock glyph's wings.
    static SizeF notchShape(const IslandLayout::Input& input, bool expanded);

    /// The screen for the widgets, given for each screen whether it is the built-in display: the
    /// first built-in one, else the first; nothing without screens.
    static std::optional<std::size_t> widgetsScreen(const std::vector<bool>& builtIn);
};

} // namespace brind
