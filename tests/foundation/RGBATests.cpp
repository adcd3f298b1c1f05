#include "BrindKit/foundation/RGBA.hpp"

#include <gtest/gtest.h>
#include <unordered_set>

using namespace brind;

TEST(RGBA, HexClampsRoundsAndDropsNearlyOpaqueAlpha) {
    const std::pair<RGBA, const char*> cases[] = {
        {{1, 0.5, 0, 1}, "#FF8000"},     {{0, 0, 0, 0.5}, "#00000080"}, {{0, 0, 0, 0.9995}, "#000000"},
        {{0, 0, 0, 0.998}, "#000000FE"}, {{-1, 2, 0.2, 1}, "#00FF33"},  {RGBA::white, "#FFFFFF"},
        {RGBA::black, "#000000"},
    };
    for (const auto& [colour, hex] : cases)
        EXPECT_EQ(colour.hex(), hex);
}

TEST(RGBA, ParsesShortAndLongHexFormsAndRefusesOthers) {
    struct Case {
        const char* text;
        RGBA colour;
    };
    const Case cases[] = {
        {"  #abc \n", {0xAA / 255.0, 0xBB / 255.0, 0xCC / 255.0, 1}},
        {"F808", {1, 0x88 / 255.0, 0, 0x88 / 255.0}},
        {"#FF8800", {1, 0x88 / 255.0, 0, 1}},
        {"00000080", {0, 0, 0, 0x80 / 255.0}},
    };
    for (const auto& [text, colour] : cases)
        EXPECT_EQ(RGBA::fromHex(text), colour) << text;
    for (const char* text : {"#12345", "#GG0000", "", "#", "##abc", "+FFFFF", "-FFFFF", "0xFFFF", "#1234567",
                             "12 456", "#FFFFFFFFF", "ééé"})
        EXPECT_FALSE(RGBA::fromHex(text)) << text;
}

TEST(RGBA, LuminanceFollowsWCAGAndPicksTextColour) {
    EXPECT_NEAR((RGBA{1, 0, 0, 1}).luminance(), 0.2126, 1e-12);
    // 0.03928 sits on the linear side of the WCAG curve.
    EXPECT_NEAR((RGBA{0.03928, 0.03928, 0.03928, 0.2}).luminance(), 0.03928 / 12.92, 1e-12);
    EXPECT_NEAR((RGBA{0.5, 0.5, 0.5, 1}).luminance(), 0.2140411, 1e-6);

    EXPECT_EQ(RGBA::white.contrastingText(), (RGBA{0, 0, 0, 0.75}));
    EXPECT_EQ((RGBA{0.5, 0.5, 0.5, 1}).contrastingText(), (RGBA{1, 1, 1, 0.9}));
}

TEST(RGBA, DecodesStringsAndObjectsAndEncodesHex) {
    EXPECT_EQ(RGBA::fromJSON(JSON("#FF0000")), (RGBA{1, 0, 0, 1}));
    EXPECT_EQ(RGBA::fromJSON(JSON{{"r", 0.1}, {"g", 0.2}, {"b", 0.3}}), (RGBA{0.1, 0.2, 0.3, 1}));
    EXPECT_EQ(RGBA::fromJSON(JSON{{"r", 0}, {"g", 0}, {"b", 1}, {"a", 0.5}}), (RGBA{0, 0, 1, 0.5}));
    EXPECT_EQ((RGBA{1, 0.5, 0, 0.5}).toJSON(), JSON("#FF800080"));

    const auto bad = RGBA::fromJSON(JSON("tomato"));
    ASSERT_FALSE(bad);
    EXPECT_EQ(bad.error(), "not a hex colour: tomato");
    for (const JSON& value :
         {JSON{{"r", 1}, {"g", 1}}, JSON{{"r", "1"}, {"g", 1}, {"b", 1}}, JSON(3), JSON::array()})
        EXPECT_FALSE(RGBA::fromJSON(value)) << value.dump();
}

TEST(RGBA, EqualColoursHashAlike) {
    std::unordered_set<RGBA> set{RGBA{1, 0, 0, 1}, RGBA{1, 0, 0, 1}, RGBA{0, -0.0, 0, 1}, RGBA{0, 0, 0, 1}};
    EXPECT_EQ(set.size(), 2u);
}
