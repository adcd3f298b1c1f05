#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/island/IslandPath.hpp"
#include "BrindKit/island/NotchMetrics.hpp"

#include <gtest/gtest.h>

using namespace brind;
using Input = IslandLayout::Input;
using LayoutSize = IslandLayout::Size;
using P = PointF;

namespace {

Input housing(double width = 185, double height = 32) {
    Input input;
    input.metrics = NotchMetrics{true, SizeF{width, height}, height};
    return input;
}

Input floating(LayoutSize size = LayoutSize::medium, double menuBar = 24) {
    Input input;
    input.metrics = NotchMetrics{false, SizeF{}, menuBar};
    input.floating = true;
    input.size = size;
    return input;
}

/// The default housing with the user's offsets.
Input offset(double width, double height) {
    Input input = housing();
    input.widthOffset = width;
    input.heightOffset = height;
    return input;
}

/// Eight points per byte of text: enough to tell measured widths apart.
double measure(std::string_view text, double) {
    return 8.0 * static_cast<double>(text.size());
}

} // namespace

TEST(IslandLayout, EachStateSizeFollowsTheHousingOrTheFloatingSize) {
    EXPECT_EQ(IslandLayout::closed(housing()), (SizeF{185, 32}));
    EXPECT_EQ(IslandLayout::closed(offset(10, 2)), (SizeF{195, 34}));
    EXPECT_EQ(IslandLayout::closed(offset(-500, -100)), (SizeF{60, 20}));
    EXPECT_EQ(IslandLayout::closed(floating(LayoutSize::small)), (SizeF{132, 32}));
    EXPECT_EQ(IslandLayout::closed(floating(LayoutSize::large)), (SizeF{169, 32}));
    EXPECT_EQ(IslandLayout::compact(housing(), 40, 10), (SizeF{265, 32}));
    EXPECT_EQ(IslandLayout::compact(housing(), 10, 40), (SizeF{265, 32}));
    EXPECT_EQ(IslandLayout::compact(floating(), 20, 20), (SizeF{150, 36}));
    EXPECT_EQ(IslandLayout::compact(floating(), 40, 50), (SizeF{178, 36}));
    EXPECT_EQ(IslandLayout::peek(floating(LayoutSize::small)), (SizeF{290, 54}));
    EXPECT_EQ(IslandLayout::peek(housing()), (SizeF{330, 68}));
    EXPECT_EQ(IslandLayout::peek(housing(250, 37.5)), (SizeF{370, 73.5})) << "the height is not rounded";
    EXPECT_EQ(IslandLayout::expanded(housing()), (SizeF{640, 264}));
    EXPECT_EQ(IslandLayout::expanded(housing(500, 32)), (SizeF{700, 264}))
        << "at least 200 wider than closed";
    EXPECT_EQ(IslandLayout::expanded(floating(LayoutSize::small)), (SizeF{563, 8 + 204}));
    // The expanded height follows its content.
    EXPECT_EQ(IslandLayout::expandedForContent(housing(), std::nullopt), (SizeF{640, 32 + 6 + 96 + 16}));
    EXPECT_EQ(IslandLayout::expandedForContent(housing(185, 20), 200), (SizeF{640, 28 + 6 + 200 + 16}));
    EXPECT_EQ(IslandLayout::expandedForContent(floating(), 50), (SizeF{640, 34 + 6 + 50 + 16}));
    EXPECT_EQ(IslandLayout::headerHeight(offset(0, 4)), 36);
}

