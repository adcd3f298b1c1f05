#include "BrindKit/island/HUDEvent.hpp"

#include <gtest/gtest.h>

using namespace brind;
using Kind = HUDEvent::Kind;

TEST(HUDEvent, ResolvesTheSymbolForKindAndLevel) {
    struct Case {
        Kind kind;
        std::optional<double> value;
        bool muted;
        const char* symbol;
    };
    const Case cases[] = {
        {Kind::volume, 0.5, true, "speaker.slash.fill"},
        {Kind::volume, 0, false, "speaker.slash.fill"},
        {Kind::volume, std::nullopt, false, "speaker.slash.fill"},
        {Kind::volume, 0.01, false, "speaker.wave.1.fill"},
        {Kind::volume, 0.34, false, "speaker.wave.2.fill"},
        {Kind::volume, 0.66, false, "speaker.wave.2.fill"},
        {Kind::volume, 0.67, false, "speaker.wave.3.fill"},
        {Kind::brightness, 0.49, false, "sun.min.fill"},
        {Kind::brightness, 0.5, false, "sun.max.fill"},
        {Kind::brightness, std::nullopt, false, "sun.min.fill"},
        {Kind::keyboardBacklight, 0, false, "light.min"},
        {Kind::keyboardBacklight, 0.1, false, "light.max"},
        {Kind::custom, std::nullopt, true, "info.circle.fill"},
    };
    for (const auto& [kind, value, muted, symbol] : cases) {
        const HUDEvent event = HUDEvent::make(kind, value, muted, std::nullopt, std::nullopt, std::nullopt);
        EXPECT_EQ(event.resolvedSymbol(), symbol) << HUDEvent::name(kind) << " " << value.value_or(-1);
    }
    HUDEvent custom;
    custom.symbol = "doc.on.clipboard.fill";
    EXPECT_EQ(custom.resolvedSymbol(), "doc.on.clipboard.fill");
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
