#include "BrindKit/clipboard/ClipColourParser.hpp"

#include <gtest/gtest.h>

#include <cmath>

using namespace brind;

namespace {

void expectNear(const RGBA& actual, const RGBA& expected, const std::string& context) {
    constexpr double tolerance = 1e-9;
    EXPECT_NEAR(actual.r, expected.r, tolerance) << context;
    EXPECT_NEAR(actual.g, expected.g, tolerance) << context;
    EXPECT_NEAR(actual.b, expected.b, tolerance) << context;
    EXPECT_NEAR(actual.a, expected.a, tolerance) << context;
}

} // namespace

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
        {"rgb(255 128 0)", {1, 128 / 255.0, 0, 1}},
        {"rgb(100%, 0%, 0%)", {1, 0, 0, 1}},
        {"rgba(0, 0, 255, 0.5)", {0, 0, 1, 0.5}},
        {"rgba(0 0 255 / 50%)", {0, 0, 1, 0.5}},
        {"rgb(0, 0, 0, 1)", {0, 0, 0, 1}},
        {"rgb(12.75, 0, 0)", {0.05, 0, 0, 1}},
        {"rgb(+255, 0, 0)", {1, 0, 0, 1}},
        {"hsl(0, 100%, 50%)", {1, 0, 0, 1}},
        {"hsl(120 100% 25%)", {0, 0.5, 0, 1}},
        {"hsla(240, 100%, 50%, 0.25)", {0, 0, 1, 0.25}},
        {"hsl(-120, 100%, 50%)", {0, 0, 1, 1}},
        {"hsl(600, 100%, 50%)", {0, 0, 1, 1}},
        {"hsl(0, 0%, 40%)", {0.4, 0.4, 0.4, 1}},
    };
    for (const auto& test : cases) {
        const auto colour = ClipColourParser::parse(test.text);
        ASSERT_TRUE(colour.has_value()) << test.text;
        expectNear(*colour, test.expected, test.text);
    }
}

TEST(ClipColourParser, RejectsWhatIsNotAColourLiteral) {
    const std::string cases[] = {
        "",
        "#",
        "#GGG",
        "#12345",
        "#1234567",
        "#FF8000FF00",
        "# FF8000",
        "FF8000",
        "rgb(256, 0, 0)",
        "rgb(-1, 0, 0)",
        "rgb(101%, 0%, 0%)",
        "rgb(0, 0)",
        "rgb(0, 0, 0, 0, 0)",
        "rgb()",
        "rgb(, ,)",
        "rgb(0, 0, 0, 2)",
        "rgb(0, 0, 0, 101%)",
        "rgb(1e, 0, 0)",
        "rgb(0x10, 0, 0)",
        "rgb(nan, 0, 0)",
        "rgb(inf, 0, 0)",
        "rgb(+-1, 0, 0)",
        "rgb(0,\t0, 0)",
        "rgb(10px, 0, 0)",
        "rgb(0, 0, 0",
        "rgb 0, 0, 0)",
        "rgb (0, 0, 0)",
        "rgbx(0, 0, 0)",
        "hsl(0, 100, 50)",
        "hsl(0deg, 100%, 50%)",
        "hsl(0, 100%, 50%, 2)",
        "hsl(0, 120%, 50%)",
        "a colour: rgb(0, 0, 0)",
    };
    for (const auto& text : cases)
        EXPECT_FALSE(ClipColourParser::parse(text).has_value()) << text;
}

TEST(ClipColourParser, HSLHueWrapsAroundTheCircle) {
    for (const double hue : {0.0, 45.0, 123.4, 359.0}) {
        const RGBA base = ClipColourParser::hslToRGB(hue, 0.6, 0.3);
        expectNear(ClipColourParser::hslToRGB(hue + 360, 0.6, 0.3), base, "plus a turn");
        expectNear(ClipColourParser::hslToRGB(hue - 720, 0.6, 0.3), base, "minus two turns");
    }
    // Light colours take the other branch of the q formula.
    expectNear(ClipColourParser::hslToRGB(60, 1, 0.75), RGBA{1, 1, 0.5, 1}, "light yellow");
    expectNear(ClipColourParser::hslToRGB(300, 0.5, 0.5), RGBA{0.75, 0.25, 0.75, 1}, "magenta");
}
