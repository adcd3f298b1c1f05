#include "BrindKit/island/IslandPath.hpp"

#include <gtest/gtest.h>

using namespace brind;
using P = PointF;

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
