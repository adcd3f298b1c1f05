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
