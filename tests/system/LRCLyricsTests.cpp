#include "BrindKit/system/LRCLyrics.hpp"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace brind {
namespace {

std::string fixture(const std::string& name) {
    std::ifstream file(std::string(BRIND_TEST_DATA) + "/lyrics/" + name, std::ios::binary);
    std::ostringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

struct Expected {
    double time;
    std::string text;
};

void expectLines(const LRCLyrics& lyrics, const std::vector<Expected>& expected, const std::string& context) {
    ASSERT_EQ(lyrics.lines.size(), expected.size()) << context;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(lyrics.lines[i].time, expected[i].time, 1e-9) << context << " line " << i;
        EXPECT_EQ(lyrics.lines[i].text, expected[i].text) << context << " line " << i;
    }
}

TEST(LRCLyrics, ParsesHandWrittenFiles) {
    struct Case {
        std::string file;
        std::vector<Expected> lines;
    };
    const std::vector<Case> cases = {
        // Metadata tags (title, artist, album, length, editor) give no lines; notes and gaps stay.
        {"harbour-lights.lrc",
         {{0, "\u266A"},
          {11.2, "The ferry leaves at seven, nobody on the pier"},
          {16.85, "I count the harbour lights that disappear"},
          {22.4, ""},
          {22.9, "Salt on the window, paper in my hand"},
          {28.1, "A map of every place we never planned"},
          {33.75, "\u266B \u266A"},
          {41, "Harbour lights, harbour lights"},
          {44.5, "Keep on burning through the night"},
          {62.3, "And when the tide comes in again"},
          {67.95, "I'll be waiting where the road ends"}}},
        // Offset 500 ms: everything half a second earlier, the 0.2 s intro floored at 0. A line with
        // three stamps appears three times; comma decimals and an hours part are read.
        {"paper-boats.lrc",
         {{0, "Intro"},
          {4.6, "We folded paper boats and let them go"},
          {11.5, "Row, row, the river's running slow"},
          {17.9, "Down past the mill where the willows grow"},
          {68.5, "Second verse, a little lower now"},
          {75, "Row, row, the river's running slow"},
          {140.25, "Bridge: every boat finds its way somehow"},
          {149.5, "Row, row, the river's running slow"},
          {1470, "Coda on the far side of the show"}}},
        // Byte-order mark, CRLF, upper-case tags, a negative offset, untagged and malformed lines,
        // a second tag that is not a time, two lines sharing a time kept in file order.
        {"night-bus.lrc",
         {{3.25, "Night bus humming under orange glass"},
          {9.25, "Every stop a name I used to know"},
          {14.25, ""},
          {14.25, "Same time as the gap above"},
          {20.25, "Last call"}}},
    };
    for (const Case& c : cases) {
        const auto lyrics = LRCLyrics::parse(fixture(c.file));
        ASSERT_TRUE(lyrics.has_value()) << c.file;
        expectLines(*lyrics, c.lines, c.file);
    }
}

TEST(LRCLyrics, FailsWithoutAnyTimedLine) {
    const std::vector<std::string> inputs = {fixture("metadata-only.lrc"),
                                             "",
                                             "   \n\n  ",
                                             "just some words",
                                             "[ar:Someone][ti:Something]",
                                             "[00:12.00 no closing bracket",
                                             "text before [00:12.00] a tag"};
    for (const std::string& input : inputs) {
        const auto lyrics = LRCLyrics::parse(input);
        ASSERT_FALSE(lyrics.has_value()) << input;
        EXPECT_EQ(lyrics.error(), LRCLyrics::ParseError::noTimedLines);
        EXPECT_FALSE(toString(lyrics.error()).empty());
    }
}

TEST(LRCLyrics, StampReadsPointCommaAndHours) {
    const std::vector<std::pair<std::string, double>> valid = {
        {"01:02.5", 62.5}, {"01:02,5", 62.5}, {"00:01:02.5", 62.5},  {"0:01:02,5", 62.5}, {"1:02", 62},
        {"00:00", 0},      {"1:00:00", 3600}, {"99:59.99", 5999.99}, {"00:05.", 5},       {"00:.5", 0.5}};
    for (const auto& [content, seconds] : valid) {
        const auto stamp = LRCLyrics::stamp(content);
        ASSERT_TRUE(stamp.has_value()) << content;
        EXPECT_NEAR(*stamp, seconds, 1e-9) << content;
    }
    const std::vector<std::string> invalid = {"62.5", "", ":", "1:", ":02", "1::02", "1:2:3:4", "ar:Someone",
                                              "length:03:12", "+1:02", "-1:02", "1:02.5.1", "1:02,5,1",
                                              "1e1:00", "1:0x1", " 1:02", "1:02 ", "inf:00", "nan:00", "1:.",
                                              // Hundreds of digits overflow to infinity, which is no time.
                                              std::string(400, '9') + ":00"};
    for (const std::string& content : invalid)
        EXPECT_EQ(LRCLyrics::stamp(content), std::nullopt) << content;
}

TEST(LRCLyrics, OffsetTagsShiftEveryLine) {
    struct Case {
        std::string lrc;
        std::vector<Expected> lines;
    };
    const std::vector<Case> cases = {
        {"[offset:500]\n[00:00.20]a\n[00:10.00]b", {{0, "a"}, {9.5, "b"}}},
        {"[00:10.00]b\n[offset:-1500]", {{11.5, "b"}}}, // a trailing offset still applies
        {"[Offset: +250 ]\n[00:01.00]a", {{0.75, "a"}}},
        {"[OFFSET:100][00:01.00]a", {{0.9, "a"}}},
        {"[offset:abc]\n[00:01.00]a", {{1, "a"}}}, // an unreadable offset is dropped
        {"[offset:]\n[00:01.00]a", {{1, "a"}}},
        {"[offset:100]\n[offset:200]\n[00:01.00]a", {{0.8, "a"}}}, // the last offset wins
        // The floor at 0 keeps both lines in their original order.
        {"[offset:5000]\n[00:02.00]first\n[00:03.00]second", {{0, "first"}, {0, "second"}}},
    };
    for (const Case& c : cases) {
        const auto lyrics = LRCLyrics::parse(c.lrc);
        ASSERT_TRUE(lyrics.has_value()) << c.lrc;
        expectLines(*lyrics, c.lines, c.lrc);
    }
}

TEST(LRCLyrics, TimesStayFiniteUnderExtremeOffsets) {
    // A stamp near the largest double, pushed later by the largest negative offset, must not become
    // infinity (the wing would wait forever on it).
    const std::string hugeStamp = "[0:17969" + std::string(304, '0') + "]far";
    const std::string hugeOffset = "[offset:-17969" + std::string(304, '0') + "]";
    const auto lyrics = LRCLyrics::parse(hugeOffset + "\n[00:01.00]near\n" + hugeStamp);
    ASSERT_TRUE(lyrics.has_value());
    ASSERT_EQ(lyrics->lines.size(), 2u);
    EXPECT_TRUE(std::isfinite(lyrics->lines[0].time));
    EXPECT_TRUE(std::isfinite(lyrics->lines[1].time));
    EXPECT_EQ(lyrics->lines[1].text, "far");
}

TEST(LRCLyrics, SplitsAtEveryKindOfLineBreak) {
    const std::vector<std::string> inputs = {"[00:01.00]a\n[00:02.00]b",
                                             "[00:01.00]a\r\n[00:02.00]b",
                                             "[00:01.00]a\r[00:02.00]b",
                                             "[00:01.00]a\u2028[00:02.00]b",
                                             "[00:01.00]a\u2029[00:02.00]b",
                                             "[00:01.00]a\u0085[00:02.00]b",
                                             "\xEF\xBB\xBF[00:01.00]a\n[00:02.00]b"};
    for (const std::string& input : inputs) {
        const auto lyrics = LRCLyrics::parse(input);
        ASSERT_TRUE(lyrics.has_value()) << input;
        expectLines(*lyrics, {{1, "a"}, {2, "b"}}, input);
    }
}

TEST(LRCLyrics, TextIsTrimmedAndMadeValidUTF8) {
    const auto lyrics = LRCLyrics::parse("  [00:01.00]\t  caf\xC3\xA9 \xE3\x80\x80\n[00:02.00]bad \xFF byte");
    ASSERT_TRUE(lyrics.has_value());
    expectLines(*lyrics, {{1, "caf\xC3\xA9"}, {2, "bad \xEF\xBF\xBD byte"}}, "trim");
}

TEST(LRCLyrics, IndexFindsLastLineNotAfterPosition) {
    const auto lyrics = LRCLyrics::parse("[00:01.00]a\n[00:05.00]b\n[00:05.00]c\n[00:09.00]d");
    ASSERT_TRUE(lyrics.has_value());
    struct Case {
        double position;
        std::optional<std::size_t> index;
    };
    const std::vector<Case> cases = {{-3, std::nullopt},
                                     {0.999, std::nullopt},
                                     {1, 0},
                                     {4.999, 0},
                                     {5, 2},
                                     {8.5, 2},
                                     {9, 3},
                                     {1e9, 3},
                                     {INFINITY, 3},
                                     {-INFINITY, std::nullopt},
                                     {NAN, std::nullopt}};
    for (const Case& c : cases)
        EXPECT_EQ(lyrics->index(c.position), c.index) << c.position;
    EXPECT_EQ(LRCLyrics{}.index(10), std::nullopt);
}

} // namespace
} // namespace brind
