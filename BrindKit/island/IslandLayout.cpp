#include "BrindKit/island/IslandLayout.hpp"

#include "BrindKit/foundation/EnumTable.hpp"
#include "BrindKit/foundation/Overloaded.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace brind {

namespace {

constexpr double minimumClosedWidth = 60;
constexpr double minimumClosedHeight = 20;
constexpr double floatingClosedHeight = 32;
constexpr double floatingCompactHeight = 36;
/// Room a floating compact pill keeps between and around its two wings.
constexpr double floatingCompactPadding = 64 + 24;
constexpr double peekExtraHeight = 36;
constexpr double floatingPeekHeight = 54;
constexpr double peekExtraWidth = 120;
constexpr double peekMinimumWidth = 330;
constexpr double expandedWidth = 640;
constexpr double expandedExtraHeight = 232;
constexpr double expandedMinimumGrowth = 200;
constexpr double floatingExpandedBase = 8;

constexpr double floatingGlyphSide = 36;
constexpr double minimumGlyphSide = 24;
constexpr double glyphFontInset = 9;
constexpr double glyphFontRatio = 0.55;
constexpr double glyphFontMinimum = 10;
constexpr double glyphFontMaximum = 13;
constexpr double textWingPadding = 22;
constexpr double textWingMaximum = 150;
constexpr double visualiserPadding = 10;
constexpr double glyphPadding = 6;
constexpr double emptyCompactWing = 36;

constexpr double badgeWidth = 52;
constexpr double floatingBadgeWidth = 30;
constexpr double alertExtraWidth = 240;
constexpr double alertMaximumWidth = 460;
constexpr double alertExtraHeight = 84;
constexpr SizeF floatingAlertPeek{440, 104};
constexpr double titlePointsPerCharacter = 7.4;
constexpr double titlePadding = 90;
constexpr double titleMaximumWidth = 520;

constexpr double floatingHeaderHeight = 34;
constexpr double minimumHeaderHeight = 28;
constexpr double defaultContentHeight = 96;

/// The housing with the user's offsets, at least 60 by 20.
SizeF housing(const IslandLayout::Input& input) {
    return {std::max(input.metrics.size.width + input.widthOffset, minimumClosedWidth),
            std::max(input.metrics.size.height + input.heightOffset, minimumClosedHeight)};
}

struct SizeRow {
    IslandLayout::Size value;
    std::string_view name;
    double scale;
    double pillWidth;
};

constexpr auto sizeRows = std::to_array<SizeRow>({
    {IslandLayout::Size::small, "small", 0.88, 132},
    {IslandLayout::Size::medium, "medium", 1.0, 150},
    {IslandLayout::Size::large, "large", 1.13, 169},
});
static_assert(EnumTable::coversEveryCase(sizeRows));

} // namespace

std::string_view name(IslandLayout::Size size) {
    return EnumTable::row(sizeRows, size).name;
}

std::optional<IslandLayout::Size> islandLayoutSizeNamed(std::string_view text) {
    return EnumTable::named(sizeRows, text);
}

double IslandLayout::scale(Size size) {
    return EnumTable::row(sizeRows, size).scale;
}

double IslandLayout::pillWidth(Size size) {
    return EnumTable::row(sizeRows, size).pillWidth;
}

SizeF IslandLayout::closed(const Input& input) {
    if (input.floating)
        return {pillWidth(input.size), floatingClosedHeight};
    return housing(input);
}

SizeF IslandLayout::compact(const Input& input, double leading, double trailing) {
    if (input.floating)
        return {std::max(pillWidth(input.size), leading + trailing + floatingCompactPadding),
                floatingCompactHeight};
    const SizeF base = closed(input);
    return {base.width + 2 * std::max(leading, trailing), base.height};
}

SizeF IslandLayout::peek(const Input& input) {
    const SizeF base = input.floating ? SizeF{pillWidth(input.size), floatingPeekHeight}
                                      : SizeF{housing(input).width, housing(input).height + peekExtraHeight};
    const double minimum = peekMinimumWidth * scale(input.size);
    return {std::round(std::max(base.width + peekExtraWidth, minimum)), base.height};
}

SizeF IslandLayout::expanded(const Input& input) {
    const double s = scale(input.size);
    double width = std::round(s * expandedWidth);
    if (!input.floating)
        width = std::max(width, closed(input).width + expandedMinimumGrowth);
    const double base = input.floating ? floatingExpandedBase : closed(input).height;
    return {width, base + std::round(s * expandedExtraHeight)};
}

