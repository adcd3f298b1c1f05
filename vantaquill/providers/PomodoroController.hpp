#pragma once

#include "BrindKit/widgets/WidgetPomodoro.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vq {

/// Runs the focus timer: one shared `WidgetPomodoro`, ticked once a second only while it runs,
/// shown as the "widgets.pomodoro" activity, answering that activity's buttons, and kept in a file
/// of the data folder so that a restart (or a crash) continues where it was.
///
/// The finished sessions count the current day: the first tick or launch on a new local day starts
/// the count again.
class PomodoroController {
public:
    using Log = std::function<void(const std::string&)>;
    using Phase = brind::WidgetPomodoro::Phase;

    /// The shown countdown moves in whole seconds.
    static constexpr double tickInterval = 1;

    /// The timer's file in the data folder.
    static std::filesystem::path stateFile(const std::filesystem::path& dataFolder);

    /// Reads the saved timer (a fresh one when there is none) and takes `config` for it; a timer
    /// that was running goes on from where its end moment puts it.
    PomodoroController(Scheduler& scheduler, LiveActivityCenter& center, std::filesystem::path file,
                       const brind::WidgetPomodoro::Config& config, Log log);
    ~PomodoroController();
    PomodoroController(const PomodoroController&) = delete;
    PomodoroController& operator=(const PomodoroController&) = delete;

    const brind::WidgetPomodoro& pomodoro() const { return pomodoro_; }
    brind::Date now() const { return scheduler_.now(); }
    /// Whether the one-second timer is armed (only while the timer runs).
    bool isTicking() const { return tickTimer_ != nullptr; }

    void toggle();
    void skip();
    /// Back to a stopped focus session, and the activity ends.
    void reset();
    /// Settings changed: a phase that has begun keeps its time left (a paused one never more than
    /// its new length); one that has not begun takes its new length.
    void applyConfig(const brind::WidgetPomodoro::Config& config);

    /// Told after the timer changed: a button, a tick of the clock or new settings.
    std::function<void()> onChange;
    /// Told when a running phase reaches its end (not when it is skipped), after `onChange`.
    std::function<void(Phase finished)> onPhaseFinished;

private:
    void tick();
    /// Saves, shows and re-arms after a change; `finished` is the phase that just ended, if any.
    void settle(std::optional<Phase> finished);
    void publish(std::optional<Phase> finished);
    void armTick();
    void save();
    std::string stateText() const;
    /// A new local day starts the day's count of finished sessions again.
    void rollOverDay();

    Scheduler& scheduler_;
    LiveActivityCenter& center_;
    std::filesystem::path file_;
    Log log_;
    brind::WidgetPomodoro pomodoro_;
    /// The local day ("2026-11-25") the finished sessions were counted on.
    std::string countedOn_;
    /// The file's text as last read or written.
    std::string saved_;
    /// Whether the activity is in the island: from the first start until a reset or stop.
    bool shown_ = false;
    std::unique_ptr<Scheduler::Timer> tickTimer_;
};

} // namespace vq
