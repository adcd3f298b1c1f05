#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/system/LRCLyrics.hpp"
#include "BrindKit/system/LyricWing.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace brind {

// Readable failures: "4.6 'We folded…'" instead of raw bytes.
void PrintTo(const LRCLyrics::Line& line, std::ostream* out) {
    *out << line.time << " '" << line.text << "'";
}

namespace {

using Lines = std::vector<LRCLyrics::Line>;

// The parsed lines, or none when the text does not parse. Times are compared exactly: every
// expected time below is the nearest double to the stamp minus the offset.
Lines linesOf(std::string_view lrc) {
    return LRCLyrics::parse(lrc).value_or(LRCLyrics{}).lines;
}

std::string fixture(const std::string& name) {
    return AtomicFile::read(std::string(BRIND_TEST_DATA) + "/lyrics/" + name).value();
}

TEST(LRCLyrics, ParsesHandWrittenFiles) {
    // Offset 500 ms: everything half a second earlier, the 0.2 s intro floored at 0. A line with
    // three stamps appears three times; comma decimals and an hours part are read.
    EXPECT_EQ(linesOf(fixture("paper-boats.lrc")),
              (Lines{{0, "Intro"},
                     {4.6, "We folded paper boats and let them go"},
                     {11.5, "Row, row, the river's running slow"},
                     {17.9, "Down past the mill where the willows grow"},
                     {68.5, "Second verse, a little lower now"},
                     {75, "Row, row, the river's running slow"},
                     {140.25, "Bridge: every boat finds its way somehow"},
                     {149.5, "Row, row, the river's running slow"},
                     {1470, "Coda on the far side of the show"}}));
    // Byte-order mark, CRLF, upper-case tags, a negative offset, untagged and malformed lines,
    // a second tag that is not a time, two lines sharing a time kept in file order.
    EXPECT_EQ(linesOf(fixture("night-bus.lrc")), (Lines{{3.25, "Night bus humming under orange glass"},
                                                        {9.25, "Every stop a name I used to know"},
                                                        {14.25, ""},
                                                        {14.25, "Same time as the gap above"},
                                                        {20.25, "Last call"}}));
}

TEST(LRCLyrics, FailsWithoutAnyTimedLine) {
    // The last input: a tag only counts at the start of a line.
    for (const std::string& input :
         {fixture("metadata-only.lrc"), std::string(), std::string("text [00:12.00] a")}) {
        const auto lyrics = LRCLyrics::parse(input);
        ASSERT_FALSE(lyrics.has_value()) << input;
        EXPECT_EQ(lyrics.error(), LRCLyrics::ParseError::noTimedLines);
        EXPECT_FALSE(toString(lyrics.error()).empty());
    }
}

TEST(LRCLyrics, StampReadsPointCommaAndHours) {
    const std::vector<std::pair<std::string, double>> valid = {{"01:02.5", 62.5},    {"01:02,5", 62.5},
                                                               {"00:01:02.5", 62.5}, {"1:00:00", 3600},
                                                               {"00:05.", 5},        {"00:.5", 0.5}};
    for (const auto& [content, seconds] : valid)
        EXPECT_EQ(LRCLyrics::stamp(content), seconds) << content;
    const std::vector<std::string> invalid = {"62.5", "1:", ":02", "1:2:3:4", "ar:Someone", "-1:02",
                                              "1:02.5.1", "1e1:00", " 1:02", "inf:00", "nan:00", "1:.",
                                              // Hundreds of digits overflow to infinity, which is no time.
                                              std::string(400, '9') + ":00"};
    for (const std::string& content : invalid)
        EXPECT_EQ(LRCLyrics::stamp(content), std::nullopt) << content;
}

TEST(LRCLyrics, OffsetTagsShiftEveryLine) {
    const std::vector<std::pair<std::string, Lines>> cases = {
        {"[00:10.00]b\n[offset:-1500]", {{11.5, "b"}}}, // a trailing offset still applies
        {"[Offset: +250 ]\n[00:01.00]a", {{0.75, "a"}}},
        {"[offset:100][00:01.00]a", {{0.9, "a"}}},
        {"[offset:abc]\n[00:01.00]a", {{1, "a"}}},                 // an unreadable offset is dropped
        {"[offset:100]\n[offset:200]\n[00:01.00]a", {{0.8, "a"}}}, // the last offset wins
        // The floor at 0 keeps both lines in their original order.
        {"[offset:5000]\n[00:02.00]first\n[00:03.00]second", {{0, "first"}, {0, "second"}}},
    };
    for (const auto& [lrc, lines] : cases)
        EXPECT_EQ(linesOf(lrc), lines) << lrc;
}

TEST(LRCLyrics, TimesStayFiniteUnderExtremeOffsets) {
    // A stamp near the largest double, pushed later by the largest negative offset, must not become
    // infinity (the wing would wait forever on it).
    const std::string hugeStamp = "[0:17969" + std::string(304, '0') + "]far";
    const std::string hugeOffset = "[offset:-17969" + std::string(304, '0') + "]";
    const Lines lines = linesOf(hugeOffset + "\n[00:01.00]near\n" + hugeStamp);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_TRUE(std::isfinite(lines[0].time));
    EXPECT_TRUE(std::isfinite(lines[1].time));
    EXPECT_EQ(lines[1].text, "far");
}

TEST(LRCLyrics, SplitsAtEveryKindOfLineBreak) {
    // "\n" and "\r\n" are in the files above.
    for (const std::string lineBreak : {"\r", "\u2028", "\u2029", "\u0085"})
        EXPECT_EQ(linesOf("[00:01.00]a" + lineBreak + "[00:02.00]b"), (Lines{{1, "a"}, {2, "b"}}))
            << lineBreak;
    // A byte-order mark is not white space: left in place it would hide the first line's tag.
    EXPECT_EQ(linesOf("\xEF\xBB\xBF[00:01.00]a"), (Lines{{1, "a"}}));
}

TEST(LRCLyrics, TextIsTrimmedAndMadeValidUTF8) {
    EXPECT_EQ(linesOf("  [00:01.00]\t  caf\xC3\xA9 \xE3\x80\x80\n[00:02.00]bad \xFF byte"),
              (Lines{{1, "caf\xC3\xA9"}, {2, "bad \xEF\xBF\xBD byte"}}));
}

TEST(LRCLyrics, IndexFindsLastLineNotAfterPosition) {
    const LRCLyrics lyrics{linesOf("[00:01.00]a\n[00:05.00]b\n[00:05.00]c\n[00:09.00]d")};
    const std::vector<std::pair<double, std::optional<std::size_t>>> cases = {
        {0.999, std::nullopt}, {1, 0}, {4.999, 0}, {5, 2}, {9, 3}, {INFINITY, 3}, {NAN, std::nullopt}};
    for (const auto& [position, index] : cases)
        EXPECT_EQ(lyrics.index(position), index) << position;
    EXPECT_EQ(LRCLyrics{}.index(10), std::nullopt);
}

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
    // Empty lyrics or an unknown position show nothing.
    EXPECT_EQ(LyricWing::current(LRCLyrics{}, 5), Display{});
    EXPECT_EQ(LyricWing::current(lyrics, NAN), Display{});
}

} // namespace
} // namespace brind
