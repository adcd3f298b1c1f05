#include "BrindKit/widgets/WidgetPomodoroActivity.hpp"

#include "BrindKit/foundation/EnumTable.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/island/TimeFormat.hpp"

namespace brind::WidgetPomodoroActivity {

namespace {

/// How the activity shows each phase.
struct PhaseLook {
    WidgetPomodoro::Phase value;
    RGBA tint;
    /// Said when the phase has run out.
    std::string_view alertText;
};

constexpr auto phaseLooks = std::to_array<PhaseLook>({
    {WidgetPomodoro::Phase::work, {1.0, 0.42, 0.29, 1}, "Focus done"},
    {WidgetPomodoro::Phase::shortBreak, {0.20, 0.78, 0.35, 1}, "Break over"},
    {WidgetPomodoro::Phase::longBreak, {0.35, 0.78, 0.98, 1}, "Break over"},
});
static_assert(EnumTable::coversEveryCase(phaseLooks));

} // namespace

RGBA tint(WidgetPomodoro::Phase phase) {
    return EnumTable::row(phaseLooks, phase).tint;
}

std::string subtitle(int totalCompleted) {
    return std::to_string(totalCompleted) + " focus session" + (totalCompleted == 1 ? "" : "s") + " today";
}

std::string toggleLabel(const WidgetPomodoro& pomodoro) {
    if (pomodoro.isRunning())
        return "Pause";
    if (!pomodoro.hasNotBegun())
        return "Resume";
    return "Start " + Text::lowercased(label(pomodoro.phase));
}

LiveActivity activity(const WidgetPomodoro& pomodoro, Date now) {
    const RGBA colour = tint(pomodoro.phase);
    LiveActivity result;
    result.id = std::string(identifier);
    result.source = std::string(identifier);
    result.priority = ActivityPriority::normal;
    result.leading = ActivityGlyph::symbol(std::string(symbol(pomodoro.phase)), colour);
    result.trailing = ActivityGlyph::text(TimeFormat::countdown(pomodoro.remaining(now)));
    result.title = std::string(label(pomodoro.phase));
    result.subtitle = subtitle(pomodoro.totalCompleted);
    result.progress = pomodoro.progress(now);
    result.tint = colour;
    result.actions = {
        ActivityAction{std::string(toggleAction), toggleLabel(pomodoro), ActivityAction::Role::primary,
                       pomodoro.isRunning() ? "pause.fill" : "play.fill"},
        ActivityAction{std::string(skipAction), "Skip", ActivityAction::Role::normal, "forward.end.fill"},
        ActivityAction{std::string(stopAction), "Stop", ActivityAction::Role::destructive, "stop.fill"},
    };
    result.postedAt = now;
    return result;
}

std::string_view alertText(WidgetPomodoro::Phase finished) {
    return EnumTable::row(phaseLooks, finished).alertText;
}

LiveActivity finishedActivity(const WidgetPomodoro& pomodoro, WidgetPomodoro::Phase finished, Date now) {
    LiveActivity result = activity(pomodoro, now);
    result.alert = true;
    result.subtitle = std::string(alertText(finished));
    return result;
}

Outcome handle(std::string_view action, WidgetPomodoro& pomodoro, Date now) {
    if (action == toggleAction) {
        pomodoro.toggle(now);
        return Outcome::toggled;
    }
    if (action == skipAction) {
        pomodoro.skip(now);
        return Outcome::skipped;
    }
    if (action == stopAction) {
        pomodoro.reset();
        return Outcome::stopped;
    }
    return Outcome::ignored;
}

} // namespace brind::WidgetPomodoroActivity
