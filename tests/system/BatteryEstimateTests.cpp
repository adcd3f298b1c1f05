#include "BrindKit/system/BatteryEstimate.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace brind {
namespace {

using Sample = BatteryEstimate::Sample;

std::vector<Sample> samples(std::initializer_list<std::pair<double, int>> minutesAndPercents) {
    const Date start{1'700'000'000};
    std::vector<Sample> result;
    for (const auto& [minutes, percent] : minutesAndPercents)
        result.push_back(Sample{start + minutes * 60, percent});
    return result;
}

TEST(BatteryEstimate, RateNeedsEnoughDropOverEnoughTime) {
    const std::vector<std::pair<std::vector<Sample>, std::optional<double>>> cases = {
        {{}, std::nullopt},
        {samples({{0, 80}, {3, 78}}), std::nullopt},  // too short
        {samples({{0, 80}, {4, 78}}), 0.5},           // exactly long enough, exactly enough drop
        {samples({{0, 80}, {30, 79}}), std::nullopt}, // one percent is noise
        {samples({{0, 70}, {30, 80}}), std::nullopt}, // charging
        // Only the ends count; the middle sample does not change the rate.
        {samples({{0, 90}, {2, 95}, {20, 80}}), 0.5},
        {samples({{10, 80}, {0, 70}}), std::nullopt}, // out of order
    };
    for (std::size_t i = 0; i < cases.size(); ++i)
        EXPECT_EQ(BatteryEstimate::rate(cases[i].first), cases[i].second) << "case " << i;
}

TEST(BatteryEstimate, MinutesLeftAtItsThresholds) {
    const std::vector<std::tuple<int, double, std::optional<long long>>> cases = {
        {50, 3, 17},  {1, 0.0051, 196},     {50, 0.005, std::nullopt}, {50, 10, std::nullopt}, {50, 9.99, 5},
        {1, 9.99, 1}, {0, 1, std::nullopt}, {100, 0.006, 1440},        {50, NAN, std::nullopt}};
    for (const auto& [percent, rate, minutes] : cases)
        EXPECT_EQ(BatteryEstimate::minutesLeft(percent, rate), minutes) << percent << " at " << rate;

    // From samples, the time left is for the newest percent.
    EXPECT_EQ(BatteryEstimate::minutesLeft(samples({{0, 80}, {10, 70}})), 70);
    EXPECT_EQ(BatteryEstimate::minutesLeft(samples({{0, 2}, {60, 0}})), std::nullopt);
    EXPECT_EQ(BatteryEstimate::minutesLeft(std::vector<Sample>{}), std::nullopt);
}

TEST(BatteryEstimate, PluggedInSubtitleJoinsWhatIsKnown) {
    const std::vector<std::tuple<std::optional<double>, std::optional<long long>, int, std::string>> cases = {
        {67, std::nullopt, 100, "67 W adapter \u00B7 Fully charged"},
        {std::nullopt, std::nullopt, 80, "Charging"},
        {96.7, 95, 40, "96 W adapter \u00B7 1 h 35 min to full"},
        {std::nullopt, 45, 90, "45 min to full"},
        {30, std::nullopt, 80, "30 W adapter"},
        {0.5, 0, 80, "Charging"},
        {1, 120, 100, "1 W adapter \u00B7 2 h to full"},
        {NAN, std::nullopt, 80, "Charging"}};
    for (const auto& [watts, toFull, percent, text] : cases)
        EXPECT_EQ(BatteryEstimate::pluggedInSubtitle(watts, toFull, percent), text);
}

TEST(BatteryEstimate, OnBatterySubtitlePrefersTheSystemsEstimate) {
    EXPECT_EQ(BatteryEstimate::onBatterySubtitle(180, 70), "About 3 h left");
    EXPECT_EQ(BatteryEstimate::onBatterySubtitle(std::nullopt, 70), "About 1 h 10 min left (estimate)");
    EXPECT_EQ(BatteryEstimate::onBatterySubtitle(0, 45), "About 45 min left (estimate)");
    EXPECT_EQ(BatteryEstimate::onBatterySubtitle(0, 0), "On battery \u00B7 estimating time left");
}

} // namespace
} // namespace brind
