#include "BrindKit/shelf/ShelfShakeDetector.hpp"

#include <gtest/gtest.h>

using brind::ShelfShakeDetector;
using Moves = std::vector<std::pair<double, double>>; // (x, seconds)

namespace {

/// `count` moves `step` seconds apart going 0, 50, 100, 50, 0, 50, ...: a reversal every second
/// move after the third.
Moves shake(int count, double step) {
    constexpr double pattern[] = {0, 50, 100, 50};
    Moves moves;
    for (int index = 0; index < count; ++index)
        moves.emplace_back(pattern[index % 4], index * step);
    return moves;
}

/// The indices of the moves at which `detector` recognised a shake.
std::vector<int> firings(ShelfShakeDetector& detector, const Moves& moves) {
    std::vector<int> fired;
    for (std::size_t index = 0; index < moves.size(); ++index)
        if (detector.feed(moves[index].first, moves[index].second))
            fired.push_back(static_cast<int>(index));
    return fired;
}

Moves swings(double width) {
    Moves moves;
    for (int step = 0; step < 20; ++step)
        moves.emplace_back(step % 2 == 0 ? 0 : width, step * 0.03);
    return moves;
}

} // namespace

TEST(ShelfShakeDetector, FiresAtTheReversalThatCompletesAShake) {
    constexpr double step = 1.0 / 32; // exact in binary, so the boundaries below are exact
    Moves jitter = {{0, 0}, {100, 0.01}};
    // Creeping back by half a point at a time never reads as a turn.
    for (int index = 1; index <= 10; ++index)
        jitter.emplace_back(100 - 0.5 * index, 0.01 + index * 0.01);
    struct Row {
        const char* name;
        ShelfShakeDetector detector;
        Moves moves;
        std::vector<int> fired;
    };
    const ShelfShakeDetector quick{.reversalsNeeded = 1, .window = 1, .minSwing = 40, .cooldown = 0};
    const Row rows[] = {
        {"the fourth reversal inside the window", {}, shake(10, 0.04), {9}},
        {"swings of exactly the minimum count", {}, swings(40), {5}},
        {"swings of 39 points turn around but never count", {}, swings(39), {}},
        {"jitter", quick, jitter, {}},
        {"a slow shake never has four reversals inside the window", {}, shake(24, 0.125), {}},
        {"a reversal exactly one window old still counts",
         {.reversalsNeeded = 2, .window = 0.5, .minSwing = 40, .cooldown = 0},
         {{0, 0}, {50, 0.125}, {0, 0.25}, {50, 0.75}},
         {3}},
        {"the next shake waits exactly a cooldown", {}, shake(51, step), {9, 41}},
    };
    for (auto row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(firings(row.detector, row.moves), row.fired);
    }
}

TEST(ShelfShakeDetector, ResetForgetsTheGestureButKeepsTheCooldown) {
    ShelfShakeDetector detector;
    EXPECT_EQ(firings(detector, shake(10, 1.0 / 32)), std::vector<int>{9});
    detector.feed(100, 10 / 32.0);
    detector.reset();
    EXPECT_EQ(detector.lastX, std::nullopt);
    EXPECT_EQ(detector.direction, 0);
    EXPECT_TRUE(detector.reversals.empty());
    // A whole new shake right away is held back until the cooldown of the first has passed.
    Moves again = shake(10, 1.0 / 32);
    for (auto& move : again)
        move.second += 11 / 32.0;
    EXPECT_TRUE(firings(detector, again).empty());
    EXPECT_EQ(detector.lastFired, 9 / 32.0);
}

TEST(ShelfShakeDetector, SensitivityPicksTheThresholds) {
    struct Case {
        int sensitivity;
        int reversals;
        double minSwing;
    };
    for (const auto& [sensitivity, reversals, minSwing] :
         std::vector<Case>{{0, 3, 30}, {1, 4, 40}, {2, 5, 60}, {-4, 3, 30}, {9, 5, 60}}) {
        const auto detector = ShelfShakeDetector::forSensitivity(sensitivity);
        EXPECT_EQ(detector.reversalsNeeded, reversals) << sensitivity;
        EXPECT_EQ(detector.minSwing, minSwing) << sensitivity;
        EXPECT_EQ(detector.window, 0.7) << sensitivity;
        EXPECT_EQ(detector.cooldown, 1.2) << sensitivity;
    }
}
