#include "BrindKit/island/HUDSteps.hpp"

#include <gtest/gtest.h>

using namespace brind;
using HUDSteps::Direction;
using HUDSteps::Grid;

TEST(HUDSteps, SnapsPressesToTheGrid) {
    // The last three lie beside grid point 1/16: within 0.000001 of it a press steps away from it
    // rather than onto it; farther off, onto it.
    const std::tuple<double, Direction, double> cases[] = {
        {0.5, Direction::up, 0.5625},       {0.5, Direction::down, 0.4375},
        {0.53, Direction::up, 0.5625},      {0.53, Direction::down, 0.5},
        {1.0, Direction::up, 1.0},          {0.0, Direction::down, 0.0},
        {-3, Direction::up, 0.0625},        {7, Direction::down, 0.9375},
        {0.06250005, Direction::down, 0.0}, {0.06249999, Direction::up, 0.125},
        {0.0624999, Direction::up, 0.0625}};
    for (const auto& [from, direction, to] : cases)
        EXPECT_DOUBLE_EQ(HUDSteps::step(from, direction, Grid::coarse), to)
            << from << (direction == Direction::up ? " up" : " down");
    EXPECT_DOUBLE_EQ(HUDSteps::step(0.5, Direction::up, Grid::fine), 0.515625);
    EXPECT_DOUBLE_EQ(HUDSteps::step(0.5, Direction::down, Grid::fine), 0.484375);
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
