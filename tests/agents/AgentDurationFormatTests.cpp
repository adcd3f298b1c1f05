#include "BrindKit/agents/AgentDurationFormat.hpp"

#include <cmath>
#include <gtest/gtest.h>

using namespace brind;

TEST(AgentDurationFormat, FormatsShortDurations) {
    const std::pair<double, const char*> cases[] = {
        {-5, "0s"},        {0, "0s"},        {59.9, "59s"},    {60, "1m 00s"},     {61, "1m 01s"},
        {3599, "59m 59s"}, {3600, "1h 00m"}, {3720, "1h 02m"}, {90061, "25h 01m"}, {NAN, "0s"},
    };
    for (const auto& [seconds, text] : cases)
        EXPECT_EQ(AgentDurationFormat::shortText(seconds), text) << seconds;
}

TEST(AgentDurationFormat, FormatsTokenCounts) {
    const std::pair<std::int64_t, const char*> cases[] = {
        {0, "0"},       {999, "999"},   {1000, "1.0k"},   {1500, "1.5k"},    {9999, "10.0k"},
        {10000, "10k"}, {12345, "12k"}, {999999, "999k"}, {1000000, "1.0M"}, {2500000, "2.5M"},
    };
    for (const auto& [count, text] : cases)
        EXPECT_EQ(AgentDurationFormat::tokens(count), text) << count;
}