TEST(IslandLayout, WindowFitsTheLargestIslandAndHoldsItAtTheTop) {
    // Large expanded over 185 x 32 is 723 x 294: width 2 x ceil(903 / 2) = 904, height 294 + 70.
    EXPECT_EQ(IslandLayout::window(housing()), (SizeF{904, 364}));
    EXPECT_EQ(IslandLayout::window(offset(-40, -10)), IslandLayout::window(housing()));
    EXPECT_EQ(IslandLayout::window(offset(0, 4)), (SizeF{904, 368}));
    // Floating: 723 x (8 + 262), plus the top bar and its gap.
    EXPECT_EQ(IslandLayout::window(floating(LayoutSize::small, 24)), (SizeF{904, 270 + 70 + 30}));

    const RectF screen{100, 0, 1511, 982};
    const Input input = housing();
    const RectF frame = IslandLayout::windowFrame(screen, input);
    EXPECT_EQ(frame, (RectF{std::round(855.5 - 452), 982 - 364, 904, 364}));

    const SizeF island{265, 32};
    EXPECT_EQ(IslandLayout::islandRect(island, frame.size(), input), (RectF{320, 0, 265, 32}));
    EXPECT_EQ(IslandLayout::islandRect(island, frame.size(), floating()), (RectF{320, 30, 265, 32}));

    // On screen the island hangs from the top edge, centred, grown by the slop.
    const RectF hit = IslandLayout::screenRect(island, screen, 4, input);
    EXPECT_EQ(hit, (RectF{frame.x + 320 - 4, 982 - 32 - 4, 265 + 8, 32 + 8}));
    const RectF pill = IslandLayout::screenRect(SizeF{150, 32}, screen, 0, floating());
    EXPECT_EQ(pill.maxY(), 982 - 30);
}

TEST(IslandLayout, WingWidthsDependOnTheGlyphOfTheTopActivity) {
    const Input input = housing(185, 32);
    const std::pair<ActivityGlyph, double> cases[] = {
        {ActivityGlyph::none(), 0},
        {ActivityGlyph::visualiser(), 42},
        {ActivityGlyph::symbol("timer"), 38},
        {ActivityGlyph::text("4:05"), 32 + 22},
        {ActivityGlyph::text(std::string(40, 'x')), 150},
    };
    for (const auto& [glyph, width] : cases)
        EXPECT_EQ(IslandLayout::wingWidth(glyph, input, measure), width) << glyph.toJSON().dump();

    EXPECT_EQ(IslandLayout::glyphSide(housing(185, 20)), 24);
    EXPECT_EQ(IslandLayout::wingWidth(ActivityGlyph::spinner(), floating(), measure), 42);
    // Compact wings come from the top activity.
    EXPECT_EQ(IslandLayout::compactWings(nullptr, input, measure), (std::pair{36.0, 36.0}));
    LiveActivity top;
    top.leading = ActivityGlyph::visualiser();
    top.trailing = ActivityGlyph::text("42s");
    EXPECT_EQ(IslandLayout::compactWings(&top, input, measure), (std::pair{42.0, 46.0}));
}

TEST(IslandLayout, TextGlyphFontSizeIsClamped) {
    EXPECT_EQ(IslandLayout::glyphFontSize(housing(185, 24)), 10); // (24 - 9) x 0.55 = 8.25
    EXPECT_DOUBLE_EQ(IslandLayout::glyphFontSize(housing(185, 30)), 11.55);
    EXPECT_EQ(IslandLayout::glyphFontSize(floating()), 13); // 14.85
    double seenSize = 0;
    const auto measured = [&](std::string_view, double size) {
        seenSize = size;
        return 10.2;
    };
    // The measured width is rounded up before the padding is added.
    EXPECT_EQ(IslandLayout::wingWidth(ActivityGlyph::text("1h 5m"), housing(185, 30), measured), 11 + 22);
    EXPECT_DOUBLE_EQ(seenSize, 11.55);
}

