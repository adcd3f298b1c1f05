#include "BrindKit/island/TimeFormat.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace brind;

namespace {
constexpr double infinity = std::numeric_limits<double>::infinity();
}

TEST(TimeFormat, ClockPrintsMinutesOrHours) {
    const std::pair<double, const char*> cases[] = {
        {65.9, "1:05"},         {3725, "1:02:05"},         {0, "0:00"},
        {59.999, "0:59"},       {3599.9, "59:59"},         {3600, "1:00:00"},
        {-5, "0:00"},           {infinity, "0:00"},        {-infinity, "0:00"},
        {std::nan(""), "0:00"}, {36000 * 10, "100:00:00"},
    };
    for (const auto& [seconds, text] : cases)
        EXPECT_EQ(TimeFormat::clock(seconds), text) << seconds;
}

TEST(TimeFormat, RemainingNeverGoesBelowZero) {
    EXPECT_EQ(TimeFormat::remaining(30, 90), "-1:00");
    EXPECT_EQ(TimeFormat::remaining(100, 90), "-0:00");
    EXPECT_EQ(TimeFormat::remaining(0, 3725), "-1:02:05");
}

TEST(TimeFormat, CountdownRoundsUpInCompactUnits) {
    const std::pair<double, const char*> cases[] = {
        {42, "42s"},   {41.2, "42s"},        {59, "59s"},      {59.5, "1:00"},
        {245, "4:05"}, {3599, "59:59"},      {3600, "1h 0m"},  {3900, "1h 5m"},
        {-3, "0s"},    {std::nan(""), "0s"}, {7199, "1h 59m"},
    };
    for (const auto& [seconds, text] : cases)
        EXPECT_EQ(TimeFormat::countdown(seconds), text) << seconds;
    // Without a bound an endless countdown would convert infinity to an integer and print garbage.
    EXPECT_EQ(TimeFormat::countdown(infinity), "277777777777h 46m");
}

TEST(TimeFormat, UntilRoundsMinutesUp) {
    const std::pair<double, const char*> cases[] = {
        {0, "now"},       {-10, "now"},     {std::nan(""), "now"},  {0.2, "in 1 s"},
        {59, "in 59 s"},  {60, "in 1 min"}, {61, "in 2 min"},       {3540, "in 59 min"},
        {3541, "in 1 h"}, {3600, "in 1 h"}, {3601, "in 1 h 1 min"}, {3700, "in 1 h 2 min"},
        {7200, "in 2 h"}};
    for (const auto& [seconds, text] : cases)
        EXPECT_EQ(TimeFormat::until(seconds), text) << seconds;
}

TEST(TimeFormat, DurationSpellsMinutesAndHours) {
    const std::pair<long long, const char*> cases[] = {
        {0, ""},        {-4, ""},    {1, "1 min"}, {45, "45 min"},
        {59, "59 min"}, {60, "1 h"}, {120, "2 h"}, {95, "1 h 35 min"},
    };
    for (const auto& [minutes, text] : cases)
        EXPECT_EQ(TimeFormat::duration(minutes), text) << minutes;
}
