#include "BrindKit/system/LockFormat.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brind {
namespace {

TEST(LockFormat, MeetingCountsWholeMinutesUpward) {
    struct Case {
        double seconds;
        std::string text;
    };
    const std::vector<Case> cases = {{-120, "Now"}, {0, "Now"},          {0.1, "1 min"},   {30, "1 min"},
                                     {60, "1 min"}, {60.5, "2 min"},     {3540, "59 min"}, {3541, "1 h"},
                                     {3600, "1 h"}, {3601, "1 h 1 min"}, {21600, "6 h"},   {NAN, "Now"}};
    for (const Case& c : cases)
        EXPECT_EQ(LockFormat::meeting(c.seconds), c.text) << c.seconds;
    // Absurd inputs still give text rather than overflowing.
    EXPECT_FALSE(LockFormat::meeting(INFINITY).empty());
    EXPECT_FALSE(LockFormat::meeting(1e300).empty());
}

} // namespace
} // namespace brind
