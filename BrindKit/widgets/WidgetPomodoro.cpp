#include "BrindKit/widgets/WidgetPomodoro.hpp"

#include "BrindKit/foundation/EnumTable.hpp"
#include "BrindKit/foundation/UnitInterval.hpp"
#include "BrindKit/island/TimeFormat.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace brind {

namespace {

constexpr double secondsPerMinute = 60;

struct PhaseRow {
    WidgetPomodoro::Phase value;
    std::string_view name;
    std::string_view label;
    std::string_view symbol;
};

constexpr auto phaseRows = std::to_array<PhaseRow>({
    {WidgetPomodoro::Phase::work, "work", "Focus", "brain.head.profile"},
    {WidgetPomodoro::Phase::shortBreak, "shortBreak", "Short break", "cup.and.saucer.fill"},
    {WidgetPomodoro::Phase::longBreak, "longBreak", "Long break", "figure.walk"},
});
static_assert(EnumTable::coversEveryCase(phaseRows));

} // namespace

std::string_view name(WidgetPomodoro::Phase phase) {
    return EnumTable::row(phaseRows, phase).name;
}

std::optional<WidgetPomodoro::Phase> widgetPomodoroPhaseNamed(std::string_view text) {
    return EnumTable::named(phaseRows, text);
}

std::string_view label(WidgetPomodoro::Phase phase) {
    return EnumTable::row(phaseRows, phase).label;
}

std::string_view symbol(WidgetPomodoro::Phase phase) {
    return EnumTable::row(phaseRows, phase).symbol;
}

double WidgetPomodoro::Config::duration(Phase phase) const {
    switch (phase) {
    case Phase::work:
        return work;
    case Phase::shortBreak:
        return shortBreak;
    case Phase::longBreak:
        return longBreak;
    }
    std::unreachable();
}

WidgetPomodoro::Config WidgetPomodoro::Config::fromMinutes(int workMinutes, int shortMinutes, int longMinutes,
                                                           int every, bool autoAdvance) {
    return Config{workMinutes * secondsPerMinute, shortMinutes * secondsPerMinute, longMinutes * secondsPerMinute,
                  std::max(every, 1), autoAdvance};
}

JSON WidgetPomodoro::Config::json() const {
    return JSON{{"work", work},
                {"shortBreak", shortBreak},
                {"longBreak", longBreak},
                {"longBreakEvery", longBreakEvery},
                {"autoAdvance", autoAdvance}};
}

WidgetPomodoro::Config WidgetPomodoro::Config::fromJSON(const JSON& value) {
    const Config defaults;
    return Config{JSONRead::number(value, "work").value_or(defaults.work),
                  JSONRead::number(value, "shortBreak").value_or(defaults.shortBreak),
                  JSONRead::number(value, "longBreak").value_or(defaults.longBreak),
                  JSONRead::wholeInt(value, "longBreakEvery").value_or(defaults.longBreakEvery),
                  JSONRead::boolean(value, "autoAdvance").value_or(defaults.autoAdvance)};
}

WidgetPomodoro WidgetPomodoro::make(const Config& config) {
    WidgetPomodoro pomodoro;
    pomodoro.config = config;
    pomodoro.pausedRemaining = config.work;
    return pomodoro;
}

double WidgetPomodoro::remaining(Date at) const {
    if (endsAt)
        return std::max(0.0, *endsAt - at);
    return pausedRemaining;
}

double WidgetPomodoro::progress(Date at) const {
    const double duration = config.duration(phase);
    if (!(duration > 0))
        return 1;
    return UnitInterval::clamp(1 - remaining(at) / duration);
}

bool WidgetPomodoro::hasNotBegun() const {
    return !isRunning() && pausedRemaining >= config.duration(phase);
}

void WidgetPomodoro::start(Date at) {
    if (isRunning())
        return;
    endsAt = at + pausedRemaining;
}

void WidgetPomodoro::pause(Date at) {
    if (!isRunning())
        return;
    pausedRemaining = remaining(at);
    endsAt.reset();
}

