#include "BrindKit/widgets/WidgetPomodoroActivity.hpp"

#include <gtest/gtest.h>

using namespace brind;
namespace PomodoroActivity = WidgetPomodoroActivity;
using Outcome = PomodoroActivity::Outcome;
using Phase = WidgetPomodoro::Phase;

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

TEST(WidgetPomodoroActivity, ToggleLabelFollowsTheTimersState) {
    auto pomodoro = WidgetPomodoro::make({});
    EXPECT_EQ(PomodoroActivity::toggleLabel(pomodoro), "Start focus");
    pomodoro.start(Date{0});
    EXPECT_EQ(PomodoroActivity::toggleLabel(pomodoro), "Pause");
    pomodoro.pause(Date{60});
    EXPECT_EQ(PomodoroActivity::toggleLabel(pomodoro), "Resume");
    pomodoro.skip(Date{61});
    EXPECT_EQ(PomodoroActivity::toggleLabel(pomodoro), "Start short break");
    pomodoro.phase = Phase::longBreak;
    pomodoro.pausedRemaining = pomodoro.config.longBreak;
    EXPECT_EQ(PomodoroActivity::activity(pomodoro, Date{61}).actions.front().label, "Start long break");
}

TEST(WidgetPomodoroActivity, AnnouncesTheEndOfAPhase) {
    auto pomodoro = WidgetPomodoro::make({});
    pomodoro.start(Date{0});
    ASSERT_EQ(pomodoro.tick(Date{1500}), Phase::work);
    const auto activity = PomodoroActivity::finishedActivity(pomodoro, Phase::work, Date{1500});
    EXPECT_TRUE(activity.alert);
    EXPECT_EQ(activity.subtitle, "Focus done");
    EXPECT_EQ(activity.title, "Short break");
    EXPECT_EQ(PomodoroActivity::alertText(Phase::shortBreak), "Break over");
    EXPECT_EQ(PomodoroActivity::alertText(Phase::longBreak), "Break over");
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
