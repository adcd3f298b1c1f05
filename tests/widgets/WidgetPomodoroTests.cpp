#include "BrindKit/widgets/WidgetPomodoro.hpp"
#include "BrindKit/widgets/WidgetPomodoroActivity.hpp"

#include <cmath>
#include <gtest/gtest.h>

using namespace brind;
using Config = WidgetPomodoro::Config;
using Phase = WidgetPomodoro::Phase;
namespace PomodoroActivity = WidgetPomodoroActivity;
using Outcome = PomodoroActivity::Outcome;

namespace {

/// A timer of the default lengths (1500, 300 and 900 seconds, a long break after every fourth work
/// session), started at 0.
WidgetPomodoro started(bool autoAdvance = true) {
    Config config;
    config.autoAdvance = autoAdvance;
    auto pomodoro = WidgetPomodoro::make(config);
    pomodoro.start(Date{0});
    return pomodoro;
}

} // namespace

TEST(WidgetPomodoro, StartsStoppedAtTheBeginningOfAWorkSession) {
    const Config config{600, 60, 120, 3, true};
    const auto pomodoro = WidgetPomodoro::make(config);
    EXPECT_EQ(pomodoro, (WidgetPomodoro{config, Phase::work, 0, 0, std::nullopt, 600}));
    EXPECT_TRUE(pomodoro.hasNotBegun());
    // A stored 0 must not reach the modulo that picks the break.
    EXPECT_EQ(Config::fromMinutes(50, 10, 30, 0, true), (Config{3000, 600, 1800, 1, true}));
}

TEST(WidgetPomodoro, RunsAFullCycleWithExactBoundaries) {
    auto pomodoro = started();
    for (const Phase next : {Phase::shortBreak, Phase::work, Phase::shortBreak, Phase::work,
                             Phase::shortBreak, Phase::work, Phase::longBreak, Phase::work}) {
        const Date end = *pomodoro.endsAt;
        const Phase running = pomodoro.phase;
        EXPECT_EQ(pomodoro.tick(end - 0.001), std::nullopt) << "nothing ends early";
        EXPECT_EQ(pomodoro.tick(end), running);
        EXPECT_EQ(pomodoro.phase, next);
        EXPECT_EQ(pomodoro.endsAt, end + pomodoro.config.duration(next));
    }
    // 4 × 1500 + 3 × 300 + 900 seconds after the start, then the next work session.
    EXPECT_EQ(pomodoro,
              (WidgetPomodoro{pomodoro.config, Phase::work, 0, 4, Date{6000 + 900 + 900 + 1500}, 1500}));
}

TEST(WidgetPomodoro, LongBreakEveryBelowOneMeansEverySession) {
    for (const int every : {1, 0, -3}) {
        auto pomodoro = started();
        pomodoro.config.longBreakEvery = every;
        EXPECT_EQ(pomodoro.nextPhase(), Phase::longBreak) << every;
        pomodoro.tick(Date{1500});
        EXPECT_EQ(pomodoro.phase, Phase::longBreak) << every;
    }
}

TEST(WidgetPomodoro, SkippingCountsNothingAndKeepsTheTimerRunningOrPaused) {
    auto pomodoro = started();
    pomodoro.completedWork = 3;
    pomodoro.skip(Date{800});
    // The skipped fourth session still earns the long break, which runs from the skip.
    EXPECT_EQ(pomodoro, (WidgetPomodoro{pomodoro.config, Phase::longBreak, 3, 0, Date{1700}, 900}));

    pomodoro.pause(Date{810});
    pomodoro.skip(Date{820});
    // Leaving the long break starts a new cycle, and a paused timer stays paused.
    EXPECT_EQ(pomodoro, (WidgetPomodoro{pomodoro.config, Phase::work, 0, 0, std::nullopt, 1500}));
    pomodoro.skip(Date{830});
    EXPECT_EQ(pomodoro, (WidgetPomodoro{pomodoro.config, Phase::shortBreak, 0, 0, std::nullopt, 300}));
}

