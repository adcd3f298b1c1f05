#include "BrindKit/island/ActivityInterruption.hpp"
#include "BrindKit/island/IslandStateResolver.hpp"

#include <gtest/gtest.h>

using namespace brind;

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
    const Focus focusedSources[] = {{.desktopDoNotDisturb = true}, {.paused = true},
                                    {.desktopDoNotDisturb = true, .paused = true}};
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
