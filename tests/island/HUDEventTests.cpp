#include "BrindKit/island/HUDEvent.hpp"

#include <gtest/gtest.h>

using namespace brind;
using Kind = HUDEvent::Kind;

TEST(HUDEvent, ResolvesTheSymbolForKindAndLevel) {
    const auto symbol = [](Kind kind, std::optional<double> value, bool muted) {
        return HUDEvent::make(kind, value, muted, std::nullopt, std::nullopt, std::nullopt).resolvedSymbol();
    };
    const std::tuple<Kind, std::optional<double>, const char*> cases[] = {
        {Kind::volume, 0, "speaker.slash.fill"},     {Kind::volume, 0.01, "speaker.wave.1.fill"},
        {Kind::volume, 0.34, "speaker.wave.2.fill"}, {Kind::volume, 0.66, "speaker.wave.2.fill"},
        {Kind::volume, 0.67, "speaker.wave.3.fill"}, {Kind::brightness, 0.49, "sun.min.fill"},
        {Kind::brightness, 0.5, "sun.max.fill"},     {Kind::brightness, std::nullopt, "sun.min.fill"},
        {Kind::keyboardBacklight, 0, "light.min"},   {Kind::keyboardBacklight, 0.1, "light.max"}};
    for (const auto& [kind, value, expected] : cases)
        EXPECT_EQ(symbol(kind, value, false), expected) << name(kind) << " " << value.value_or(-1);
    EXPECT_EQ(symbol(Kind::volume, 0.5, true), "speaker.slash.fill");
    EXPECT_EQ(symbol(Kind::custom, std::nullopt, true), "info.circle.fill");
    EXPECT_EQ(HUDEvent::make(Kind::volume, 1, false, "bell.fill", {}, {}).resolvedSymbol(), "bell.fill");
}

TEST(HUDEvent, InitialiserClampsAPresentLevel) {
    EXPECT_EQ(HUDEvent::make(Kind::volume, 1.5, false, {}, {}, {}).value, 1.0);
    EXPECT_EQ(HUDEvent::make(Kind::volume, -0.5, false, {}, {}, {}).value, 0.0);
    EXPECT_EQ(HUDEvent::make(Kind::volume, std::nullopt, false, {}, {}, {}).value, std::nullopt);
}

TEST(HUDEvent, DecodesRequiredKindAndMutedAndTakesValueAsGiven) {
    const auto event = HUDEvent::fromJSON(JSON::parse(
        R"({"kind": "keyboardBacklight", "value": 1.5, "muted": false, "label": "Keyboard", "tint": "#00F"})"));
    ASSERT_TRUE(event);
    EXPECT_EQ(*event,
              (HUDEvent{Kind::keyboardBacklight, 1.5, false, std::nullopt, "Keyboard", RGBA{0, 0, 1, 1}}));
    EXPECT_EQ(HUDEvent::fromJSON(event->toJSON()), event);

    for (const char* text : {R"({"muted": true})", R"({"kind": "loudness", "muted": true})",
                             R"({"kind": "Volume", "muted": true})", R"({"kind": "custom"})",
                             R"({"kind": "custom", "muted": "no"})",
                             R"({"kind": "custom", "muted": true, "tint": 1})", R"([])"}) {
        const auto bad = HUDEvent::fromJSON(JSON::parse(text));
        ASSERT_FALSE(bad) << text;
        EXPECT_FALSE(bad.error().empty());
    }
}
