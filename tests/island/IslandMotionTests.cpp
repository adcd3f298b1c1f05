#include "BrindKit/island/ActivityInterruption.hpp"
#include "BrindKit/island/IslandStateResolver.hpp"
#include "BrindKit/island/Motion.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

using namespace brind;

TEST(Motion, RubberBandApproachesTheLimitWithoutPassingIt) {
    EXPECT_EQ(Motion::rubberBand(100, 0, 0.55), 0);
    EXPECT_EQ(Motion::rubberBand(100, -5, 0.55), 0);
    EXPECT_EQ(Motion::rubberBand(0, 50, 0.55), 0);
    EXPECT_NEAR(Motion::rubberBand(100, 50, 0.55), 26.19, 0.01);
    EXPECT_NEAR(Motion::rubberBand(-100, 50, 0.55), -26.19, 0.01);
    EXPECT_LT(Motion::rubberBand(1e9, 50, 0.55), 50);
    EXPECT_GT(Motion::rubberBand(1e9, 50, 0.55), 49.99);
}

TEST(Motion, GrowingAndShrinkingFollowSizeNotDeclarationOrder) {
    // peek is declared before compact but is the bigger shape: compact -> peek grows.
    const IslandState bySize[] = {IslandState::closed, IslandState::compact, IslandState::peek,
                                  IslandState::expanded};
    const Motion::Animation grows = Motion::Spring{0.38, 0.68};
    const Motion::Animation shrinks = Motion::Spring{0.38, 0.88};
    for (std::size_t i = 1; i < std::size(bySize); ++i) {
        EXPECT_EQ(Motion::transition(bySize[i - 1], bySize[i], false), grows) << name(bySize[i]);
        EXPECT_EQ(Motion::transition(bySize[i], bySize[i - 1], false), shrinks) << name(bySize[i]);
    }
    EXPECT_EQ(Motion::transition(IslandState::closed, IslandState::expanded, true),
              Motion::Animation(Motion::EaseInOut{0.18}));
}

TEST(Motion, SpringOvershootsOnlyWhenUnderdamped) {
    const auto peakOf = [](const Motion::Spring& spring) {
        double peak = 0;
        for (double t = 0; t < 3; t += 0.001)
            peak = std::max(peak, spring.evaluate(t).value);
        return peak;
    };
    const double open = peakOf({Motion::response, Motion::openDamping});
    const double close = peakOf({Motion::response, Motion::closeDamping});
    // Textbook overshoot of a damped oscillator: exp(-pi zeta / sqrt(1 - zeta^2)).
    EXPECT_NEAR(open - 1, std::exp(-std::numbers::pi * 0.68 / std::sqrt(1 - 0.68 * 0.68)), 1e-4);
    EXPECT_NEAR(close - 1, std::exp(-std::numbers::pi * 0.88 / std::sqrt(1 - 0.88 * 0.88)), 1e-4);
    EXPECT_LE(peakOf({Motion::response, 1.0}), 1.0 + 1e-12);
    EXPECT_LE(peakOf({Motion::response, 2.0}), 1.0 + 1e-12);
}

TEST(Motion, SpringStartsAtRestSettlesOnTheTargetAndItsVelocityMatchesItsPosition) {
    for (const double damping : {0.3, Motion::openDamping, Motion::closeDamping, 1.0, 1.4, 1.6}) {
        const Motion::Spring spring{Motion::response, damping};
        EXPECT_NEAR(spring.evaluate(0).value, 0, 1e-12) << damping;
        EXPECT_NEAR(spring.evaluate(0).velocity, 0, 1e-9) << damping;
        EXPECT_FALSE(spring.isSettled(0.05)) << damping;
        EXPECT_TRUE(spring.isSettled(5)) << damping;
        EXPECT_NEAR(spring.evaluate(5).value, 1, 1e-6) << damping;
        // The analytic velocity is the derivative of the analytic position, also with a start velocity.
        for (const double t : {0.0, 0.07, 0.2, 0.6}) {
            const double h = 1e-6;
            const double slope = (spring.evaluate(t + h, 2).value - spring.evaluate(t, 2).value) / h;
            EXPECT_NEAR(spring.evaluate(t, 2).velocity, slope, 1e-3) << damping << " at " << t;
        }
        EXPECT_NEAR(spring.evaluate(0, 2).velocity, 2, 1e-9);
    }
}

TEST(IslandStateResolver, FirstHoldingRuleWins) {
    using Input = IslandStateResolver::Input;
    const std::pair<Input, IslandState> cases[] = {
        {Input{false, false, false, false}, IslandState::closed},
        {Input{false, false, true, false}, IslandState::compact},
        {Input{false, true, true, false}, IslandState::peek},
        {Input{true, true, true, false}, IslandState::expanded},
        {Input{true, false, false, false}, IslandState::expanded},
        {Input{true, true, true, true}, IslandState::closed},
        {Input{true, false, false, true}, IslandState::closed},
        {Input{false, false, true, true}, IslandState::closed},
    };
    for (const auto& [input, state] : cases)
        EXPECT_EQ(IslandStateResolver::resolve(input), state)
            << input.userOpened << input.peeking << input.hasActivity << input.hidden;
}

TEST(ActivityInterruption, OnlyImportantAndCriticalBreakThroughFocus) {
    using Focus = ActivityInterruption::Focus;
    const Focus unfocused{};
    const Focus focusedSources[] = {
        {.desktopDoNotDisturb = true}, {.paused = true}, {.desktopDoNotDisturb = true, .paused = true}};
    const std::pair<ActivityPriority, bool> breaksThrough[] = {
        {ActivityPriority::ambient, false},
        {ActivityPriority::normal, false},
        {ActivityPriority::important, true},
        {ActivityPriority::critical, true},
    };
    for (const auto& [priority, allowedWhileFocused] : breaksThrough) {
        EXPECT_TRUE(ActivityInterruption::allows(priority, unfocused)) << name(priority);
        for (const Focus& focus : focusedSources)
            EXPECT_EQ(ActivityInterruption::allows(priority, focus), allowedWhileFocused)
                << name(priority) << " dnd=" << focus.desktopDoNotDisturb << " paused=" << focus.paused;
    }
}