TEST(WidgetPomodoro, ATickAfterSleepStartsTheNextPhaseFromTheTick) {
    auto pomodoro = started();
    EXPECT_EQ(pomodoro.tick(Date{1500 + 10000}), Phase::work);
    // Only one phase finishes per tick, and the break runs from the tick, not from the missed end.
    EXPECT_EQ(pomodoro, (WidgetPomodoro{pomodoro.config, Phase::shortBreak, 1, 1, Date{11500 + 300}, 300}));

    // A tick that lands exactly on the next end keeps the exact boundary.
    auto onTime = started();
    EXPECT_EQ(onTime.tick(Date{1800}), Phase::work);
    EXPECT_EQ(onTime.endsAt, Date{1800});
    EXPECT_EQ(onTime.tick(Date{1800}), Phase::shortBreak);
    EXPECT_EQ(onTime.endsAt, Date{3300});
}

TEST(WidgetPomodoro, StartPauseAndToggleKeepTheTimeLeft) {
    auto pomodoro = WidgetPomodoro::make({});
    pomodoro.start(Date{100});
    pomodoro.start(Date{500});
    EXPECT_EQ(pomodoro.endsAt, Date{1600}) << "start while running changes nothing";
    EXPECT_EQ(pomodoro.remaining(Date{5000}), 0) << "never below 0";

    pomodoro.toggle(Date{400});
    EXPECT_EQ(pomodoro, (WidgetPomodoro{{}, Phase::work, 0, 0, std::nullopt, 1200}));
    EXPECT_FALSE(pomodoro.hasNotBegun());
    pomodoro.pause(Date{900});
    EXPECT_EQ(pomodoro.pausedRemaining, 1200) << "pause while paused changes nothing";
    pomodoro.toggle(Date{1000});
    EXPECT_EQ(pomodoro.endsAt, Date{2200});
}

TEST(WidgetPomodoro, ProgressRunsFromZeroToOne) {
    auto pomodoro = WidgetPomodoro::make({});
    EXPECT_EQ(pomodoro.progress(Date{0}), 0);
    pomodoro.start(Date{0});
    EXPECT_DOUBLE_EQ(pomodoro.progress(Date{375}), 0.25);
    EXPECT_EQ(pomodoro.progress(Date{99999}), 1);

    pomodoro.config.work = 0;
    EXPECT_EQ(pomodoro.progress(Date{0}), 1) << "a phase of no length is complete";
    // A shortened phase whose time left exceeds its new length does not go negative.
    pomodoro.config.work = 100;
    EXPECT_EQ(pomodoro.progress(Date{0}), 0);
}

TEST(WidgetPomodoro, ChangedSettingsReachOnlyPhasesNotBegun) {
    const Config longer{3000, 600, 1200, 4, false};
    auto stopped = WidgetPomodoro::make({});
    stopped.applyConfig(longer);
    EXPECT_EQ(stopped, WidgetPomodoro::make(longer));

    auto running = started(false);
    running.applyConfig(longer);
    EXPECT_EQ(running.endsAt, Date{1500});

    auto paused = started(false);
    paused.pause(Date{100});
    paused.applyConfig(longer);
    EXPECT_EQ(paused, (WidgetPomodoro{longer, Phase::work, 0, 0, std::nullopt, 1400}));

    // A paused phase never keeps more time than its new length.
    const Config shorter{600, 300, 900, 4, false};
    paused.applyConfig(shorter);
    EXPECT_EQ(paused, (WidgetPomodoro{shorter, Phase::work, 0, 0, std::nullopt, 600}));
    running.applyConfig(shorter);
    EXPECT_EQ(running.endsAt, Date{1500});
}

TEST(WidgetPomodoro, ResetKeepsOnlyTheTotal) {
    auto pomodoro = started();
    pomodoro.tick(Date{1500});
    pomodoro.reset();
    EXPECT_EQ(pomodoro, (WidgetPomodoro{pomodoro.config, Phase::work, 0, 1, std::nullopt, 1500}));
}

TEST(WidgetPomodoro, ClockRoundsUpAndAddsHoursWhenNeeded) {
    const std::vector<std::pair<double, std::string>> cases = {
        {59.2, "1:00"}, {0, "0:00"},         {0.01, "0:01"},    {-3, "0:00"},        {std::nan(""), "0:00"},
        {245, "4:05"},  {3599.5, "1:00:00"}, {3600, "1:00:00"}, {36061, "10:01:01"},
    };
    for (const auto& [seconds, text] : cases)
        EXPECT_EQ(WidgetPomodoro::clock(seconds), text) << seconds;
}

