#include "BrindKit/clipboard/ClipColourParser.hpp"

#include <gtest/gtest.h>

using namespace brind;

TEST(ClipColourParser, AcceptsColourLiterals) {
    const struct {
        std::string text;
        RGBA expected;
    } cases[] = {
        {"#F80", {1, 0x88 / 255.0, 0, 1}},
        {"#f808", {1, 0x88 / 255.0, 0, 0x88 / 255.0}},
        {"#FF8000", {1, 128 / 255.0, 0, 1}},
        {"#00000080", {0, 0, 0, 128 / 255.0}},
        {"rgb(255, 128, 0)", {1, 128 / 255.0, 0, 1}},
        {"RGB(255,128,0)", {1, 128 / 255.0, 0, 1}},
        {"rgb(100%, 0%, 0%)", {1, 0, 0, 1}},
        {"rgba(0, 0, 255, 0.5)", {0, 0, 1, 0.5}},
        {"rgba(0 0 255 / 50%)", {0, 0, 1, 0.5}},
        {"rgb(0, 0, 0, 1)", {0, 0, 0, 1}},
        {"rgb(12.75, 0, 0)", {0.05, 0, 0, 1}},
        {"rgb(+255, 0, 0)", {1, 0, 0, 1}},
        {"hsl(0, 100%, 50%)", {1, 0, 0, 1}},
        {"hsl(120 100% 25%)", {0, 0.5, 0, 1}},
        {"hsla(240, 100%, 50%, 0.25)", {0, 0, 1, 0.25}},
        {"hsl(90, 100%, 50%)", {0.5, 1, 0, 1}},
        {"hsl(0, 0%, 40%)", {0.4, 0.4, 0.4, 1}},
        // Hues wrap around the circle both ways.
        {"hsl(-120, 100%, 50%)", {0, 0, 1, 1}},
        {"hsl(600, 100%, 50%)", {0, 0, 1, 1}},
        // Light colours take the other branch of the q formula.
        {"hsl(60, 100%, 75%)", {1, 1, 0.5, 1}},
    };
    for (const auto& test : cases) {
        const auto colour = ClipColourParser::parse(test.text);
        ASSERT_TRUE(colour.has_value()) << test.text;
        EXPECT_NEAR(colour->r, test.expected.r, 1e-9) << test.text;
        EXPECT_NEAR(colour->g, test.expected.g, 1e-9) << test.text;
        EXPECT_NEAR(colour->b, test.expected.b, 1e-9) << test.text;
        EXPECT_NEAR(colour->a, test.expected.a, 1e-9) << test.text;
    }
}

TEST(ClipColourParser, RejectsWhatIsNotAColourLiteral) {
    const std::vector<std::string> hexCases{
        "", "#", "#GGG", "#12345", "#FF8000FF00", "# FF8000", "FF8000", "a colour: rgb(0, 0, 0)",
    };
    // "nan" passes every range comparison, so it must be refused as a number.
    const std::vector<std::string> callCases{
        "rgb(256, 0, 0)",  "rgb(-1, 0, 0)",        "rgb(101%, 0%, 0%)",
        "rgb(0, 0)",       "rgb(0, 0, 0, 0, 0)",   "rgb(, ,)",
        "rgb(0, 0, 0, 2)", "rgb(1e, 0, 0)",        "rgb(10px, 0, 0)",
        "rgb(nan, 0, 0)",  "rgb(inf, 0, 0)",       "rgb(+-1, 0, 0)",
        "rgb(0,\t0, 0)",   "rgb(0, 0, 0",          "rgb (0, 0, 0)",
        "hsl(0, 100, 50)", "hsl(0deg, 100%, 50%)", "hsl(0, 100%, 50%, 2)",
    };
    for (const auto* cases : {&hexCases, &callCases}) {
        for (const std::string& text : *cases)
            EXPECT_FALSE(ClipColourParser::parse(text).has_value()) << text;
    }
}
