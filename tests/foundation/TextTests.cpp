#include "BrindKit/foundation/Text.hpp"

#include <gtest/gtest.h>

using namespace brind;

TEST(Text, CountsAndCutsUserPerceivedCharacters) {
    const std::pair<const char*, std::size_t> cases[] = {
        {"", 0},
        {"hello", 5},
        {"e\xCC\x81", 1},                                    // e + combining acute
        {"\xF0\x9F\x87\xAB\xF0\x9F\x87\xB7", 1},             // flag: two regional indicators
        {"\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB", 1}, // woman + ZWJ + laptop
        {"a\r\nb", 3},
        {"na\xC3\xAFve", 5},
    };
    for (const auto& [text, count] : cases)
        EXPECT_EQ(Text::graphemeCount(text), count) << text;
    // A prefix never splits a character.
    EXPECT_EQ(Text::graphemePrefix("hello", 3), "hel");
    EXPECT_EQ(Text::graphemePrefix("hello", 10), "hello");
    EXPECT_EQ(Text::graphemePrefix("hello", 0), "");
    EXPECT_EQ(Text::graphemePrefix("e\xCC\x81x", 1), "e\xCC\x81");
    EXPECT_EQ(Text::graphemePrefix("\xF0\x9F\x87\xAB\xF0\x9F\x87\xB7!", 1),
              "\xF0\x9F\x87\xAB\xF0\x9F\x87\xB7");
}

TEST(Text, MapsCaseWithFullUnicodeRules) {
    EXPECT_EQ(Text::lowercased("HeLLo"), "hello");
    EXPECT_EQ(Text::lowercased("\xC3\x89T\xC3\x89"), "\xC3\xA9t\xC3\xA9"); // ÉTÉ
    EXPECT_EQ(Text::uppercased("stra\xC3\x9F"
                               "e"),
              "STRASSE");
    // Ill-formed bytes become U+FFFD; a mapping that grows past the first guess of its length.
    EXPECT_EQ(Text::lowercased("\xC3\x89\xFF"), "\xC3\xA9\xEF\xBF\xBD");
    std::string sharpS;
    for (int i = 0; i < 40; ++i)
        sharpS += "\xC3\x9F";
    EXPECT_EQ(Text::uppercased(sharpS), std::string(80, 'S'));
}

TEST(Text, TrimsUnicodeWhitespaceAtBothEnds) {
    EXPECT_EQ(Text::trimmed("  a b \n\t"), "a b");
    EXPECT_EQ(Text::trimmed("\xC2\xA0x\xE2\x80\x83"), "x"); // no-break space, em space
    EXPECT_EQ(Text::trimmed(" \n "), "");
}

TEST(Text, ValidatesAndRepairsUTF8) {
    EXPECT_TRUE(Text::isValidUTF8("caf\xC3\xA9"));
    EXPECT_FALSE(Text::isValidUTF8("caf\xC3"));
    EXPECT_FALSE(Text::isValidUTF8("\xC0\xAF")); // overlong "/"
    EXPECT_EQ(Text::repairedUTF8("a\xFF"
                                 "b"),
              "a\xEF\xBF\xBD"
              "b");
}
