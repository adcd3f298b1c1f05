#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/RGBA.hpp"
#include "BrindKit/island/LiveActivity.hpp"
#include "BrindKit/widgets/WidgetPomodoro.hpp"

#include <string>
#include <string_view>

namespace brind::WidgetPomodoroActivity {

/// The activity's identifier and source.
inline constexpr std::string_view identifier = "widgets.pomodoro";

/// Action identifiers of the activity's buttons.
inline constexpr std::string_view toggleAction = "toggle";
inline constexpr std::string_view skipAction = "skip";
inline constexpr std::string_view stopAction = "stop";

/// What a pressed button did to the timer.
enum class Outcome {
    toggled,
    skipped,
    stopped, ///< the timer was reset: the caller ends the activity
    ignored, ///< not one of the timer's actions
};

/// The accent colour of a phase: warm for focus, green for a short break, blue for a long one.
RGBA tint(WidgetPomodoro::Phase phase);

/// "3 focus sessions today", "1 focus session today".
std::string subtitle(int totalCompleted);

/// "Pause" while running, "Resume" while paused part-way, "Start focus" (and so on) before the
/// phase has begun.
std::string toggleLabel(const WidgetPomodoro& pomodoro);

/// The live activity that shows the timer: the phase's symbol and a countdown in the compact
/// wings, the phase as title, the finished sessions below it, and pause/skip/stop buttons.
LiveActivity activity(const WidgetPomodoro& pomodoro, Date now);

/// "Focus done" after a work session, "Break over" after a break.
std::string_view alertText(WidgetPomodoro::Phase finished);

/// The activity posted when `finished` has just ended: it pops the island open and says so in its
/// subtitle.
LiveActivity finishedActivity(const WidgetPomodoro& pomodoro, WidgetPomodoro::Phase finished, Date now);

/// Applies a pressed button to the timer.
Outcome handle(std::string_view action, WidgetPomodoro& pomodoro, Date now);

} // namespace brind::WidgetPomodoroActivity
