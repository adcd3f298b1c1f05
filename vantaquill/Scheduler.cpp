#include "vantaquill/Scheduler.hpp"

#include <algorithm>
#include <utility>

namespace vq {

/// Cancels its entry when destroyed; the entry may already have fired or the scheduler be gone.
class ManualScheduler::ManualTimer final : public Scheduler::Timer {
  public:
    ManualTimer(std::weak_ptr<State> state, std::pair<double, std::uint64_t> key)
        : state_(std::move(state)), key_(key) {}
    ~ManualTimer() override {
        if (const auto state = state_.lock())
            state->pending.erase(key_);
    }

  private:
    std::weak_ptr<State> state_;
    std::pair<double, std::uint64_t> key_;
};

ManualScheduler::ManualScheduler(brind::Date start) : state_(std::make_shared<State>()) {
    state_->now = start;
}

brind::Date ManualScheduler::now() const {
    return state_->now;
}

std::unique_ptr<Scheduler::Timer> ManualScheduler::schedule(double seconds, std::function<void()> action) {
    const std::pair key{state_->now.secondsSince1970 + std::max(0.0, seconds), state_->sequence++};
    state_->pending.emplace(key, Pending{std::move(action)});
    return std::make_unique<ManualTimer>(state_, key);
}

void ManualScheduler::advance(double seconds) {
    const double end = state_->now.secondsSince1970 + seconds;
    while (!state_->pending.empty() && state_->pending.begin()->first.first <= end) {
        auto entry = state_->pending.begin();
        state_->now = brind::Date{entry->first.first};
        // Taken out before it runs, so the action may destroy its own timer or schedule new ones.
        std::function<void()> action = std::move(entry->second.action);
        state_->pending.erase(entry);
        action();
    }
    state_->now = brind::Date{end};
}

std::size_t ManualScheduler::pendingCount() const {
    return state_->pending.size();
}

std::optional<brind::Date> ManualScheduler::nextDue() const {
    if (state_->pending.empty())
        return std::nullopt;
    return brind::Date{state_->pending.begin()->first.first};
}

} // namespace vq