TEST(IslandLayout, BadgesAndAlertsWidenTheIsland) {
    EXPECT_EQ(IslandLayout::badged(housing()), (SizeF{237, 32}));
    EXPECT_EQ(IslandLayout::badged(floating()), (SizeF{180, 32}));

    LiveActivity alert;
    alert.title = "Short";
    alert.priority = ActivityPriority::critical;
    EXPECT_EQ(IslandLayout::alertPeek(alert, housing()), IslandLayout::peek(housing()))
        << "no actions, no buttons";
    alert.actions.push_back({"ok", "OK", ActivityAction::Role::primary, std::nullopt});
    EXPECT_EQ(IslandLayout::alertPeek(alert, housing()), (SizeF{425, 116}));
    EXPECT_EQ(IslandLayout::alertPeek(alert, housing(300, 32)), (SizeF{460, 116}));
    EXPECT_EQ(IslandLayout::alertPeek(alert, floating()), (SizeF{440, 104}));
    alert.priority = ActivityPriority::important;
    EXPECT_EQ(IslandLayout::alertPeek(alert, housing()), IslandLayout::peek(housing()));

    // 40 characters: 7.4 x 40 + 90 = 386; 100 characters would be 830, held at 520.
    EXPECT_DOUBLE_EQ(IslandLayout::widenedForTitle({330, 68}, std::string(40, 'a')).width, 386);
    EXPECT_EQ(IslandLayout::widenedForTitle({330, 68}, std::string(100, 'a')), (SizeF{520, 68}));
    EXPECT_EQ(IslandLayout::widenedForTitle({600, 68}, std::string(100, 'a')), (SizeF{600, 68}));
    // Characters are what the reader sees: five flags are five, not twenty code points.
    const std::string flags =
        "\U0001F1EB\U0001F1F7\U0001F1EB\U0001F1F7\U0001F1EB\U0001F1F7\U0001F1EB\U0001F1F7"
        "\U0001F1EB\U0001F1F7";
    EXPECT_EQ(IslandLayout::widenedForTitle({100, 54}, flags).width, 7.4 * 5 + 90);
}

TEST(NotchMetrics, MeasuresAPlausibleHousingBetweenTheFreeAreas) {
    const NotchMetrics metrics = NotchMetrics::compute(1512, 32.4, 663.6, 663.2, 24);
    EXPECT_EQ(metrics, (NotchMetrics{true, SizeF{185, 32}, 32.4}));
}

TEST(NotchMetrics, AnythingImplausibleIsNoHousing) {
    struct Case {
        double safeTop;
        std::optional<double> left;
        std::optional<double> right;
        double menuBar;
        double expectedMenuBar;
    };
    const Case cases[] = {
        {0, 700, 700, 22, 24},                                   // no inset
        {32, std::nullopt, 700, 30, 30},                         // a missing width
        {32, 700, std::nullopt, 24, 24}, {32, 730, 730, 22, 24}, // exactly 40 wide
        {32, 370, 370, 22, 24},                                  // exactly half the screen
        {32, 300, 300, 22, 24},                                  // wider than half
        {-1, 600, 600, 26, 26},
    };
    for (const auto& [safeTop, left, right, menuBar, expectedMenuBar] : cases) {
        const NotchMetrics metrics = NotchMetrics::compute(1500, safeTop, left, right, menuBar);
        EXPECT_EQ(metrics, (NotchMetrics{false, SizeF{0, 0}, expectedMenuBar}))
            << safeTop << " " << left.value_or(-1) << " " << right.value_or(-1);
    }
}

TEST(IslandPath, CornersPerStateAndMode) {
    using C = IslandPath::Corners;
    struct Case {
        IslandState state;
        double height;
        bool floating;
        C corners;
    };
    // Housing radii follow the height up to a cap, so closed, peek and compact each have a row on
    // both sides of theirs.
    const Case cases[] = {
        {IslandState::closed, 24, false, C{6, 0, 8}},      {IslandState::closed, 36, false, C{6, 0, 10}},
        {IslandState::peek, 48, false, C{10, 0, 20}},      {IslandState::peek, 68, false, C{10, 0, 22}},
        {IslandState::compact, 26, false, C{6, 0, 10}},    {IslandState::compact, 32, false, C{6, 0, 12}},
        {IslandState::expanded, 264, false, C{14, 0, 30}}, {IslandState::expanded, 240, true, C{0, 32, 32}},
        {IslandState::closed, 32, true, C{0, 16, 16}},     {IslandState::compact, 36, true, C{0, 18, 18}},
        {IslandState::peek, 54, true, C{0, 27, 27}},
    };
    for (const auto& [state, height, floating, corners] : cases)
        EXPECT_EQ(IslandPath::corners(state, height, floating, IslandPath::defaultCornerRadius), corners)
            << name(state) << " " << height << (floating ? " floating" : "");
}