TEST(WidgetPomodoro, StoresItsStateAndReadsItLeniently) {
    auto pomodoro = WidgetPomodoro::make({1500, 300, 900, 3, true});
    pomodoro.start(Date{1700000000.5});
    pomodoro.tick(Date{1700001500.5});
    const JSON json = pomodoro.json();
    EXPECT_EQ(json["phase"], "shortBreak");
    EXPECT_EQ(json["config"]["longBreakEvery"], 3);
    EXPECT_EQ(json["endsAt"], 1700001800.5);
    EXPECT_EQ(WidgetPomodoro::fromJSON(json), pomodoro);

    pomodoro.pause(Date{1700001600.5});
    EXPECT_FALSE(pomodoro.json().contains("endsAt"));
    EXPECT_EQ(WidgetPomodoro::fromJSON(pomodoro.json()), pomodoro);

    const auto lenient = WidgetPomodoro::fromJSON(JSON::parse(
        R"({"config": {"work": "long", "longBreakEvery": 2.0}, "phase": "nap", "completedWork": -4, "totalCompleted": 7})"));
    EXPECT_EQ(lenient, (WidgetPomodoro{{1500, 300, 900, 2, false}, Phase::work, 0, 7, std::nullopt, 1500}));
    EXPECT_EQ(WidgetPomodoro::fromJSON(JSON(42)), WidgetPomodoro::make({}));
}

// The whole activity as clients of the island receive it.
TEST(WidgetPomodoroActivity, ShowsThePhaseCountdownAndSessions) {
    auto pomodoro = WidgetPomodoro::make({});
    pomodoro.start(Date{0});
    JSON shown = PomodoroActivity::activity(pomodoro, Date{255}).toJSON();
    EXPECT_DOUBLE_EQ(shown["progress"].get<double>(), 0.17);
    shown.erase("progress");
    EXPECT_EQ(shown, JSON::parse(R"({"id":"widgets.pomodoro","source":"widgets.pomodoro","title":"Focus",
        "subtitle":"0 focus sessions today","trailing":{"text":"20:45"},"alert":false,"dismissible":true,
        "leading":{"symbol":"brain.head.profile","tint":"#FF6B4A"},"tint":"#FF6B4A","priority":"normal","actions":[
        {"id":"toggle","label":"Pause","role":"primary","symbol":"pause.fill"},
        {"id":"skip","label":"Skip","role":"normal","symbol":"forward.end.fill"},
        {"id":"stop","label":"Stop","role":"destructive","symbol":"stop.fill"}]})"));
    EXPECT_EQ(PomodoroActivity::subtitle(1), "1 focus session today");
}

TEST(WidgetPomodoroActivity, ToggleLabelOffersTheLongBreakNotBegun) {
    auto pomodoro = WidgetPomodoro::make({});
    pomodoro.phase = Phase::longBreak;
    pomodoro.pausedRemaining = pomodoro.config.longBreak;
    EXPECT_EQ(PomodoroActivity::activity(pomodoro, Date{61}).actions.front().label, "Start long break");
}

TEST(WidgetPomodoroActivity, AnnouncesTheEndOfAPhase) {
    auto pomodoro = WidgetPomodoro::make({});
    pomodoro.start(Date{0});
    ASSERT_EQ(pomodoro.tick(Date{1500}), Phase::work);
    EXPECT_EQ(PomodoroActivity::finishedActivity(pomodoro, Phase::work, Date{1500}).title, "Short break");
    EXPECT_EQ(PomodoroActivity::alertText(Phase::shortBreak), "Break over");
}

TEST(WidgetPomodoroActivity, HandlesItsButtons) {
    auto pomodoro = WidgetPomodoro::make({});
    EXPECT_EQ(PomodoroActivity::handle("toggle", pomodoro, Date{10}), Outcome::toggled);
    EXPECT_EQ(pomodoro.endsAt, Date{1510});
    EXPECT_EQ(PomodoroActivity::handle("skip", pomodoro, Date{20}), Outcome::skipped);
    EXPECT_EQ(pomodoro.phase, Phase::shortBreak);
    EXPECT_EQ(pomodoro.endsAt, Date{320});

    const auto before = pomodoro;
    EXPECT_EQ(PomodoroActivity::handle("snooze", pomodoro, Date{30}), Outcome::ignored);
    EXPECT_EQ(pomodoro, before);
    EXPECT_EQ(PomodoroActivity::handle("stop", pomodoro, Date{40}), Outcome::stopped);
    EXPECT_EQ(pomodoro, WidgetPomodoro::make({}));
}
