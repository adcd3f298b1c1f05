#include "BrindKit/system/LockBattery.hpp"
#include "BrindKit/system/LockFormat.hpp"
#include "BrindKit/system/LockScreenLayout.hpp"
#include "BrindKit/system/LockSequencer.hpp"
#include "BrindKit/system/LockWidgetPlan.hpp"

#include <cmath>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace brind {
namespace {

using W = LockWidget;
using Input = LockWidgetInput;
using Tone = LockBattery::Tone;

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

TEST(LockBattery, ToneFollowsChargingThenLowPowerThenChargeAndTheFillKeepsASliver) {
    // Percent, charging, low-power mode.
    EXPECT_EQ(LockBattery::tone(21, false, false), Tone::normal);
    EXPECT_EQ(LockBattery::tone(20, false, false), Tone::low);
    EXPECT_EQ(LockBattery::tone(5, true, true), Tone::charging);
    EXPECT_EQ(LockBattery::tone(5, false, true), Tone::lowPower);
    EXPECT_EQ(LockBattery::tone(80, false, true), Tone::lowPower);
    EXPECT_DOUBLE_EQ(LockBattery::fill(-10), 0.04);
    EXPECT_DOUBLE_EQ(LockBattery::fill(5), 0.05);
    EXPECT_DOUBLE_EQ(LockBattery::fill(130), 1);
}

TEST(LockBattery, DetailDescribesChargingAndTimeLeft) {
    const auto none = std::nullopt;
    // Percent, plugged in, charging, minutes to full, minutes left.
    EXPECT_EQ(LockBattery::detail(100, true, true, 30, none), "Fully charged");
    EXPECT_EQ(LockBattery::detail(99, true, true, none, none), "Charging");
    EXPECT_EQ(LockBattery::detail(99, true, false, none, none), "Not charging");
    EXPECT_EQ(LockBattery::detail(60, true, true, 95, 200), "1 h 35 min to full");
    // Under a minute would print an empty duration; it reads as no time.
    EXPECT_EQ(LockBattery::detail(60, true, true, 0, none), "Charging");
    EXPECT_EQ(LockBattery::detail(60, false, false, none, 120), "2 h left");
    EXPECT_EQ(LockBattery::detail(60, false, false, 30, none), none);
    EXPECT_EQ(LockBattery::detail(60, false, false, none, 0), none);
    EXPECT_EQ(LockBattery::detail(100, false, false, none, none), none);
}

TEST(LockFormat, MeetingCountsWholeMinutesUpward) {
    const std::vector<std::pair<double, std::string>> cases = {
        {-120, "Now"},   {0, "Now"},    {0.1, "1 min"},      {60, "1 min"},
        {60.5, "2 min"}, {3541, "1 h"}, {3601, "1 h 1 min"}, {NAN, "Now"}};
    for (const auto& [seconds, text] : cases)
        EXPECT_EQ(LockFormat::meeting(seconds), text) << seconds;
    // Absurd inputs still give text rather than overflowing.
    EXPECT_FALSE(LockFormat::meeting(INFINITY).empty());
    EXPECT_FALSE(LockFormat::meeting(1e300).empty());
}

TEST(LockScreenLayout, WidgetsFrameHangsBelowTheClockOrSitsLow) {
    struct Case {
        std::string label;
        RectF screen;
        RectF clock;
        RectF bottom;
    };
    const std::vector<Case> cases = {
        // 1000 points high: the clock block's top is 330 below the top edge, its height min(410, 340).
        {"laptop", {0, 0, 1512, 1000}, {436, 330, 640, 340}, {436, 240, 640, 340}},
        // A screen left of the main one, odd width: x rounds half away from zero.
        {"left of main", {-1440, 0, 1441, 900}, {-1040, 263, 640, 340}, {-1040, 216, 640, 340}},
        // Narrow and short: the width leaves 20 points each side and the height comes from the fractions.
        {"small", {0, 200, 500, 300}, {20, 278, 460, 123}, {20, 272, 460, 138}},
        // Tiny: the height never drops below 120.
        {"tiny", {0, 0, 400, 200}, {20, 14, 360, 120}, {20, 48, 360, 120}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(LockScreenLayout::widgetsFrame(c.screen, LockPosition::clock), c.clock) << c.label;
        EXPECT_EQ(LockScreenLayout::widgetsFrame(c.screen, LockPosition::bottom), c.bottom) << c.label;
    }
}

TEST(LockScreenLayout, NotchShapeAddsAWingEachSideWhenExpanded) {
    // The wings go on the closed island as the user sized it, offsets included.
    IslandLayout::Input housing;
    housing.metrics = NotchMetrics{true, SizeF{185, 32}, 32};
    housing.widthOffset = 10;
    housing.heightOffset = 4;
    EXPECT_EQ(LockScreenLayout::notchShape(housing, false), (SizeF{195, 36}));
    EXPECT_EQ(LockScreenLayout::notchShape(housing, true), (SizeF{287, 36}));

    // Floating below the top bar there is no housing to hug.
    IslandLayout::Input floating;
    floating.floating = true;
    EXPECT_EQ(LockScreenLayout::notchShape(floating, true), (SizeF{180, 36}));
}

TEST(LockScreenLayout, WidgetsGoToTheFirstBuiltInScreen) {
    EXPECT_EQ(LockScreenLayout::widgetsScreen({}), std::nullopt);
    EXPECT_EQ(LockScreenLayout::widgetsScreen({false, false, true, true}), 2u);
    EXPECT_EQ(LockScreenLayout::widgetsScreen({false, false}), 0u);
}

using Effect = LockSequencer::Effect;
using Step = LockSequencer::Step;

// One call on the sequencer, with the effect, phase and generation it must leave.
struct Call {
    std::function<Effect(LockSequencer&)> run;
    Effect effect;
    LockPhase phase;
    std::uint64_t generation;
};

Call lock(Effect effect, LockPhase phase, std::uint64_t generation) {
    return {&LockSequencer::lock, effect, phase, generation};
}
Call unlock(Effect effect, LockPhase phase, std::uint64_t generation) {
    return {&LockSequencer::unlock, effect, phase, generation};
}
Call reset(Effect effect, LockPhase phase, std::uint64_t generation) {
    return {&LockSequencer::reset, effect, phase, generation};
}
Call fire(Step step, std::uint64_t with, Effect effect, LockPhase phase, std::uint64_t generation) {
    return {[step, with](LockSequencer& s) { return s.fire(step, with); }, effect, phase, generation};
}

void play(const std::vector<Call>& calls, LockTiming timing = LockTiming::standard()) {
    LockSequencer sequencer(timing);
    for (std::size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE("call " + std::to_string(i));
        EXPECT_EQ(calls[i].run(sequencer), calls[i].effect);
        EXPECT_EQ(sequencer.phase(), calls[i].phase);
        EXPECT_EQ(sequencer.generation(), calls[i].generation);
    }
}

using S = LockSequencer::Schedule;
constexpr LockSequencer::None none{};
constexpr LockSequencer::Show show{};
constexpr LockSequencer::Relock relock{};
constexpr LockSequencer::Teardown teardown{};

TEST(LockSequencer, RelockMakesEarlierTimersHarmless) {
    // With reduce motion on, the hold and the collapse are shorter.
    play({lock(show, LockPhase::locked, 1), unlock(S{Step::collapse, 0.5, 2}, LockPhase::unlocking, 2),
          lock(relock, LockPhase::locked, 3), unlock(S{Step::collapse, 0.5, 4}, LockPhase::unlocking, 4),
          // The collapse armed before the relock fires during the new unlock: it must not cut the new
          // hold short.
          fire(Step::collapse, 2, none, LockPhase::unlocking, 4),
          fire(Step::collapse, 4, S{Step::teardown, 0.25, 4}, LockPhase::collapsing, 4),
          lock(relock, LockPhase::locked, 5), unlock(S{Step::collapse, 0.5, 6}, LockPhase::unlocking, 6),
          fire(Step::collapse, 6, S{Step::teardown, 0.25, 6}, LockPhase::collapsing, 6),
          // Likewise the old teardown must not remove the windows mid-collapse.
          fire(Step::teardown, 4, none, LockPhase::collapsing, 6),
          fire(Step::teardown, 6, teardown, LockPhase::hidden, 6)},
         LockTiming::forReduceMotion(true));
}

TEST(LockSequencer, FullCycleWhereCallsThatDoNotFitThePhaseDoNothingAndResetsInvalidateTimers) {
    play({unlock(none, LockPhase::hidden, 0), lock(show, LockPhase::locked, 1),
          lock(none, LockPhase::locked, 1), fire(Step::collapse, 1, none, LockPhase::locked, 1),
          unlock(S{Step::collapse, 0.85, 2}, LockPhase::unlocking, 2), unlock(none, LockPhase::unlocking, 2),
          fire(Step::teardown, 2, none, LockPhase::unlocking, 2),
          fire(Step::collapse, 3, none, LockPhase::unlocking, 2),
          fire(Step::collapse, 2, S{Step::teardown, 0.5, 2}, LockPhase::collapsing, 2),
          fire(Step::collapse, 2, none, LockPhase::collapsing, 2), unlock(none, LockPhase::collapsing, 2),
          fire(Step::teardown, 2, teardown, LockPhase::hidden, 2),
          // A second session starts over from hidden; a reset tears it down wherever it is.
          lock(show, LockPhase::locked, 3), reset(teardown, LockPhase::hidden, 4),
          reset(none, LockPhase::hidden, 5), lock(show, LockPhase::locked, 6),
          unlock(S{Step::collapse, 0.85, 7}, LockPhase::unlocking, 7), reset(teardown, LockPhase::hidden, 8),
          fire(Step::collapse, 7, none, LockPhase::hidden, 8)});
}

} // namespace
} // namespace brind