void WidgetPomodoro::toggle(Date at) {
    if (isRunning())
        pause(at);
    else
        start(at);
}

void WidgetPomodoro::skip(Date at) {
    advance(false, at, isRunning());
}

void WidgetPomodoro::applyConfig(const Config& newConfig) {
    const bool notBegun = hasNotBegun();
    config = newConfig;
    // A paused phase left with more time than the new length would show a clock longer than the
    // phase itself; it is cut to the new length.
    if (notBegun || (!isRunning() && pausedRemaining > config.duration(phase)))
        pausedRemaining = config.duration(phase);
}

void WidgetPomodoro::reset() {
    phase = Phase::work;
    completedWork = 0;
    endsAt.reset();
    pausedRemaining = config.work;
}

std::optional<WidgetPomodoro::Phase> WidgetPomodoro::tick(Date at) {
    if (!endsAt || at < *endsAt)
        return std::nullopt;
    const Phase finished = phase;
    advance(true, *endsAt, config.autoAdvance);
    if (endsAt && *endsAt < at)
        endsAt = at + config.duration(phase);
    return finished;
}

WidgetPomodoro::Phase WidgetPomodoro::phaseAfterWork(int finishedSessions) const {
    const int every = std::max(config.longBreakEvery, 1);
    return finishedSessions % every == 0 ? Phase::longBreak : Phase::shortBreak;
}

WidgetPomodoro::Phase WidgetPomodoro::nextPhase() const {
    switch (phase) {
    case Phase::work:
        return phaseAfterWork(completedWork + 1);
    case Phase::shortBreak:
    case Phase::longBreak:
        return Phase::work;
    }
    std::unreachable();
}

void WidgetPomodoro::advance(bool countWork, Date at, bool keepRunning) {
    switch (phase) {
    case Phase::longBreak:
        completedWork = 0;
        phase = Phase::work;
        break;
    case Phase::work: {
        // A skipped session is not counted, yet it still moves the cycle towards its long break.
        const int finished = completedWork + 1;
        if (countWork) {
            completedWork = finished;
            ++totalCompleted;
        }
        phase = phaseAfterWork(finished);
        break;
    }
    case Phase::shortBreak:
        phase = Phase::work;
        break;
    }
    pausedRemaining = config.duration(phase);
    if (keepRunning)
        endsAt = at + pausedRemaining;
    else
        endsAt.reset();
}

std::string WidgetPomodoro::clock(double seconds) {
    // Rounded up, so the clock reads 0:00 only when the phase is over.
    return TimeFormat::clock(std::ceil(seconds));
}

JSON WidgetPomodoro::json() const {
    JSON object{{"config", config.json()},
                {"phase", name(phase)},
                {"completedWork", completedWork},
                {"totalCompleted", totalCompleted},
                {"pausedRemaining", pausedRemaining}};
    if (endsAt)
        object["endsAt"] = endsAt->secondsSince1970;
    return object;
}

WidgetPomodoro WidgetPomodoro::fromJSON(const JSON& value) {
    const JSON* configValue = JSONRead::member(value, "config");
    WidgetPomodoro pomodoro = make(configValue ? Config::fromJSON(*configValue) : Config{});
    if (const auto phaseText = JSONRead::string(value, "phase"))
        pomodoro.phase = widgetPomodoroPhaseNamed(*phaseText).value_or(Phase::work);
    pomodoro.completedWork = std::max(0, JSONRead::wholeInt(value, "completedWork").value_or(0));
    pomodoro.totalCompleted = std::max(0, JSONRead::wholeInt(value, "totalCompleted").value_or(0));
    if (const auto ends = JSONRead::number(value, "endsAt"))
        pomodoro.endsAt = Date{*ends};
    pomodoro.pausedRemaining =
        JSONRead::number(value, "pausedRemaining").value_or(pomodoro.config.duration(pomodoro.phase));
    return pomodoro;
}

} // namespace brind
