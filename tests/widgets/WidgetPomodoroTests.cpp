#include "BrindKit/widgets/WidgetPomodoro.hpp"

#include <gtest/gtest.h>

#include <cmath>

using brind::Date;
using brind::JSON;
using brind::WidgetPomodoro;
using Phase = WidgetPomodoro::Phase;

namespace {

WidgetPomodoro withConfig(int every, bool autoAdvance) {
    WidgetPomodoro::Config config;
    config.longBreakEvery = every;
    config.autoAdvance = autoAdvance;
    return WidgetPomodoro::make(config);
}

} // namespace

TEST(WidgetPomodoro, StartsStoppedAtTheBeginningOfWork) {
    const WidgetPomodoro::Config config{600, 60, 120, 3, true};
    const auto pomodoro = WidgetPomodoro::make(config);
    EXPECT_EQ(pomodoro.phase, Phase::work);
    EXPECT_EQ(pomodoro.completedWork, 0);
    EXPECT_EQ(pomodoro.totalCompleted, 0);
    EXPECT_FALSE(pomodoro.isRunning());
    EXPECT_EQ(pomodoro.pausedRemaining, 600);
    EXPECT_TRUE(pomodoro.hasNotBegun());
    EXPECT_EQ(WidgetPomodoro::Config{}, (WidgetPomodoro::Config{1500, 300, 900, 4, false}));
    EXPECT_EQ(WidgetPomodoro::Config::fromMinutes(50, 10, 30, 0, true), (WidgetPomodoro::Config{3000, 600, 1800, 1, true}));
}

TEST(WidgetPomodoro, RunsAFullCycleWithExactBoundaries) {
    auto pomodoro = withConfig(4, true);
    pomodoro.start(Date{1000});
    const std::vector<Phase> expected = {Phase::shortBreak, Phase::work, Phase::shortBreak, Phase::work,
                                         Phase::shortBreak, Phase::work, Phase::longBreak,  Phase::work};
    std::vector<Phase> phases;
    for (std::size_t index = 0; index < expected.size(); ++index) {
        const Date end = *pomodoro.endsAt;
        const Phase running = pomodoro.phase;
        EXPECT_EQ(pomodoro.tick(end - 0.001), std::nullopt) << "nothing ends early";
        EXPECT_EQ(pomodoro.tick(end), running);
        phases.push_back(pomodoro.phase);
        // The next phase starts at the old end, not at the tick.
        EXPECT_EQ(pomodoro.endsAt, end + pomodoro.config.duration(pomodoro.phase));
    }
    EXPECT_EQ(phases, expected);
    EXPECT_EQ(pomodoro.completedWork, 0);
    EXPECT_EQ(pomodoro.totalCompleted, 4);
    // 4 × 1500 + 3 × 300 + 900 seconds after the start.
    EXPECT_EQ(pomodoro.endsAt, Date{1000 + 6000 + 900 + 900 + 1500});
}

TEST(WidgetPomodoro, StopsAfterEachPhaseWithoutAutoAdvance) {
    auto pomodoro = withConfig(4, false);
    pomodoro.start(Date{0});
    EXPECT_EQ(pomodoro.tick(Date{1500}), Phase::work);
    EXPECT_EQ(pomodoro.phase, Phase::shortBreak);
    EXPECT_FALSE(pomodoro.isRunning());
    EXPECT_EQ(pomodoro.remaining(Date{9999}), 300);
    EXPECT_TRUE(pomodoro.hasNotBegun());
    EXPECT_EQ(pomodoro.tick(Date{9999}), std::nullopt) << "a stopped timer never finishes";
}

TEST(WidgetPomodoro, LongBreakEveryBelowOneMeansEverySession) {
    for (const int every : {1, 0, -3}) {
        auto pomodoro = withConfig(every, true);
        pomodoro.start(Date{0});
        for (int session = 0; session < 3; ++session) {
            EXPECT_EQ(pomodoro.nextPhase(), Phase::longBreak) << every;
            pomodoro.tick(*pomodoro.endsAt);
            EXPECT_EQ(pomodoro.phase, Phase::longBreak) << every;
            pomodoro.tick(*pomodoro.endsAt);
            EXPECT_EQ(pomodoro.phase, Phase::work) << every;
        }
    }
}

TEST(WidgetPomodoro, SkippingWorkCountsNothingButStillReachesTheLongBreak) {
    auto pomodoro = withConfig(4, true);
    pomodoro.start(Date{0});
    for (int session = 0; session < 3; ++session) {
        pomodoro.tick(*pomodoro.endsAt); // work counted
        pomodoro.tick(*pomodoro.endsAt); // short break over
    }
    ASSERT_EQ(pomodoro.phase, Phase::work);
    ASSERT_EQ(pomodoro.completedWork, 3);

    const Date now = *pomodoro.endsAt - 700;
    pomodoro.skip(now);
    EXPECT_EQ(pomodoro.phase, Phase::longBreak);
    EXPECT_EQ(pomodoro.completedWork, 3);
    EXPECT_EQ(pomodoro.totalCompleted, 3);
    EXPECT_EQ(pomodoro.endsAt, now + 900) << "a running timer keeps running into the next phase";

    pomodoro.pause(now + 10);
    pomodoro.skip(now + 20);
    EXPECT_EQ(pomodoro.phase, Phase::work);
    EXPECT_EQ(pomodoro.completedWork, 0) << "leaving a long break starts a new cycle";
    EXPECT_FALSE(pomodoro.isRunning()) << "a paused timer stays paused";
    EXPECT_EQ(pomodoro.pausedRemaining, 1500);

    pomodoro.skip(now + 30);
    EXPECT_EQ(pomodoro.phase, Phase::shortBreak);
    EXPECT_EQ(pomodoro.completedWork, 0);
}

