#include "BrindKit/system/LyricWing.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace brind {
namespace {

LRCLyrics song() {
    return LRCLyrics{{
        {2, "  First line  "},
        {4, ""},
        {6, "\u266A \u266B\u266C \u2669"},
        {8, "Twins one"},
        {8, "Twins two"},
        {10, "\u266A la \u266A"},
        {10.01, "Almost at once"},
        {12, " \t "},
        {15, "Last"},
    }};
}

TEST(LyricWing, ShowsTheCurrentLineAndWhenToLookAgain) {
    using Display = LyricWing::Display;
    const std::vector<std::pair<double, Display>> cases = {
        // Before the first line: nothing shown, wait for the first line.
        {1.5, {std::nullopt, 0.5}},
        // Exactly on a line's time selects it; text is trimmed.
        {2, {"First line", 2}},
        {3.25, {"First line", 0.75}},
        // An empty line and a line of notes only are instrumental gaps.
        {4, {std::nullopt, 2}},
        {6.5, {std::nullopt, 1.5}},
        // Two lines at one time: the second is current, and the floor keeps the wait above zero.
        {8, {"Twins two", 2}},
        // Notes with words are a real line; the next line 0.01 s away is floored to 0.05 s.
        {10, {"\u266A la \u266A", 0.05}},
        {12, {std::nullopt, 3}},
        // After the last line there is nothing further to wait for.
        {15, {"Last", std::nullopt}},
    };
    const LRCLyrics lyrics = song();
    for (const auto& [position, display] : cases)
        EXPECT_EQ(LyricWing::current(lyrics, position), display) << position;
}

TEST(LyricWing, EmptyLyricsOrUnknownPositionShowNothing) {
    EXPECT_EQ(LyricWing::current(LRCLyrics{}, 5), LyricWing::Display{});
    EXPECT_EQ(LyricWing::current(song(), NAN), LyricWing::Display{});
}

} // namespace
} // namespace brind
