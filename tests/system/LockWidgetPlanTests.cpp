#include "BrindKit/system/LockWidgetPlan.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brind {
namespace {

using W = LockWidget;

LockWidgetInput everythingOn() {
    LockWidgetInput input;
    input.media = input.battery = input.bluetooth = input.meeting = input.weather = input.timer =
        input.focus = true;
    input.hasMedia = input.hasBattery = input.hasBluetooth = input.hasForecast = input.hasTimer = true;
    input.stayAwake = true;
    input.meetingIn = 600;
    input.focusName = "Work";
    return input;
}

TEST(LockWidgetPlan, KeepsMediaAndTheFirstFourSmallWidgets) {
    EXPECT_EQ(LockWidgetPlan::widgets(everythingOn()),
              (std::vector<W>{W::media, W::battery, W::bluetooth, W::meeting, W::weather}));

    LockWidgetInput noMedia = everythingOn();
    noMedia.hasMedia = false;
    noMedia.battery = false;
    noMedia.meetingIn.reset();
    EXPECT_EQ(LockWidgetPlan::widgets(noMedia),
              (std::vector<W>{W::bluetooth, W::weather, W::timer, W::focus}));

    LockWidgetInput fewer = noMedia;
    fewer.weather = false;
    fewer.hasTimer = false;
    EXPECT_EQ(LockWidgetPlan::widgets(fewer), (std::vector<W>{W::bluetooth, W::focus, W::stayAwake}));
    EXPECT_TRUE(LockWidgetPlan::widgets(LockWidgetInput{}).empty());
}

TEST(LockWidgetPlan, EachWidgetNeedsItsToggleAndItsFact) {
    struct Case {
        void (*change)(LockWidgetInput&);
        std::vector<W> widgets;
    };
    // Every fact true, every toggle off: turning on one toggle shows its widget alone.
    LockWidgetInput facts;
    facts.hasMedia = facts.hasBattery = facts.hasBluetooth = facts.hasForecast = facts.hasTimer = true;
    facts.stayAwake = true;
    facts.meetingIn = 60;
    facts.focusName = "Work";
    const std::vector<Case> toggles = {{[](LockWidgetInput& i) { i.media = true; }, {W::media}},
                                       {[](LockWidgetInput& i) { i.battery = true; }, {W::battery}},
                                       {[](LockWidgetInput& i) { i.bluetooth = true; }, {W::bluetooth}},
                                       {[](LockWidgetInput& i) { i.meeting = true; }, {W::meeting}},
                                       {[](LockWidgetInput& i) { i.weather = true; }, {W::weather}},
                                       {[](LockWidgetInput& i) { i.timer = true; }, {W::timer}},
                                       // The Focus toggle also governs the stay-awake widget.
                                       {[](LockWidgetInput& i) { i.focus = true; }, {W::focus, W::stayAwake}},
                                       {[](LockWidgetInput&) {}, {}}};
    for (std::size_t i = 0; i < toggles.size(); ++i) {
        LockWidgetInput input = facts;
        toggles[i].change(input);
        EXPECT_EQ(LockWidgetPlan::widgets(input), toggles[i].widgets) << "toggle case " << i;
    }

    // Every toggle on, no fact: providing one fact shows its widget alone.
    LockWidgetInput wanted;
    wanted.media = wanted.battery = wanted.bluetooth = wanted.meeting = true;
    wanted.weather = wanted.timer = wanted.focus = true;
    const std::vector<Case> available = {{[](LockWidgetInput& i) { i.hasMedia = true; }, {W::media}},
                                         {[](LockWidgetInput& i) { i.hasBattery = true; }, {W::battery}},
                                         {[](LockWidgetInput& i) { i.hasBluetooth = true; }, {W::bluetooth}},
                                         {[](LockWidgetInput& i) { i.meetingIn = -10; }, {W::meeting}},
                                         {[](LockWidgetInput& i) { i.hasForecast = true; }, {W::weather}},
                                         {[](LockWidgetInput& i) { i.hasTimer = true; }, {W::timer}},
                                         {[](LockWidgetInput& i) { i.focusName = "Sleep"; }, {W::focus}},
                                         {[](LockWidgetInput& i) { i.focusName = ""; }, {}},
                                         {[](LockWidgetInput& i) { i.stayAwake = true; }, {W::stayAwake}},
                                         {[](LockWidgetInput&) {}, {}}};
    for (std::size_t i = 0; i < available.size(); ++i) {
        LockWidgetInput input = wanted;
        available[i].change(input);
        EXPECT_EQ(LockWidgetPlan::widgets(input), available[i].widgets) << "fact case " << i;
    }
}

TEST(LockWidgetPlan, MeetingWindowIncludesBothEnds) {
    struct Case {
        double meetingIn;
        bool shown;
    };
    const std::vector<Case> cases = {{-360, false}, {-300.5, false},  {-300, true}, {0, true},
                                     {21600, true}, {21600.5, false}, {NAN, false}};
    for (const Case& c : cases) {
        LockWidgetInput input;
        input.meeting = true;
        input.meetingIn = c.meetingIn;
        EXPECT_EQ(LockWidgetPlan::widgets(input) == std::vector<W>{W::meeting}, c.shown) << c.meetingIn;
    }
}

} // namespace
} // namespace brind
