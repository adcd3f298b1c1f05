#include "BrindKit/widgets/WidgetRingBuffer.hpp"
#include "BrindKit/widgets/WidgetStatsMath.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace brind;
namespace StatsMath = WidgetStatsMath;
using Values = std::vector<double>;

TEST(WidgetStatsMath, CPUUsageIsTheBusyShareBetweenSamples) {
    const WidgetCPUTicks before{100, 50, 800, 50};
    EXPECT_EQ(StatsMath::cpuUsage(before, before), 0) << "identical samples";
    EXPECT_EQ(StatsMath::cpuUsage(before, WidgetCPUTicks{90, 50, 900, 50}), 0) << "busy went backwards";
    EXPECT_EQ(StatsMath::cpuUsage(before, WidgetCPUTicks{100, 50, 700, 50}), 0) << "total went backwards";
    EXPECT_EQ(StatsMath::cpuUsage(before, WidgetCPUTicks{200, 50, 800, 50}), 1);
}

TEST(WidgetStatsMath, PerCoreUsageSumsTheCoresFirst) {
    const std::vector<WidgetCPUTicks> before = {{0, 0, 0, 0}, {10, 0, 10, 0}};
    const std::vector<WidgetCPUTicks> after = {{100, 0, 0, 0}, {10, 0, 110, 0}};
    EXPECT_DOUBLE_EQ(StatsMath::cpuUsage(before, after), 0.5);
    EXPECT_EQ(StatsMath::cpuUsage(before, std::vector<WidgetCPUTicks>{after[0]}), 0) << "lengths differ";
    EXPECT_EQ(StatsMath::cpuUsage(std::vector<WidgetCPUTicks>{}, std::vector<WidgetCPUTicks>{}), 0);
}

TEST(WidgetStatsMath, CounterDeltaAllowsForOneWrap) {
    using Count = std::uint64_t;
    const std::vector<std::tuple<Count, Count, Count, Count>> cases = {
        {5, 10, 16, 5},
        {10, 5, 16, 11},
        {10, 5, 8, 5}, // a previous value beyond the modulus means a reset
        {7, 7, 16, 0},
        {10, 5, std::numeric_limits<std::uint64_t>::max(), std::numeric_limits<std::uint64_t>::max() - 5},
    };
    for (const auto& [previous, current, modulus, delta] : cases)
        EXPECT_EQ(StatsMath::counterDelta(previous, current, modulus), delta)
            << previous << " -> " << current;
    EXPECT_EQ(StatsMath::counterDelta(4294967290, 4), 10u) << "32-bit counters by default";
}

TEST(WidgetStatsMath, RateDividesTheDeltaByTheInterval) {
    EXPECT_EQ(StatsMath::rate(1000, 3000, 2), 1000);
    EXPECT_EQ(StatsMath::rate(10, 5, 0.5, 16), 22);
    EXPECT_EQ(StatsMath::rate(1000, 3000, 0), 0);
    EXPECT_EQ(StatsMath::rate(1000, 3000, std::nan("")), 0);
}

TEST(WidgetStatsMath, MemoryUsedCountsAppWiredAndCompressedPages) {
    EXPECT_EQ(StatsMath::memoryUsed(1000, 200, 300, 100, 4096), 1200u * 4096);
    EXPECT_EQ(StatsMath::memoryUsed(100, 200, 300, 100, 16384), 400u * 16384) << "purgeable beyond internal";
}

TEST(WidgetStatsMath, FormatsBytesInDecimalUnits) {
    const std::vector<std::tuple<double, bool, std::string>> cases = {
        {999, false, "999 B"},     {999.9, false, "999 B"},     {1000, false, "1.0 KB"},
        {1536, false, "1.5 KB"},   {12345678, true, "12 MB/s"}, {9949, false, "9.9 KB"},
        {10000, false, "10 KB"},   {-5, true, "0 B/s"},         {std::nan(""), false, "0 B"},
        {2.5e12, false, "2.5 TB"}, {3e18, false, "3000 PB"},
    };
    for (const auto& [value, perSecond, text] : cases)
        EXPECT_EQ(StatsMath::formatBytes(value, perSecond), text) << value;
}

TEST(WidgetStatsMath, PercentRoundsTheClampedShare) {
    const std::vector<std::pair<double, std::string>> cases = {
        {0, "0%"},     {0.424, "42%"}, {0.425, "43%"},       {1, "100%"},
        {1.7, "100%"}, {-0.2, "0%"},   {std::nan(""), "0%"},
    };
    for (const auto& [value, text] : cases)
        EXPECT_EQ(StatsMath::percent(value), text) << value;
}

TEST(WidgetRingBuffer, KeepsTheNewestValuesOldestFirst) {
    WidgetRingBuffer buffer(3);
    EXPECT_EQ(buffer.last(), std::nullopt);
    EXPECT_EQ(buffer.peak(), std::nullopt);
    buffer.append(1);
    buffer.append(2);
    EXPECT_EQ(buffer.values(), (Values{1, 2}));
    EXPECT_EQ(buffer.last(), 2);
    buffer.append(3);
    buffer.append(4);
    EXPECT_EQ(buffer.values(), (Values{2, 3, 4}));
    EXPECT_EQ(buffer.last(), 4);
    EXPECT_EQ(buffer.peak(), 4);
    for (double value = 5; value <= 9; ++value)
        buffer.append(value);
    EXPECT_EQ(buffer.values(), (Values{7, 8, 9}));
    EXPECT_EQ(buffer.last(), 9);
    buffer.removeAll();
    EXPECT_EQ(buffer, WidgetRingBuffer(3)) << "removing all starts over";

    WidgetRingBuffer one(0);
    EXPECT_EQ(one.capacity(), 1u) << "a capacity is at least one";
    one.append(5);
    one.append(6);
    EXPECT_EQ(one.values(), Values{6});
}

TEST(WidgetRingBuffer, NormalisesAgainstTheCeilingOrThePeak) {
    WidgetRingBuffer buffer(3);
    for (const double value : {1, 2, 3, 4})
        buffer.append(value);
    EXPECT_EQ(buffer.normalised(), (Values{0.5, 0.75, 1}));
    EXPECT_EQ(buffer.normalised(8), (Values{0.25, 0.375, 0.5}));
    EXPECT_EQ(buffer.normalised(2), (Values{1, 1, 1}));
    EXPECT_EQ(buffer.normalised(0), (Values{0, 0, 0}));

    WidgetRingBuffer negative(2);
    negative.append(-3);
    negative.append(-1);
    EXPECT_EQ(negative.normalised(), (Values{0, 0})) << "a peak below 0 is no ceiling";
    EXPECT_TRUE(WidgetRingBuffer(4).normalised().empty());
}
