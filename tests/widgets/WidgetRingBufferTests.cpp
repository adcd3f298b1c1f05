#include "BrindKit/widgets/WidgetRingBuffer.hpp"

#include <gtest/gtest.h>

using brind::WidgetRingBuffer;
using Values = std::vector<double>;

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

