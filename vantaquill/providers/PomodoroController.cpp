#include "vantaquill/providers/PomodoroController.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/widgets/WidgetPomodoroActivity.hpp"

#include <algorithm>
#include <array>
#include <ctime>
#include <utility>

namespace vq {

namespace {

namespace Activity = brind::WidgetPomodoroActivity;

/// A tick that falls due this close to the phase's end waits a little longer instead, so a
/// rounding error in the clock never arms a timer of no length.
constexpr double shortestTick = 0.05;

std::string localDay(brind::Date date) {
    const auto seconds = static_cast<std::time_t>(date.secondsSince1970);
    std::tm parts{};
    localtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d", &parts);
    return std::string(text.data(), length);
}

} // namespace

std::filesystem::path PomodoroController::stateFile(const std::filesystem::path& dataFolder) {
    return dataFolder / "pomodoro.json";
}

PomodoroController::PomodoroController(Scheduler& scheduler, LiveActivityCenter& center, std::filesystem::path file,
                                       const brind::WidgetPomodoro::Config& config, Log log)
    : scheduler_(scheduler), center_(center), file_(std::move(file)), log_(std::move(log)),
      pomodoro_(brind::WidgetPomodoro::make(config)), countedOn_(localDay(scheduler.now())) {
    const auto saved = brind::AtomicFile::read(file_);
    if (saved) {
        const auto parsed = brind::JSONText::parse(*saved);
        if (parsed && parsed->is_object()) {
            saved_ = *saved;
            if (const auto* state = brind::JSONRead::member(*parsed, "pomodoro"))
                pomodoro_ = brind::WidgetPomodoro::fromJSON(*state);
            countedOn_ = brind::JSONRead::string(*parsed, "countedOn").value_or(countedOn_);
        } else {
            log_("vantaquill: the focus timer's file " + file_.string() + " is not readable; starting afresh");
        }
    }
    pomodoro_.applyConfig(config);
    rollOverDay();
    // A timer nobody has used is not worth a file.
    if (!saved)
        saved_ = stateText();
    center_.handleActions(std::string(Activity::identifier), [this](const std::string&, const std::string& action) {
        const auto outcome = Activity::handle(action, pomodoro_, scheduler_.now());
        switch (outcome) {
        case Activity::Outcome::toggled:
        case Activity::Outcome::skipped: settle(std::nullopt); return;
        case Activity::Outcome::stopped: reset(); return;
        case Activity::Outcome::ignored: return;
        }
        std::unreachable();
    });
    shown_ = pomodoro_.isRunning() || !pomodoro_.hasNotBegun();
    // A phase that ended while the island was not running finishes now, as a tick would have.
    if (pomodoro_.isRunning()) {
        tick();
        return;
    }
    settle(std::nullopt);
}

PomodoroController::~PomodoroController() {
    // The center may outlive the controller; its buttons must not reach a controller that is gone.
    center_.handleActions(std::string(Activity::identifier), [](const std::string&, const std::string&) {});
}

void PomodoroController::toggle() {
    pomodoro_.toggle(scheduler_.now());
    settle(std::nullopt);
}

void PomodoroController::skip() {
    pomodoro_.skip(scheduler_.now());
    settle(std::nullopt);
}

void PomodoroController::reset() {
    pomodoro_.reset();
    shown_ = false;
    center_.end(Activity::identifier);
    settle(std::nullopt);
}

void PomodoroController::applyConfig(const brind::WidgetPomodoro::Config& config) {
    if (config == pomodoro_.config)
        return;
    pomodoro_.applyConfig(config);
    settle(std::nullopt);
}

void PomodoroController::tick() {
    rollOverDay();
    const auto finished = pomodoro_.tick(scheduler_.now());
    settle(finished);
    if (finished && onPhaseFinished)
        onPhaseFinished(*finished);
}

void PomodoroController::settle(std::optional<Phase> finished) {
    save();
    publish(finished);
    armTick();
    if (onChange)
        onChange();
}

void PomodoroController::publish(std::optional<Phase> finished) {
    const brind::Date now = scheduler_.now();
    if (finished) {
        shown_ = true;
        center_.post(Activity::finishedActivity(pomodoro_, *finished, now));
        return;
    }
    shown_ = shown_ || pomodoro_.isRunning() || !pomodoro_.hasNotBegun();
    if (shown_)
        center_.post(Activity::activity(pomodoro_, now));
}

void PomodoroController::armTick() {
    if (!pomodoro_.isRunning()) {
        tickTimer_.reset();
        return;
    }
    // Once a second for the countdown, and exactly at the end of the phase so that the next one
    // starts on its boundary.
    const double delay = std::clamp(pomodoro_.remaining(scheduler_.now()), shortestTick, tickInterval);
    tickTimer_ = scheduler_.schedule(delay, [this] { tick(); });
}

void PomodoroController::save() {
    // A running timer is its end moment, which the countdown's ticks do not move: the file is
    // written when the state changes, not once a second.
    std::string text = stateText();
    if (text == saved_)
        return;
    if (auto written = brind::AtomicFile::write(file_, text); !written) {
        log_("vantaquill: the focus timer could not be saved: " + written.error());
        return;
    }
    saved_ = std::move(text);
}

std::string PomodoroController::stateText() const {
    return brind::JSONText::pretty({{"pomodoro", pomodoro_.json()}, {"countedOn", countedOn_}});
}

void PomodoroController::rollOverDay() {
    std::string today = localDay(scheduler_.now());
    if (today == countedOn_)
        return;
    countedOn_ = std::move(today);
    pomodoro_.totalCompleted = 0;
}

} // namespace vq
