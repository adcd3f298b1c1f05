#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/island/HUDEvent.hpp"
#include "BrindKit/island/HUDKeyRules.hpp"
#include "BrindKit/island/HUDSteps.hpp"

#include <gtest/gtest.h>

using namespace brind;
using namespace brind::HUDKeyRules;

namespace {

using Action = Decision::Action;
using Kind = HUDEvent::Kind;
using HUDSteps::Direction;
using HUDSteps::Grid;

constexpr Conditions everythingThere{
    .outputSettable = true, .displayReadable = true, .keyboardAvailable = true};

TEST(HUDSteps, SnapsPressesToTheGrid) {
    // The last three lie beside grid point 1/16: within 0.000001 of it a press steps away from it
    // rather than onto it; farther off, onto it.
    const std::tuple<double, Direction, double> cases[] = {
        {0.5, Direction::down, 0.4375},     {0.53, Direction::up, 0.5625},
        {0.53, Direction::down, 0.5},       {1.0, Direction::up, 1.0},
        {0.0, Direction::down, 0.0},        {-3, Direction::up, 0.0625},
        {7, Direction::down, 0.9375},       {0.06250005, Direction::down, 0.0},
        {0.06249999, Direction::up, 0.125}, {0.0624999, Direction::up, 0.0625}};
    for (const auto& [from, direction, to] : cases)
        EXPECT_DOUBLE_EQ(HUDSteps::step(from, direction, Grid::coarse), to)
            << from << (direction == Direction::up ? " up" : " down");
    EXPECT_DOUBLE_EQ(HUDSteps::step(0.5, Direction::down, Grid::fine), 0.484375);

    EXPECT_EQ(HUDSteps::segments(0.5), 8);
    EXPECT_EQ(HUDSteps::segments(0.03), 0);
    EXPECT_EQ(HUDSteps::segments(0.04), 1);
    EXPECT_EQ(HUDSteps::segments(2), 16);
    EXPECT_EQ(HUDSteps::segments(-1, 10), 0);
    EXPECT_EQ(HUDSteps::segments(0.25, 64), 16);
    EXPECT_EQ(HUDSteps::percent(0.504), "50");
    EXPECT_EQ(HUDSteps::percent(0.505), "51");
    EXPECT_EQ(HUDSteps::percent(1.2), "100");
    EXPECT_EQ(HUDSteps::percent(-0.2), "0");
}

TEST(HUDKeyRules, ModifiersChooseTheGridOrLeaveTheKeyToTheDesktop) {
    const std::pair<Modifiers, std::optional<Grid>> cases[] = {
        {{.shift = true}, Grid::coarse},
        {{.shift = true, .command = true}, std::nullopt},
        {{.shift = true, .option = true, .command = true}, std::nullopt},
        {{.option = true}, std::nullopt},
        {{.command = true}, std::nullopt},
        {{.control = true}, std::nullopt},
        {{.shift = true, .option = true, .control = true}, std::nullopt},
    };
    for (const auto& [modifiers, expected] : cases)
        EXPECT_EQ(grid(modifiers), expected)
            << modifiers.shift << modifiers.option << modifiers.command << modifiers.control;
    EXPECT_EQ(decide(HUDKey::soundUp, KeyState::down, {.option = true}, everythingThere).action,
              Action::pass);
}

TEST(HUDKeyRules, EachFamilyNeedsItsSwitchAndItsDevice) {
    const struct {
        const char* what;
        bool Conditions::*off;
        HUDKey key;
        KeyState state;
        Action action;
    } cases[] = {
        {"press", nullptr, HUDKey::soundUp, KeyState::down, Action::perform},
        {"release is taken without action", nullptr, HUDKey::mute, KeyState::up, Action::swallow},
        {"HUD off", &Conditions::enabled, HUDKey::soundUp, KeyState::down, Action::pass},
        {"HUD off, release", &Conditions::enabled, HUDKey::soundUp, KeyState::up, Action::pass},
        {"volume off", &Conditions::volume, HUDKey::soundDown, KeyState::down, Action::pass},
        {"volume off leaves brightness", &Conditions::volume, HUDKey::brightnessUp, KeyState::down,
         Action::perform},
        {"no sound server", &Conditions::outputSettable, HUDKey::mute, KeyState::down, Action::pass},
        {"brightness off", &Conditions::brightness, HUDKey::brightnessDown, KeyState::down, Action::pass},
        {"no backlight", &Conditions::displayReadable, HUDKey::brightnessUp, KeyState::up, Action::pass},
        {"keyboard off", &Conditions::keyboard, HUDKey::illuminationToggle, KeyState::down, Action::pass},
        {"no keyboard light", &Conditions::keyboardAvailable, HUDKey::illuminationUp, KeyState::down,
         Action::pass},
        {"keyboard light", nullptr, HUDKey::illuminationDown, KeyState::down, Action::perform},
    };
    for (const auto& test : cases) {
        Conditions conditions = everythingThere;
        if (test.off)
            conditions.*test.off = false;
        EXPECT_EQ(decide(test.key, test.state, {}, conditions).action, test.action) << test.what;
    }
}

TEST(HUDKeyRules, PressesStepTheLevelAndKeepMuteRules) {
    const struct {
        const char* what;
        OutputLevel before;
        HUDKey key;
        Grid grid;
        OutputLevel after;
    } cases[] = {
        {"fine", {0.5, false}, HUDKey::soundUp, Grid::fine, {0.515625, false}},
        {"mute again unmutes", {0.5, true}, HUDKey::mute, Grid::coarse, {0.5, false}},
        {"up from muted unmutes", {0, true}, HUDKey::soundUp, Grid::coarse, {0.0625, false}},
        {"down to 0 stays muted", {0.0625, true}, HUDKey::soundDown, Grid::coarse, {0, true}},
        {"down to 0 does not mute", {0.0625, false}, HUDKey::soundDown, Grid::coarse, {0, false}},
    };
    for (const auto& [what, before, key, grid, after] : cases) {
        const OutputLevel result = volumeAfter(before, key, grid);
        EXPECT_DOUBLE_EQ(result.level, after.level) << what;
        EXPECT_EQ(result.muted, after.muted) << what;
    }
    EXPECT_TRUE(volumeEvent({0.5, true}, "Speakers").muted);
    EXPECT_TRUE(volumeEvent({0, false}, std::nullopt).muted);
    EXPECT_EQ(volumeEvent({0.5, false}, "Speakers"),
              HUDEvent::make(Kind::volume, 0.5, false, std::nullopt, "Speakers", std::nullopt));

    // Brightness and the keyboard light step from half when their level is unknown.
    EXPECT_DOUBLE_EQ(levelAfter(std::nullopt, HUDKey::brightnessUp, Grid::coarse), 0.5625);
    EXPECT_DOUBLE_EQ(levelAfter(0.5, HUDKey::brightnessDown, Grid::fine), 0.484375);
    EXPECT_DOUBLE_EQ(levelAfter(1, HUDKey::illuminationToggle, Grid::fine), 0);
}

TEST(HUDKeyRules, WholeNumberDevicesMoveAtLeastOneUnitTowardsTheLevel) {
    const struct {
        double level;
        int current;
        int maximum;
        int raw;
    } cases[] = {
        {0.5625, 3, 10, 6}, // the nearest unit
        {0.6875, 3, 3, 2},  // 2.06: the nearest unit is already below the current 3
        {0.9375, 3, 3, 2},  // 2.81 rounds back to 3: one unit down instead
        {0.25, 3, 3, 1},       {0, 1, 3, 0}, {1, 3, 3, 3}, // at the top already
        {0.5, 512, 1024, 512},                             // no change asked for, none made
        {0.5, 0, 0, 0},                                    // a device without levels
    };
    for (const auto& [level, current, maximum, raw] : cases)
        EXPECT_EQ(rawLevel(level, current, maximum), raw) << level << " from " << current << "/" << maximum;
}

TEST(HUDKeyRules, ChangesRightAfterTheIslandsOwnAreNotFlashedAgain) {
    const Date pressed{1000};
    EXPECT_TRUE(flashesChangeElsewhere(std::nullopt, pressed));
    EXPECT_FALSE(flashesChangeElsewhere(pressed, pressed + 0.3));
    EXPECT_FALSE(flashesChangeElsewhere(pressed, pressed + 0.4));
    EXPECT_TRUE(flashesChangeElsewhere(pressed, pressed + 0.5));
}

TEST(HUDKeyRules, KeysHaveTheCommandsNames) {
    for (const HUDKey key : allHUDKeys)
        EXPECT_EQ(hudKeyNamed(stepName(key), directionName(key)), key);
    EXPECT_EQ(hudKeyNamed("keyboard", "toggle"), HUDKey::illuminationToggle);
    EXPECT_EQ(hudKind(HUDKey::illuminationToggle), Kind::keyboardBacklight);
    EXPECT_EQ(hudKeyNamed("volume", "toggle"), std::nullopt);
    EXPECT_EQ(hudKeyNamed("Volume", "up"), std::nullopt);
}

TEST(HUDEvent, ResolvesTheSymbolForKindAndLevel) {
    const auto symbol = [](Kind kind, std::optional<double> value, bool muted) {
        return HUDEvent::make(kind, value, muted, std::nullopt, std::nullopt, std::nullopt).resolvedSymbol();
    };
    const std::tuple<Kind, std::optional<double>, const char*> cases[] = {
        {Kind::volume, 0, "speaker.slash.fill"},     {Kind::volume, 0.01, "speaker.wave.1.fill"},
        {Kind::volume, 0.34, "speaker.wave.2.fill"}, {Kind::volume, 0.66, "speaker.wave.2.fill"},
        {Kind::volume, 0.67, "speaker.wave.3.fill"}, {Kind::brightness, 0.49, "sun.min.fill"},
        {Kind::brightness, 0.5, "sun.max.fill"},     {Kind::brightness, std::nullopt, "sun.min.fill"},
        {Kind::keyboardBacklight, 0.1, "light.max"}};
    for (const auto& [kind, value, expected] : cases)
        EXPECT_EQ(symbol(kind, value, false), expected) << name(kind) << " " << value.value_or(-1);
    EXPECT_EQ(symbol(Kind::custom, std::nullopt, true), "info.circle.fill");
    EXPECT_EQ(HUDEvent::make(Kind::volume, 1, false, "bell.fill", {}, {}).resolvedSymbol(), "bell.fill");
}

// The memberwise form clamps a present level; a decoded event keeps the level it was sent.
TEST(HUDEvent, MakeClampsTheLevelAndDecodingTakesItAsGiven) {
    EXPECT_EQ(HUDEvent::make(Kind::volume, 1.5, false, {}, {}, {}).value, 1.0);
    EXPECT_EQ(HUDEvent::make(Kind::volume, -0.5, false, {}, {}, {}).value, 0.0);
    EXPECT_EQ(HUDEvent::make(Kind::volume, std::nullopt, false, {}, {}, {}).value, std::nullopt);

    const auto event = HUDEvent::fromJSON(JSON::parse(
        R"({"kind": "keyboardBacklight", "value": 1.5, "muted": false, "label": "Keyboard", "tint": "#00F"})"));
    ASSERT_TRUE(event);
    EXPECT_EQ(*event,
              (HUDEvent{Kind::keyboardBacklight, 1.5, false, std::nullopt, "Keyboard", RGBA{0, 0, 1, 1}}));
    EXPECT_EQ(HUDEvent::fromJSON(event->toJSON()), event);

    for (const JSON& body :
         JSON::parse(AtomicFile::read(BRIND_TEST_DATA "/island/refused.json").value()).at("hudEvents")) {
        const auto bad = HUDEvent::fromJSON(body);
        ASSERT_FALSE(bad) << body.dump();
        EXPECT_FALSE(bad.error().empty());
    }
}

} // namespace