TEST(IslandPath, OutlineWithEarsFlaresIntoTheTopBar) {
    const IslandPath path = IslandPath::make(RectF{10, 0, 200, 40}, 6, 99, 12);
    const std::vector<IslandPath::Element> expected{
        IslandPath::MoveTo{P{110, 0}},
        IslandPath::LineTo{P{10, 0}},
        IslandPath::QuadTo{P{16, 0}, P{16, 6}},
        IslandPath::LineTo{P{16, 28}},
        IslandPath::CubicTo{P{16, 40 - 4.8}, P{16 + 4.8, 40}, P{28, 40}},
        IslandPath::LineTo{P{210 - 6 - 12, 40}},
        IslandPath::CubicTo{P{210 - 6 - 4.8, 40}, P{204, 40 - 4.8}, P{204, 28}},
        IslandPath::LineTo{P{204, 6}},
        IslandPath::QuadTo{P{204, 0}, P{210, 0}},
        IslandPath::Close{},
    };
    EXPECT_EQ(path.elements, expected);
}

TEST(IslandPath, OutlineWithoutEarsRoundsTheTopCorners) {
    const IslandPath path = IslandPath::make(RectF{0, 30, 150, 32}, 0, 16, 16);
    const std::vector<IslandPath::Element> expected{
        IslandPath::MoveTo{P{75, 30}},
        IslandPath::LineTo{P{16, 30}},
        IslandPath::CubicTo{P{6.4, 30}, P{0, 36.4}, P{0, 46}},
        IslandPath::LineTo{P{0, 46}},
        IslandPath::CubicTo{P{0, 62 - 6.4}, P{6.4, 62}, P{16, 62}},
        IslandPath::LineTo{P{134, 62}},
        IslandPath::CubicTo{P{150 - 6.4, 62}, P{150, 62 - 6.4}, P{150, 46}},
        IslandPath::LineTo{P{150, 46}},
        IslandPath::CubicTo{P{150, 36.4}, P{150 - 6.4, 30}, P{134, 30}},
        IslandPath::Close{},
    };
    EXPECT_EQ(path.elements, expected);
}

TEST(IslandPath, ClampsEarsAndRadiiToTheRectangle) {
    EXPECT_TRUE(IslandPath::make(RectF{0, 0, 1, 40}, 6, 0, 10).isEmpty());
    EXPECT_TRUE(IslandPath::make(RectF{0, 0, 40, 0.5}, 6, 0, 10).isEmpty());
    EXPECT_FALSE(IslandPath::make(RectF{0, 0, 1.5, 1.5}, 6, 0, 10).isEmpty());

    // An ear of 30 on a 40-wide rectangle is cut to a quarter of the width.
    const auto cut = IslandPath::make(RectF{0, 0, 40, 100}, 30, 0, 0);
    EXPECT_EQ(std::get<IslandPath::QuadTo>(cut.elements[2]).to, (P{10, 10}));

    // A bottom radius larger than the rectangle allows is limited by the width left between the ears.
    const auto round = IslandPath::make(RectF{0, 0, 40, 100}, 4, 0, 50);
    EXPECT_EQ(std::get<IslandPath::CubicTo>(round.elements[4]).to, (P{4 + 16, 100}));

    // A negative radius becomes 0: the corners collapse to points, never turning inside out.
    const auto square = IslandPath::make(RectF{0, 0, 40, 20}, 0, -5, -5);
    EXPECT_EQ(std::get<IslandPath::LineTo>(square.elements[1]).to, (P{0, 0}));
    EXPECT_EQ(std::get<IslandPath::CubicTo>(square.elements[4]).to, (P{0, 20}));
}
