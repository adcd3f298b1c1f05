#include "BrindKit/island/HUDSteps.hpp"

#include <gtest/gtest.h>

using namespace brind;
using HUDSteps::Direction;
using HUDSteps::Grid;

TEST(HUDSteps, SnapsPressesToTheGrid) {
    struct Case {
        double from;
        Direction direction;
        Grid grid;
        double to;
    };
    const Case cases[] = {
        {0.5, Direction::up, Grid::coarse, 0.5625},
        {0.5, Direction::down, Grid::coarse, 0.4375},
        {0.53, Direction::up, Grid::coarse, 0.5625},
        {0.53, Direction::down, Grid::coarse, 0.5},
        {1.0, Direction::up, Grid::coarse, 1.0},
        {0.0, Direction::down, Grid::coarse, 0.0},
        {-3, Direction::up, Grid::coarse, 0.0625},
        {7, Direction::down, Grid::coarse, 0.9375},
        // Within the tolerance of grid point 1/16, so the press steps down from it, not to it.
        {0.06250005, Direction::down, Grid::coarse, 0.0},
        {0.0625 - 0.00000001, Direction::up, Grid::coarse, 0.125},
        {0.0625 - 0.0000001, Direction::up, Grid::coarse, 0.0625},
        {0.5, Direction::up, Grid::fine, 0.515625},
        {0.5, Direction::down, Grid::fine, 0.484375},
    };
    for (const auto& [from, direction, grid, to] : cases)
        EXPECT_DOUBLE_EQ(HUDSteps::step(from, direction, grid), to)
            << from << (direction == Direction::up ? " up" : " down");
}

TEST(HUDSteps, CountsSegmentsAndPercent) {
    EXPECT_EQ(HUDSteps::segments(0.5), 8);
    EXPECT_EQ(HUDSteps::segments(0.03), 0);
    EXPECT_EQ(HUDSteps::segments(0.04), 1);
    EXPECT_EQ(HUDSteps::segments(2), 16);
    EXPECT_EQ(HUDSteps::segments(-1, 10), 0);
    EXPECT_EQ(HUDSteps::segments(0.25, 64), 16);

    EXPECT_EQ(HUDSteps::percent(0.504), "50");
    EXPECT_EQ(HUDSteps::percent(0.505), "51");
    EXPECT_EQ(HUDSteps::percent(1.2), "100");
    EXPECT_EQ(HUDSteps::percent(-0.2), "0");
}
