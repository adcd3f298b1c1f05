#include "BrindKit/island/HUDKeyRules.hpp"

#include <gtest/gtest.h>

using namespace brind;
using namespace brind::HUDKeyRules;

namespace {

using Action = Decision::Action;
using HUDSteps::Grid;

Conditions everythingThere() {
    return {.outputSettable = true, .displayReadable = true, .keyboardAvailable = true};
}

TEST(HUDKeyRules, ModifiersChooseTheGridOrLeaveTheKeyToTheDesktop) {
    struct Case {
        Modifiers modifiers;
        std::optional<Grid> grid;
    };
    const Case cases[] = {
        {{}, Grid::coarse},
        {{.shift = true}, Grid::coarse},
        {{.shift = true, .option = true}, Grid::fine},
        {{.shift = true, .command = true}, std::nullopt},
        {{.shift = true, .option = true, .command = true}, std::nullopt},
        {{.option = true}, std::nullopt},
        {{.command = true}, std::nullopt},
        {{.control = true}, std::nullopt},
        {{.shift = true, .option = true, .control = true}, std::nullopt},
    };
    for (const auto& [modifiers, expected] : cases)
        EXPECT_EQ(grid(modifiers), expected) << modifiers.shift << modifiers.option << modifiers.command
                                             << modifiers.control;
}

TEST(HUDKeyRules, EachFamilyNeedsItsSwitchAndItsDevice) {
    struct Case {
        const char* what;
        Conditions conditions;
        HUDKey key;
        KeyState state;
        Action action;
    };
    auto with = [](auto change) {
        Conditions conditions = everythingThere();
        change(conditions);
        return conditions;
    };
    const Case cases[] = {
        {"press", everythingThere(), HUDKey::soundUp, KeyState::down, Action::perform},
        {"release is taken without action", everythingThere(), HUDKey::mute, KeyState::up, Action::swallow},
        {"HUD off", with([](Conditions& c) { c.enabled = false; }), HUDKey::soundUp, KeyState::down, Action::pass},
        {"HUD off, release", with([](Conditions& c) { c.enabled = false; }), HUDKey::soundUp, KeyState::up,
         Action::pass},
        {"volume off", with([](Conditions& c) { c.volume = false; }), HUDKey::soundDown, KeyState::down, Action::pass},
        {"volume off leaves brightness", with([](Conditions& c) { c.volume = false; }), HUDKey::brightnessUp,
         KeyState::down, Action::perform},
        {"no sound server", with([](Conditions& c) { c.outputSettable = false; }), HUDKey::mute, KeyState::down,
         Action::pass},
        {"brightness off", with([](Conditions& c) { c.brightness = false; }), HUDKey::brightnessDown,
         KeyState::down, Action::pass},
        {"no backlight", with([](Conditions& c) { c.displayReadable = false; }), HUDKey::brightnessUp, KeyState::up,
         Action::pass},
        {"keyboard off", with([](Conditions& c) { c.keyboard = false; }), HUDKey::illuminationToggle,
         KeyState::down, Action::pass},
        {"no keyboard light", with([](Conditions& c) { c.keyboardAvailable = false; }), HUDKey::illuminationUp,
         KeyState::down, Action::pass},
        {"keyboard light", everythingThere(), HUDKey::illuminationDown, KeyState::down, Action::perform},
    };
    for (const auto& [what, conditions, key, state, action] : cases)
        EXPECT_EQ(decide(key, state, {}, conditions).action, action) << what;

    EXPECT_EQ(decide(HUDKey::soundUp, KeyState::down, {.shift = true, .option = true}, everythingThere()),
              (Decision{Action::perform, Grid::fine}));
    EXPECT_EQ(decide(HUDKey::soundUp, KeyState::down, {.option = true}, everythingThere()).action, Action::pass);
    EXPECT_EQ(decide(HUDKey::soundUp, KeyState::down, {.shift = true, .command = true}, everythingThere()).action,
              Action::pass);
}

TEST(HUDKeyRules, VolumePressesStepTheLevelAndKeepMuteRules) {
    struct Case {
        const char* what;
        OutputLevel before;
        HUDKey key;
        Grid grid;
        OutputLevel after;
    };
    const Case cases[] = {
        {"up", {0.5, false}, HUDKey::soundUp, Grid::coarse, {0.5625, false}},
        {"down between grid points", {0.53, false}, HUDKey::soundDown, Grid::coarse, {0.5, false}},
        {"fine", {0.5, false}, HUDKey::soundUp, Grid::fine, {0.515625, false}},
        {"mute keeps the level", {0.5, false}, HUDKey::mute, Grid::coarse, {0.5, true}},
        {"mute again unmutes", {0.5, true}, HUDKey::mute, Grid::coarse, {0.5, false}},
        {"up from muted unmutes", {0, true}, HUDKey::soundUp, Grid::coarse, {0.0625, false}},
        {"down to 0 stays muted", {0.0625, true}, HUDKey::soundDown, Grid::coarse, {0, true}},
        {"down to 0 does not mute", {0.0625, false}, HUDKey::soundDown, Grid::coarse, {0, false}},
        {"up from full stays full", {1, false}, HUDKey::soundUp, Grid::coarse, {1, false}},
    };
    for (const auto& [what, before, key, grid, after] : cases) {
        const OutputLevel result = volumeAfter(before, key, grid);
        EXPECT_DOUBLE_EQ(result.level, after.level) << what;
        EXPECT_EQ(result.muted, after.muted) << what;
    }
    EXPECT_TRUE(volumeEvent({0.5, true}, "Speakers").muted);
    EXPECT_TRUE(volumeEvent({0, false}, std::nullopt).muted);
    EXPECT_EQ(volumeEvent({0.5, false}, "Speakers"),
              HUDEvent::make(HUDEvent::Kind::volume, 0.5, false, std::nullopt, "Speakers", std::nullopt));
}

TEST(HUDKeyRules, BrightnessAndKeyboardLightStepFromHalfWhenUnknown) {
    EXPECT_DOUBLE_EQ(levelAfter(std::nullopt, HUDKey::brightnessUp, Grid::coarse), 0.5625);
    EXPECT_DOUBLE_EQ(levelAfter(0.5, HUDKey::brightnessDown, Grid::fine), 0.484375);
    EXPECT_DOUBLE_EQ(levelAfter(0, HUDKey::illuminationToggle, Grid::coarse), 0.5);
    EXPECT_DOUBLE_EQ(levelAfter(0.2, HUDKey::illuminationToggle, Grid::coarse), 0);
    EXPECT_DOUBLE_EQ(levelAfter(1, HUDKey::illuminationToggle, Grid::fine), 0);
    EXPECT_DOUBLE_EQ(levelAfter(0.06250005, HUDKey::illuminationDown, Grid::coarse), 0);
}

TEST(HUDKeyRules, WholeNumberDevicesMoveAtLeastOneUnitTowardsTheLevel) {
    struct Case {
        double level;
        int current;
        int maximum;
        int raw;
    };
    const Case cases[] = {
        {0.5625, 3, 10, 6},    // the nearest unit
        {0.3125, 3, 10, 4},    // 3.125 rounds back to 3: one unit up instead
        {0.6875, 3, 3, 2},     // 2.06: the nearest unit is already below the current 3
        {0.9375, 3, 3, 2},     // 2.81 rounds back to 3: one unit down instead
        {0.25, 3, 3, 1},
        {0, 1, 3, 0},
        {1, 3, 3, 3},          // at the top already
        {0.5, 512, 1024, 512}, // no change asked for, none made
        {0.5, 0, 0, 0},        // a device without levels
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
    EXPECT_EQ(hudKind(HUDKey::illuminationToggle), HUDEvent::Kind::keyboardBacklight);
    EXPECT_EQ(hudKeyNamed("volume", "toggle"), std::nullopt);
    EXPECT_EQ(hudKeyNamed("Volume", "up"), std::nullopt);
}

} // namespace