SizeF IslandLayout::size(IslandState state, const Input& input, double leading, double trailing) {
    switch (state) {
    case IslandState::closed:
        return closed(input);
    case IslandState::peek:
        return peek(input);
    case IslandState::compact:
        return compact(input, leading, trailing);
    case IslandState::expanded:
        return expanded(input);
    }
    std::unreachable();
}

double IslandLayout::floatingTop(const Input& input) {
    return input.metrics.menuBarHeight + floatingGap;
}

SizeF IslandLayout::window(const Input& input) {
    Input largest = input;
    largest.size = Size::large;
    largest.widthOffset = std::max(0.0, input.widthOffset);
    largest.heightOffset = std::max(0.0, input.heightOffset);
    const SizeF island = expanded(largest);
    // Even, so that the island centres on a whole point.
    const double width = 2 * std::ceil((island.width + 2 * windowMargin.width) / 2);
    double height = island.height + windowMargin.height;
    if (input.floating)
        height += floatingTop(input);
    return {width, height};
}

RectF IslandLayout::windowFrame(const RectF& screen, const Input& input) {
    const SizeF size = window(input);
    return {std::round(screen.midX() - size.width / 2), screen.maxY() - size.height, size.width, size.height};
}

RectF IslandLayout::islandRect(SizeF size, SizeF window, const Input& input) {
    return {std::round((window.width - size.width) / 2), input.floating ? floatingTop(input) : 0, size.width,
            size.height};
}

RectF IslandLayout::screenRect(SizeF size, const RectF& screen, double slop, const Input& input) {
    const RectF frame = windowFrame(screen, input);
    const RectF inWindow = islandRect(size, frame.size(), input);
    // The window's y runs downward from its top edge; the screen's runs upward from its bottom.
    const RectF onScreen{frame.x + inWindow.x, frame.maxY() - inWindow.y - inWindow.height, size.width,
                         size.height};
    return onScreen.outset(slop);
}

double IslandLayout::glyphSide(const Input& input) {
    if (input.floating)
        return floatingGlyphSide;
    return std::max(input.metrics.size.height, minimumGlyphSide);
}

double IslandLayout::glyphFontSize(const Input& input) {
    return std::clamp((glyphSide(input) - glyphFontInset) * glyphFontRatio, glyphFontMinimum,
                      glyphFontMaximum);
}

double IslandLayout::wingWidth(const ActivityGlyph& glyph, const Input& input, const TextMeasure& measure) {
    const double side = glyphSide(input);
    return std::visit(Overloaded{
                          [](const ActivityGlyph::None&) { return 0.0; },
                          [&](const ActivityGlyph::Text& text) {
                              const double measured = measure ? measure(text.text, glyphFontSize(input)) : 0;
                              return std::min(std::ceil(measured) + textWingPadding, textWingMaximum);
                          },
                          [&](const ActivityGlyph::Visualiser&) { return side + visualiserPadding; },
                          // Every other glyph is drawn in a square box.
                          [&](const auto&) { return side + glyphPadding; },
                      },
                      glyph.value);
}

std::pair<double, double> IslandLayout::compactWings(const LiveActivity* top, const Input& input,
                                                     const TextMeasure& measure) {
    if (!top)
        return {emptyCompactWing, emptyCompactWing};
    return {wingWidth(top->leading, input, measure), wingWidth(top->trailing, input, measure)};
}

SizeF IslandLayout::badged(const Input& input) {
    const SizeF base = closed(input);
    return {base.width + (input.floating ? floatingBadgeWidth : badgeWidth), base.height};
}

SizeF IslandLayout::alertPeek(const LiveActivity& alert, const Input& input) {
    SizeF size = peek(input);
    if (alert.priority == ActivityPriority::critical && !alert.actions.empty()) {
        if (input.floating) {
            size = floatingAlertPeek;
        } else {
            const SizeF base = closed(input);
            size = {std::min(base.width + alertExtraWidth, alertMaximumWidth),
                    base.height + alertExtraHeight};
        }
    }
    return widenedForTitle(size, alert.title);
}

SizeF IslandLayout::widenedForTitle(SizeF peek, std::string_view title) {
    const double wanted =
        titlePointsPerCharacter * static_cast<double>(Text::graphemeCount(title)) + titlePadding;
    return {std::max(peek.width, std::min(wanted, titleMaximumWidth)), peek.height};
}

double IslandLayout::headerHeight(const Input& input) {
    if (input.floating)
        return floatingHeaderHeight;
    return std::max(input.metrics.size.height + input.heightOffset, minimumHeaderHeight);
}

SizeF IslandLayout::expandedForContent(const Input& input, std::optional<double> contentHeight) {
    return {expanded(input).width, headerHeight(input) + headerGap +
                                       contentHeight.value_or(defaultContentHeight) + contentBottomPadding};
}

} // namespace brind
