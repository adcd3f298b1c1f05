#include "BrindKit/clipboard/ClipQuickKeys.hpp"

#include <gtest/gtest.h>

using namespace brind;

TEST(ClipQuickKeys, DigitsOneToNinePickTheFirstNineRows) {
    for (std::int64_t digit = 1; digit <= 9; ++digit)
        EXPECT_EQ(ClipQuickKeys::index(digit), static_cast<std::size_t>(digit - 1));
    for (const std::int64_t digit : {0, 10, -1, 99})
        EXPECT_FALSE(ClipQuickKeys::index(digit)) << digit;

    std::vector<ClipItem> items(3);
    items[2].text = "third";
    EXPECT_EQ(ClipQuickKeys::item(3, items)->text, "third");
    EXPECT_FALSE(ClipQuickKeys::item(4, items));
    EXPECT_FALSE(ClipQuickKeys::item(0, items));
}

TEST(ClipQuickKeys, LabelsNameTheShortcut) {
    EXPECT_EQ(ClipQuickKeys::label(0), "\u23181");
    EXPECT_EQ(ClipQuickKeys::label(8), "\u23189");
    EXPECT_FALSE(ClipQuickKeys::label(9));
    EXPECT_FALSE(ClipQuickKeys::label(-1));
}

TEST(ClipQuickKeys, MoveStopsAtTheEnds) {
    const struct {
        std::int64_t current, step, count, expected;
    } cases[] = {
        {0, 1, 5, 1},  {0, -1, 5, 0}, {4, 1, 5, 4}, {2, -10, 5, 0}, {2, 10, 5, 4},
        {3, 0, 0, 0},  {3, 1, -2, 0}, {0, INT64_MAX, 5, 4}, {0, INT64_MIN, 5, 0}, {9, -1, 5, 4},
    };
    for (const auto& test : cases)
        EXPECT_EQ(ClipQuickKeys::move(test.current, test.step, test.count), test.expected)
            << test.current << " by " << test.step << " of " << test.count;
}
