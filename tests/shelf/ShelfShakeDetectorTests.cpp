#include "BrindKit/shelf/ShelfShakeDetector.hpp"

#include <gtest/gtest.h>

using brind::ShelfShakeDetector;

namespace {

/// The pointer going 0, 50, 100, 50, 0, 50, ... : a reversal every second step after the third.
double shakeX(int step) {
    constexpr double pattern[] = {0, 50, 100, 50};
    return pattern[step % 4];
}

} // namespace

TEST(ShelfShakeDetector, RecognisesTheFourthReversalInsideTheWindow) {
    ShelfShakeDetector detector;
    const double times[] = {0, 0.04, 0.08, 0.12, 0.16, 0.2};
    for (int step = 0; step < 6; ++step)
        EXPECT_FALSE(detector.feed(shakeX(step), times[step])) << step;
    EXPECT_EQ(detector.reversals, (std::vector<double>{0.12, 0.2}));

    EXPECT_FALSE(detector.feed(100, 0.24));
    EXPECT_FALSE(detector.feed(50, 0.28));
    EXPECT_FALSE(detector.feed(0, 0.32));
    EXPECT_TRUE(detector.feed(50, 0.36));
    EXPECT_TRUE(detector.reversals.empty());
    EXPECT_EQ(detector.lastFired, 0.36);
}

TEST(ShelfShakeDetector, CountsOnlySwingsOfAtLeastTheMinimum) {
    ShelfShakeDetector detector;
    // Swings of 39 points turn around but never count.
    for (int step = 0; step < 20; ++step)
        EXPECT_FALSE(detector.feed(step % 2 == 0 ? 0 : 39, step * 0.03)) << step;
    EXPECT_TRUE(detector.reversals.empty());
    EXPECT_EQ(detector.direction, 1);
}

TEST(ShelfShakeDetector, IgnoresJitterWithoutMovingTheSwing) {
    ShelfShakeDetector detector;
    detector.feed(0, 0);
    detector.feed(100, 0.01);
    // Creeping back by half a point at a time never reads as a turn.
    for (int step = 1; step <= 10; ++step)
        EXPECT_FALSE(detector.feed(100 - 0.5 * step, 0.01 + step * 0.01));
    EXPECT_EQ(detector.direction, 1);
    EXPECT_EQ(detector.swingStart, 0);
    EXPECT_EQ(detector.lastX, 95);
    EXPECT_TRUE(detector.reversals.empty());
}

TEST(ShelfShakeDetector, HoldsBackASecondShakeUntilTheCooldownHasPassed) {
    ShelfShakeDetector detector;
    constexpr double step = 1.0 / 32; // exact in binary, so the boundaries below are exact
    std::vector<int> fired;
    for (int index = 0; index <= 50; ++index) {
        if (detector.feed(shakeX(index), index * step))
            fired.push_back(index);
        if (index == 39) {
            EXPECT_GE(detector.reversals.size(), 4u) << "reversals held back by the cooldown stay counted";
        }
    }
    // The first shake completes at the fourth reversal; the next one exactly a cooldown later.
    EXPECT_EQ(fired, (std::vector<int>{9, 41}));
}

TEST(ShelfShakeDetector, DropsReversalsOlderThanTheWindow) {
    ShelfShakeDetector detector;
    // A slow shake: a reversal every 0.25 s, so never four inside 0.6 s.
    for (int index = 0; index < 24; ++index)
        EXPECT_FALSE(detector.feed(shakeX(index), index * 0.125)) << index;
    EXPECT_LE(detector.reversals.size(), 3u);
}

TEST(ShelfShakeDetector, AReversalExactlyOneWindowOldStillCounts) {
    ShelfShakeDetector detector{.reversalsNeeded = 2, .window = 0.5, .minSwing = 40, .cooldown = 0};
    EXPECT_FALSE(detector.feed(0, 0));
    EXPECT_FALSE(detector.feed(50, 0.125));
    EXPECT_FALSE(detector.feed(0, 0.25));
    EXPECT_EQ(detector.reversals, std::vector<double>{0.25});
    EXPECT_TRUE(detector.feed(50, 0.75));
}

TEST(ShelfShakeDetector, ResetForgetsTheGestureButKeepsTheCooldown) {
    ShelfShakeDetector detector;
    for (int index = 0; index <= 9; ++index)
        detector.feed(shakeX(index), index / 32.0);
    ASSERT_EQ(detector.lastFired, 9 / 32.0);
    detector.feed(100, 10 / 32.0);
    detector.reset();
    EXPECT_EQ(detector.lastX, std::nullopt);
    EXPECT_EQ(detector.direction, 0);
    EXPECT_EQ(detector.swingStart, 0);
    EXPECT_TRUE(detector.reversals.empty());
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
    const ShelfShakeDetector defaults;
    EXPECT_EQ(defaults.reversalsNeeded, 4);
    EXPECT_EQ(defaults.window, 0.6);
    EXPECT_EQ(defaults.minSwing, 40);
    EXPECT_EQ(defaults.cooldown, 1.0);
}
