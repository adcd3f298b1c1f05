#include "BrindKit/system/LockBattery.hpp"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace brind {
namespace {

using Tone = LockBattery::Tone;

TEST(LockBattery, ToneFollowsChargingThenLowPowerThenCharge) {
    // Percent, charging, low-power mode.
    EXPECT_EQ(LockBattery::tone(21, false, false), Tone::normal);
    EXPECT_EQ(LockBattery::tone(20, false, false), Tone::low);
    EXPECT_EQ(LockBattery::tone(5, true, false), Tone::charging);
    EXPECT_EQ(LockBattery::tone(5, true, true), Tone::charging);
    EXPECT_EQ(LockBattery::tone(5, false, true), Tone::lowPower);
    EXPECT_EQ(LockBattery::tone(80, false, true), Tone::lowPower);
}

TEST(LockBattery, FillKeepsASliverAndNeverOverflows) {
    EXPECT_DOUBLE_EQ(LockBattery::fill(-10), 0.04);
    EXPECT_DOUBLE_EQ(LockBattery::fill(5), 0.05);
    EXPECT_DOUBLE_EQ(LockBattery::fill(130), 1);
}

TEST(LockBattery, DetailDescribesChargingAndTimeLeft) {
    const auto none = std::nullopt;
    // Percent, plugged in, charging, minutes to full, minutes left.
    EXPECT_EQ(LockBattery::detail(100, true, true, 30, none), "Fully charged");
    EXPECT_EQ(LockBattery::detail(99, true, true, none, none), "Charging");
    EXPECT_EQ(LockBattery::detail(99, true, false, none, none), "Not charging");
    EXPECT_EQ(LockBattery::detail(60, true, true, 95, 200), "1 h 35 min to full");
    // Under a minute would print an empty duration; it reads as no time.
    EXPECT_EQ(LockBattery::detail(60, true, true, 0, none), "Charging");
    EXPECT_EQ(LockBattery::detail(60, false, false, none, 120), "2 h left");
    EXPECT_EQ(LockBattery::detail(60, false, false, 30, none), none);
    EXPECT_EQ(LockBattery::detail(60, false, false, none, 0), none);
    EXPECT_EQ(LockBattery::detail(100, false, false, none, none), none);
}

} // namespace
} // namespace brind
