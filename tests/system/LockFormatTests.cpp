#include "BrindKit/system/LockFormat.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brind {
namespace {

TEST(LockFormat, MeetingCountsWholeMinutesUpward) {
    const std::vector<std::pair<double, std::string>> cases = {
        {-120, "Now"},   {0, "Now"},    {0.1, "1 min"},      {60, "1 min"},
        {60.5, "2 min"}, {3541, "1 h"}, {3601, "1 h 1 min"}, {NAN, "Now"}};
    for (const auto& [seconds, text] : cases)
        EXPECT_EQ(LockFormat::meeting(seconds), text) << seconds;
    // Absurd inputs still give text rather than overflowing.
    EXPECT_FALSE(LockFormat::meeting(INFINITY).empty());
    EXPECT_FALSE(LockFormat::meeting(1e300).empty());
}

} // namespace
} // namespace brind
