#include "BrindKit/system/BatteryEstimate.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace brind {
namespace {

using Sample = BatteryEstimate::Sample;

const Date start{1'700'000'000};

std::vector<Sample> samples(std::initializer_list<std::pair<double, int>> minutesAndPercents) {
    std::vector<Sample> result;
    for (const auto& [minutes, percent] : minutesAndPercents)
        result.push_back(Sample{start + minutes * 60, percent});
    return result;
}

TEST(BatteryEstimate, RateNeedsEnoughDropOverEnoughTime) {
    struct Case {
        std::string label;
        std::vector<Sample> samples;
        std::optional<double> rate;
    };
    const std::vector<Case> cases = {{"none", {}, std::nullopt},
                                     {"one", samples({{0, 80}}), std::nullopt},
                                     {"three minutes", samples({{0, 80}, {3, 78}}), std::nullopt},
                                     {"ten minutes", samples({{0, 80}, {5, 76}, {10, 70}}), 1.0},
                                     {"exactly four minutes, two percent", samples({{0, 80}, {4, 78}}), 0.5},
                                     {"one percent is noise", samples({{0, 80}, {30, 79}}), std::nullopt},
                                     {"charging", samples({{0, 70}, {30, 80}}), std::nullopt},
                                     // Only the ends count; the middle sample does not change the rate.
                                     {"bumpy", samples({{0, 90}, {2, 95}, {20, 80}}), 0.5},
                                     {"out of order", samples({{10, 80}, {0, 70}}), std::nullopt}};
    for (const Case& c : cases) {
        const auto rate = BatteryEstimate::rate(c.samples);
        ASSERT_EQ(rate.has_value(), c.rate.has_value()) << c.label;
        if (rate) {
            EXPECT_DOUBLE_EQ(*rate, *c.rate) << c.label;
        }
    }
}

TEST(BatteryEstimate, MinutesLeftAtItsThresholds) {
    struct Case {
        int percent;
        double rate;
        std::optional<long long> minutes;
    };
    const std::vector<Case> cases = {{70, 1, 70},
                                     {1, 0.0051, 196},
                                     {50, 0.004, std::nullopt},
                                     {50, 0.005, std::nullopt},
                                     {50, 10, std::nullopt},
                                     {50, 9.99, 5},
                                     {1, 9.99, 1},
                                     {0, 1, std::nullopt},
                                     {-5, 1, std::nullopt},
                                     {100, 0.006, 1440},
                                     {50, 0, std::nullopt},
                                     {50, -1, std::nullopt},
                                     {50, NAN, std::nullopt},
                                     {50, 3, 17}};
    for (const Case& c : cases)
        EXPECT_EQ(BatteryEstimate::minutesLeft(c.percent, c.rate), c.minutes)
            << c.percent << " at " << c.rate;

    EXPECT_EQ(BatteryEstimate::minutesLeft(samples({{0, 80}, {10, 70}})), 70);
    EXPECT_EQ(BatteryEstimate::minutesLeft(samples({{0, 80}, {3, 78}})), std::nullopt);
    EXPECT_EQ(BatteryEstimate::minutesLeft(samples({{0, 2}, {60, 0}})), std::nullopt);
    EXPECT_EQ(BatteryEstimate::minutesLeft(std::vector<Sample>{}), std::nullopt);
}

TEST(BatteryEstimate, PluggedInSubtitleJoinsWhatIsKnown) {
    struct Case {
        std::optional<double> watts;
        std::optional<long long> toFull;
        int percent;
        std::string text;
    };
    const std::vector<Case> cases = {{67, std::nullopt, 100, "67 W adapter \u00B7 Fully charged"},
                                     {std::nullopt, std::nullopt, 80, "Charging"},
                                     {std::nullopt, std::nullopt, 100, "Fully charged"},
                                     {96.7, 95, 40, "96 W adapter \u00B7 1 h 35 min to full"},
                                     {std::nullopt, 45, 90, "45 min to full"},
                                     {30, std::nullopt, 80, "30 W adapter"},
                                     {0.5, std::nullopt, 80, "Charging"},
                                     {1, 120, 100, "1 W adapter \u00B7 2 h to full"},
                                     {NAN, std::nullopt, 80, "Charging"}};
    for (const Case& c : cases)
        EXPECT_EQ(BatteryEstimate::pluggedInSubtitle(c.watts, c.toFull, c.percent), c.text) << c.text;
}

TEST(BatteryEstimate, OnBatterySubtitlePrefersTheSystemsEstimate) {
    struct Case {
        std::optional<long long> system;
        std::optional<long long> estimate;
        std::string text;
    };
    const std::vector<Case> cases = {{180, 70, "About 3 h left"},
                                     {std::nullopt, 70, "About 1 h 10 min left (estimate)"},
                                     {std::nullopt, std::nullopt, "On battery \u00B7 estimating time left"},
                                     {0, 45, "About 45 min left (estimate)"},
                                     {0, 0, "On battery \u00B7 estimating time left"}};
    for (const Case& c : cases)
        EXPECT_EQ(BatteryEstimate::onBatterySubtitle(c.system, c.estimate), c.text);
}

} // namespace
} // namespace brind
