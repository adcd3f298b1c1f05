#include "BrindKit/system/LockWidgetPlan.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace brind {
namespace {

using W = LockWidget;
using Input = LockWidgetInput;

TEST(LockWidgetPlan, KeepsMediaAndTheFirstFourSmallWidgets) {
    Input input;
    input.media = input.battery = input.bluetooth = input.meeting = input.weather = input.timer =
        input.focus = true;
    input.hasMedia = input.hasBattery = input.hasBluetooth = input.hasForecast = input.hasTimer = true;
    input.stayAwake = true;
    input.meetingIn = 600;
    input.focusName = "Work";
    EXPECT_EQ(LockWidgetPlan::widgets(input),
              (std::vector<W>{W::media, W::battery, W::bluetooth, W::meeting, W::weather}));

    // Without media the cap is still four: media never takes a small widget's place.
    input.hasMedia = false;
    input.battery = false;
    input.meetingIn.reset();
    EXPECT_EQ(LockWidgetPlan::widgets(input), (std::vector<W>{W::bluetooth, W::weather, W::timer, W::focus}));
}

TEST(LockWidgetPlan, EachWidgetNeedsItsToggleAndItsFact) {
    struct Case {
        void (*toggle)(Input&);
        void (*fact)(Input&);
        std::vector<W> widgets;
    };
    const std::vector<Case> cases = {
        {[](Input& i) { i.media = true; }, [](Input& i) { i.hasMedia = true; }, {W::media}},
        {[](Input& i) { i.battery = true; }, [](Input& i) { i.hasBattery = true; }, {W::battery}},
        {[](Input& i) { i.bluetooth = true; }, [](Input& i) { i.hasBluetooth = true; }, {W::bluetooth}},
        {[](Input& i) { i.meeting = true; }, [](Input& i) { i.meetingIn = -10; }, {W::meeting}},
        {[](Input& i) { i.weather = true; }, [](Input& i) { i.hasForecast = true; }, {W::weather}},
        {[](Input& i) { i.timer = true; }, [](Input& i) { i.hasTimer = true; }, {W::timer}},
        // The Focus toggle also governs the stay-awake widget, which follows Focus.
        {[](Input& i) { i.focus = true; }, [](Input& i) { i.stayAwake = true; }, {W::stayAwake}},
        {[](Input& i) { i.focus = true; },
         [](Input& i) {
             i.focusName = "Sleep";
             i.stayAwake = true;
         },
         {W::focus, W::stayAwake}},
        {[](Input& i) { i.focus = true; }, [](Input& i) { i.focusName = ""; }, {}},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        Input toggleOnly, factOnly, both;
        cases[i].toggle(toggleOnly);
        cases[i].fact(factOnly);
        cases[i].toggle(both);
        cases[i].fact(both);
        EXPECT_TRUE(LockWidgetPlan::widgets(toggleOnly).empty()) << "case " << i;
        EXPECT_TRUE(LockWidgetPlan::widgets(factOnly).empty()) << "case " << i;
        EXPECT_EQ(LockWidgetPlan::widgets(both), cases[i].widgets) << "case " << i;
    }
}

TEST(LockWidgetPlan, MeetingWindowIncludesBothEnds) {
    for (const auto& [meetingIn, shown] : std::vector<std::pair<double, bool>>{
             {-300.5, false}, {-300, true}, {21600, true}, {21600.5, false}, {NAN, false}}) {
        Input input;
        input.meeting = true;
        input.meetingIn = meetingIn;
        EXPECT_EQ(LockWidgetPlan::widgets(input) == std::vector<W>{W::meeting}, shown) << meetingIn;
    }
}

} // namespace
} // namespace brind