TEST(WidgetPomodoro, ATickAfterSleepStartsTheNextPhaseFromTheTick) {
    auto pomodoro = withConfig(4, true);
    pomodoro.start(Date{0});
    EXPECT_EQ(pomodoro.tick(Date{1500 + 10000}), Phase::work);
    EXPECT_EQ(pomodoro.phase, Phase::shortBreak) << "only one phase finishes per tick";
    EXPECT_EQ(pomodoro.endsAt, Date{11500 + 300});
    EXPECT_EQ(pomodoro.totalCompleted, 1);

    // A tick that lands exactly on the next end keeps the exact boundary.
    auto onTime = withConfig(4, true);
    onTime.start(Date{0});
    EXPECT_EQ(onTime.tick(Date{1800}), Phase::work);
    EXPECT_EQ(onTime.endsAt, Date{1800});
    EXPECT_EQ(onTime.tick(Date{1800}), Phase::shortBreak);
    EXPECT_EQ(onTime.endsAt, Date{3300});
}

TEST(WidgetPomodoro, StartPauseAndToggleKeepTheTimeLeft) {
    auto pomodoro = withConfig(4, false);
    pomodoro.start(Date{100});
    EXPECT_EQ(pomodoro.endsAt, Date{1600});
    pomodoro.start(Date{500});
    EXPECT_EQ(pomodoro.endsAt, Date{1600}) << "start while running changes nothing";
    EXPECT_EQ(pomodoro.remaining(Date{400}), 1200);
    EXPECT_EQ(pomodoro.remaining(Date{5000}), 0) << "never below 0";

    pomodoro.toggle(Date{400});
    EXPECT_FALSE(pomodoro.isRunning());
    EXPECT_EQ(pomodoro.pausedRemaining, 1200);
    EXPECT_FALSE(pomodoro.hasNotBegun());
    pomodoro.pause(Date{900});
    EXPECT_EQ(pomodoro.pausedRemaining, 1200) << "pause while paused changes nothing";
    pomodoro.toggle(Date{1000});
    EXPECT_EQ(pomodoro.endsAt, Date{2200});
}

TEST(WidgetPomodoro, ProgressRunsFromZeroToOne) {
    auto pomodoro = withConfig(4, false);
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
    const WidgetPomodoro::Config longer{3000, 600, 1200, 4, false};
    auto stopped = WidgetPomodoro::make({});
    stopped.applyConfig(longer);
    EXPECT_EQ(stopped.pausedRemaining, 3000);
    EXPECT_EQ(stopped.config, longer);

    auto running = WidgetPomodoro::make({});
    running.start(Date{0});
    running.applyConfig(longer);
    EXPECT_EQ(running.endsAt, Date{1500});

    auto paused = WidgetPomodoro::make({});
    paused.start(Date{0});
    paused.pause(Date{100});
    paused.applyConfig(longer);
    EXPECT_EQ(paused.pausedRemaining, 1400);
    EXPECT_EQ(paused.config, longer);
}

TEST(WidgetPomodoro, ResetKeepsTheTotalOnly) {
    auto pomodoro = withConfig(4, true);
    pomodoro.start(Date{0});
    pomodoro.tick(Date{1500});
    pomodoro.reset();
    EXPECT_EQ(pomodoro.phase, Phase::work);
    EXPECT_EQ(pomodoro.completedWork, 0);
    EXPECT_EQ(pomodoro.totalCompleted, 1);
    EXPECT_FALSE(pomodoro.isRunning());
    EXPECT_EQ(pomodoro.pausedRemaining, 1500);
}

TEST(WidgetPomodoro, ClockRoundsUpAndAddsHoursWhenNeeded) {
    const std::vector<std::pair<double, std::string>> cases = {
        {59.2, "1:00"},   {0, "0:00"},       {0.01, "0:01"},     {-3, "0:00"},          {std::nan(""), "0:00"},
        {245, "4:05"},    {3599.5, "1:00:00"}, {3600, "1:00:00"}, {36061, "10:01:01"},
    };
    for (const auto& [seconds, text] : cases)
        EXPECT_EQ(WidgetPomodoro::clock(seconds), text) << seconds;
}

TEST(WidgetPomodoro, StoresItsStateAndReadsItLeniently) {
    auto pomodoro = withConfig(3, true);
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
    EXPECT_EQ(lenient.config, (WidgetPomodoro::Config{1500, 300, 900, 2, false}));
    EXPECT_EQ(lenient.phase, Phase::work);
    EXPECT_EQ(lenient.completedWork, 0);
    EXPECT_EQ(lenient.totalCompleted, 7);
    EXPECT_EQ(lenient.pausedRemaining, 1500);
    EXPECT_EQ(WidgetPomodoro::fromJSON(JSON(42)), WidgetPomodoro::make({}));
}
