#include "BrindKit/system/LockBattery.hpp"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace brind {
namespace {

using Tone = LockBattery::Tone;

TEST(LockBattery, ToneFollowsChargingThenLowPowerThenCharge) {
    struct Case {
        int percent;
        bool charging;
        bool lowPower;
        Tone tone;
    };
    const std::vector<Case> cases = {{21, false, false, Tone::normal}, {20, false, false, Tone::low},
                                     {0, false, false, Tone::low},     {100, false, false, Tone::normal},
                                     {5, true, false, Tone::charging}, {5, true, true, Tone::charging},
                                     {5, false, true, Tone::lowPower}, {80, false, true, Tone::lowPower}};
    for (const Case& c : cases)
        EXPECT_EQ(LockBattery::tone(c.percent, c.charging, c.lowPower), c.tone)
            << c.percent << " " << c.charging << " " << c.lowPower;
}

TEST(LockBattery, FillKeepsASliverAndNeverOverflows) {
    struct Case {
        int percent;
        double fill;
    };
    const std::vector<Case> cases = {{-10, 0.04}, {0, 0.04},  {1, 0.04}, {4, 0.04},
                                     {5, 0.05},   {55, 0.55}, {100, 1},  {130, 1}};
    for (const Case& c : cases)
        EXPECT_DOUBLE_EQ(LockBattery::fill(c.percent), c.fill) << c.percent;
}

TEST(LockBattery, DetailDescribesChargingAndTimeLeft) {
    struct Case {
        int percent;
        bool pluggedIn;
        bool charging;
        std::optional<long long> toFull;
        std::optional<long long> left;
        std::optional<std::string> detail;
    };
    const std::vector<Case> cases = {{100, true, false, std::nullopt, std::nullopt, "Fully charged"},
                                     {100, true, true, 30, std::nullopt, "Fully charged"},
                                     {99, true, true, std::nullopt, std::nullopt, "Charging"},
                                     {99, true, false, std::nullopt, std::nullopt, "Not charging"},
                                     {60, true, true, 95, std::nullopt, "1 h 35 min to full"},
                                     {60, true, true, 45, 200, "45 min to full"},
                                     // Under a minute would print an empty duration; it reads as no time.
                                     {60, true, true, 0, std::nullopt, "Charging"},
                                     {60, false, false, std::nullopt, 120, "2 h left"},
                                     {60, false, false, 30, std::nullopt, std::nullopt},
                                     {60, false, false, std::nullopt, 0, std::nullopt},
                                     {100, false, false, std::nullopt, std::nullopt, std::nullopt}};
    for (const Case& c : cases)
        EXPECT_EQ(LockBattery::detail(c.percent, c.pluggedIn, c.charging, c.toFull, c.left), c.detail)
            << c.percent << " plugged " << c.pluggedIn << " charging " << c.charging;
}

} // namespace
} // namespace brind
