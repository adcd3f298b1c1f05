#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/JSON.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// A focus timer alternating work sessions with short and long breaks. It owns no timer: every
/// operation takes the moment, so the state survives sleep and whoever calls `tick` advances it.
struct WidgetPomodoro {
    enum class Phase { work, shortBreak, longBreak };

    struct Config {
        double work = 1500;      ///< seconds
        double shortBreak = 300; ///< seconds
        double longBreak = 900;  ///< seconds
        int longBreakEvery = 4;  ///< a long break follows every n-th work session
        bool autoAdvance = false;

        double duration(Phase phase) const;

        /// The configuration from the preferences' whole minutes; an `every` below 1 reads as 1.
        static Config fromMinutes(int workMinutes, int shortMinutes, int longMinutes, int every, bool autoAdvance);

        JSON json() const;
        /// Missing or wrongly typed fields take their defaults.
        static Config fromJSON(const JSON& value);

        friend bool operator==(const Config&, const Config&) = default;
    };

    Config config{};
    Phase phase = Phase::work;
    int completedWork = 0;  ///< work sessions since the last long break (or reset)
    int totalCompleted = 0; ///< work sessions in all; `reset` keeps it
    std::optional<Date> endsAt{};
    double pausedRemaining = Config{}.work; ///< the time left while not running

    /// Stopped at the start of a work session.
    static WidgetPomodoro make(const Config& config);

    bool isRunning() const { return endsAt.has_value(); }

    /// Seconds left in the phase, never below 0.
    double remaining(Date at) const;
    /// 0 at the start of the phase, 1 at its end; 1 for a phase of no length.
    double progress(Date at) const;
    /// True while stopped at the very start of the phase (nothing of it used yet).
    bool hasNotBegun() const;

    void start(Date at);
    void pause(Date at);
    void toggle(Date at);
    /// Moves to the next phase without counting a skipped work session; keeps running if it was.
    void skip(Date at);
    /// Replaces the configuration from changed settings. A phase that has begun keeps the time it has
    /// left, but a paused one never more than its new length; one that has not begun yet takes its
    /// new length.
    void applyConfig(const Config& newConfig);
    /// Back to a stopped work session; `totalCompleted` is kept.
    void reset();
    /// The phase that just finished, if the running one has ended by `at`. At most one phase
    /// finishes per tick; the next one starts at the old end so back-to-back phases keep exact
    /// boundaries, unless the machine slept through it, in which case it starts at `at`.
    std::optional<Phase> tick(Date at);
    /// The phase that would follow the current one.
    Phase nextPhase() const;

    /// The remaining time as the widget prints it, rounded up: "4:05", "1:00:00".
    static std::string clock(double seconds);

    /// Field names as keys, `endsAt` in seconds since 1970 (left out when not running).
    JSON json() const;
    /// Lenient: missing or wrongly typed fields take the values of a fresh timer with `config`, an
    /// unknown phase is `work`, counters below 0 are 0.
    static WidgetPomodoro fromJSON(const JSON& value);

    friend bool operator==(const WidgetPomodoro&, const WidgetPomodoro&) = default;

private:
    void advance(bool countWork, Date at, bool keepRunning);
    Phase phaseAfterWork(int finishedSessions) const;
};

/// "work", "shortBreak" or "longBreak": the stored form.
std::string_view name(WidgetPomodoro::Phase phase);
std::optional<WidgetPomodoro::Phase> widgetPomodoroPhaseNamed(std::string_view name);
/// "Focus", "Short break", "Long break".
std::string_view label(WidgetPomodoro::Phase phase);
/// The system symbol drawn for the phase.
std::string_view symbol(WidgetPomodoro::Phase phase);

} // namespace brind
