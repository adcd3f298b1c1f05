#include "BrindKit/widgets/WidgetPomodoroActivity.hpp"

#include <gtest/gtest.h>

using namespace brind;
namespace PomodoroActivity = WidgetPomodoroActivity;
using Outcome = PomodoroActivity::Outcome;
using Phase = WidgetPomodoro::Phase;

TEST(WidgetPomodoroActivity, ShowsThePhaseCountdownAndSessions) {
    auto pomodoro = WidgetPomodoro::make({});
    pomodoro.start(Date{0});
    const auto activity = PomodoroActivity::activity(pomodoro, Date{255});
    EXPECT_EQ(activity.id, "widgets.pomodoro");
    EXPECT_EQ(activity.source, "widgets.pomodoro");
    EXPECT_EQ(activity.title, "Focus");
    EXPECT_EQ(activity.subtitle, "0 focus sessions today");
    ASSERT_TRUE(activity.progress);
    EXPECT_DOUBLE_EQ(*activity.progress, 0.17);
    const auto* countdown = activity.trailing.as<ActivityGlyph::Text>();
    ASSERT_NE(countdown, nullptr);
    EXPECT_EQ(countdown->text, "20:45");
    const auto* symbol = activity.leading.as<ActivityGlyph::Symbol>();
    ASSERT_NE(symbol, nullptr);
    EXPECT_EQ(symbol->name, "brain.head.profile");
    EXPECT_FALSE(activity.alert);
    EXPECT_EQ(activity.tint, PomodoroActivity::tint(Phase::work));

    std::vector<std::pair<std::string, std::optional<std::string>>> actions;
    for (const auto& action : activity.actions)
        actions.emplace_back(action.id, action.symbol);
    EXPECT_EQ(actions, (decltype(actions){
                           {"toggle", "pause.fill"}, {"skip", "forward.end.fill"}, {"stop", "stop.fill"}}));
}

TEST(WidgetPomodoroActivity, SubtitleCountsSessions) {
    EXPECT_EQ(PomodoroActivity::subtitle(1), "1 focus session today");
    EXPECT_EQ(PomodoroActivity::subtitle(12), "12 focus sessions today");
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
