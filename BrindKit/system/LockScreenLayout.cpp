#include "BrindKit/system/LockScreenLayout.hpp"

#include <algorithm>
#include <cmath>

namespace brind {

RectF LockScreenLayout::widgetsFrame(const RectF& screen, LockPosition position) {
    const double width = std::min(screen.width - screenInset, widgetsSize.width);
    const double x = std::round(screen.midX() - width / 2);
    const double top = screen.maxY();
    const double height = screen.height;
    switch (position) {
    case LockPosition::clock: {
        const double t = top - std::round(height * widgetsTopFraction);
        const double lowest = top - std::round(height * widgetsBottomLimit);
        const double h = std::max(std::min(t - lowest, widgetsSize.height), minimumWidgetsHeight);
        return {x, t - h, width, h};
    }
    case LockPosition::bottom: {
        const double b = top - std::round(height * widgetsLowerBottomFraction);
        const double highest = top - std::round(height * widgetsCeiling);
        const double h = std::max(std::min(highest - b, widgetsSize.height), minimumWidgetsHeight);
        return {x, b, width, h};
    }
    }
    std::unreachable();
}

SizeF LockScreenLayout::notchShape(const IslandLayout::Input& input, bool expanded) {
    if (!expanded)
        return IslandLayout::closed(input);
    if (input.floating)
        return floatingExpandedNotch;
    const SizeF closed = IslandLayout::closed(input);
    return {closed.width + 2 * wing, closed.height};
}

std::optional<std::size_t> LockScreenLayout::widgetsScreen(const std::vector<bool>& builtIn) {
    if (builtIn.empty())
        return std::nullopt;
    const auto found = std::find(builtIn.begin(), builtIn.end(), true);
    if (found == builtIn.end())
        return 0;
    return static_cast<std::size_t>(found - builtIn.begin());
}

} // namespace brind
