#include "BrindKit/island/ActivityGlyph.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

ActivityGlyph decoded(const char* text) {
    auto glyph = ActivityGlyph::fromJSON(JSON::parse(text));
    EXPECT_TRUE(glyph) << text << ": " << (glyph ? "" : glyph.error());
    return glyph.value_or(ActivityGlyph::spinner());
}

} // namespace

TEST(ActivityGlyph, DecodesTheFirstMatchingCaseInFixedOrder) {
    const RGBA red{1, 0, 0, 1};
    const std::pair<const char*, ActivityGlyph> cases[] = {
        {R"({"symbol": "timer", "text": "5s", "tint": "#F00"})", ActivityGlyph::symbol("timer", red)},
        {R"({"text": "5s", "ring": 0.5})", ActivityGlyph::text("5s")},
        {R"({"ring": 1.7, "tint": {"r": 1, "g": 0, "b": 0}})", ActivityGlyph::ring(1, red)},
        {R"({"ring": -2})", ActivityGlyph::ring(0)},
        {R"({"image": "aGk=", "app": "org.example"})", ActivityGlyph::image("hi")},
        // Text that is not base64 passes over the image case.
        {R"({"image": "not base64!", "app": "org.example"})", ActivityGlyph::appIcon("org.example")},
        {R"({"app": "org.example", "visualiser": true, "tint": "#F00"})",
         ActivityGlyph::appIcon("org.example")},
        {R"({"visualiser": true, "spinner": true})", ActivityGlyph::visualiser()},
        {R"({"visualiser": false, "spinner": true})", ActivityGlyph::spinner()},
        {R"({"symbol": 4, "tint": null})", ActivityGlyph::none()},
        {R"("star")", ActivityGlyph::none()},
    };
    for (const auto& [text, glyph] : cases)
        EXPECT_EQ(decoded(text), glyph) << text;
}

TEST(ActivityGlyph, FailsOnlyOnMalformedColours) {
    for (const char* text :
         {R"({"symbol": "x", "tint": "mauve"})", R"({"dot": {"r": 1}})", R"({"tint": 5})"}) {
        EXPECT_FALSE(ActivityGlyph::fromJSON(JSON::parse(text))) << text;
    }
}

TEST(ActivityGlyph, EncodesOneKeyPerCaseAndRoundTrips) {
    const RGBA blue{0, 0, 1, 1};
    const std::pair<ActivityGlyph, const char*> cases[] = {
        {ActivityGlyph::symbol("bolt", blue), R"({"symbol":"bolt","tint":"#0000FF"})"},
        {ActivityGlyph::image(std::string("\x89PNG", 4)), R"({"image":"iVBORw=="})"},
        {ActivityGlyph::appIcon("org.gnome.Terminal"), R"({"app":"org.gnome.Terminal"})"},
        {ActivityGlyph::ring(0.25, blue), R"({"ring":0.25,"tint":"#0000FF"})"},
        {ActivityGlyph::text("3:00"), R"({"text":"3:00"})"},
        {ActivityGlyph::visualiser(), R"({"visualiser":true})"},
        {ActivityGlyph::spinner(), R"({"spinner":true})"},
        {ActivityGlyph::dot(blue), R"({"dot":"#0000FF"})"},
        {ActivityGlyph::none(), R"({})"},
    };
    for (const auto& [glyph, text] : cases) {
        EXPECT_EQ(glyph.toJSON().dump(), text);
        EXPECT_EQ(ActivityGlyph::fromJSON(glyph.toJSON()), glyph) << text;
    }
}
