#include "BrindKit/island/IslandPath.hpp"

#include "BrindKit/island/IslandLayout.hpp"

#include <algorithm>
#include <utility>

namespace brind {

namespace {

/// Control points at this fraction of the radius make corners flatter than a circle.
constexpr double cornerControl = 0.4;
constexpr double minimumDrawableSide = 1;
constexpr double closedRadiusDivisor = 3;
constexpr double closedRadiusMaximum = 10;
constexpr double peekRadiusDivisor = 2.4;
constexpr double compactRadiusDivisor = 2.6;
constexpr double compactRadiusMaximum = 12;
constexpr double expandedRadiusExtra = 8;
constexpr double floatingExpandedRadiusExtra = 10;

} // namespace

double IslandPath::bottomRadius(IslandState state, double height, bool floating, double base) {
    if (floating)
        return state == IslandState::expanded ? base + floatingExpandedRadiusExtra : height / 2;
    switch (state) {
    case IslandState::closed:
        return std::min(height / closedRadiusDivisor, closedRadiusMaximum);
    case IslandState::peek:
        return std::min(height / peekRadiusDivisor, base);
    case IslandState::compact:
        return std::min(height / compactRadiusDivisor, compactRadiusMaximum);
    case IslandState::expanded:
        return base + expandedRadiusExtra;
    }
    std::unreachable();
}

IslandPath::Corners IslandPath::corners(IslandState state, double height, bool floating, double base) {
    const double bottom = bottomRadius(state, height, floating, base);
    if (floating)
        return {0, bottom, bottom};
    switch (state) {
    case IslandState::expanded:
        return {IslandLayout::openEar, 0, bottom};
    case IslandState::peek:
        return {IslandLayout::peekEar, 0, bottom};
    case IslandState::closed:
    case IslandState::compact:
        return {IslandLayout::closedEar, 0, bottom};
    }
    std::unreachable();
}

IslandPath IslandPath::make(const RectF& rect, double ear, double top, double bottom) {
    const double width = rect.width;
    const double height = rect.height;
    if (!(width > minimumDrawableSide) || !(height > minimumDrawableSide))
        return {};

    const double e = std::max(0.0, std::min({ear, width / 4, height / 2}));
    const double b = std::max(0.0, std::min({bottom, (width - 2 * e) / 2, height - e}));
    const double t = e > 0 ? 0 : std::max(0.0, std::min({top, (width - 2 * e) / 2, height / 2}));
    const double k = cornerControl;

    const double left = rect.minX();
    const double right = rect.maxX();
    const double upper = rect.minY();
    const double lower = rect.maxY();

    IslandPath path;
    auto& out = path.elements;
    out.push_back(MoveTo{{rect.midX(), upper}});
    if (e > 0) {
        // The outline flares outward into the top bar.
        out.push_back(LineTo{{left, upper}});
        out.push_back(QuadTo{{left + e, upper}, {left + e, upper + e}});
    } else {
        out.push_back(LineTo{{left + t, upper}});
        out.push_back(CubicTo{{left + k * t, upper}, {left, upper + k * t}, {left, upper + t}});
    }

    out.push_back(LineTo{{left + e, lower - b}});
    out.push_back(CubicTo{{left + e, lower - k * b}, {left + e + k * b, lower}, {left + e + b, lower}});

    out.push_back(LineTo{{right - e - b, lower}});
    out.push_back(CubicTo{{right - e - k * b, lower}, {right - e, lower - k * b}, {right - e, lower - b}});

    if (e > 0) {
        out.push_back(LineTo{{right - e, upper + e}});
        out.push_back(QuadTo{{right - e, upper}, {right, upper}});
    } else {
        out.push_back(LineTo{{right, upper + t}});
        out.push_back(CubicTo{{right, upper + k * t}, {right - k * t, upper}, {right - t, upper}});
    }
    out.push_back(Close{});
    return path;
}

} // namespace brind
