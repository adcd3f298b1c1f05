#include "vantaquill/qt/QtScheduler.hpp"

#include <QTimerEvent>

#include <algorithm>
#include <cmath>
#include <limits>

namespace vq {

class QtScheduler::QtTimer final : public Scheduler::Timer {
public:
    QtTimer(QtScheduler& owner, std::uint64_t key) : owner(&owner), alive(owner.alive), key(key) {}
    ~QtTimer() override {
        if (*alive)
            owner->cancel(key);
    }

private:
    QtScheduler* owner;
    std::shared_ptr<bool> alive;
    std::uint64_t key;
};

QtScheduler::QtScheduler() = default;

QtScheduler::~QtScheduler() {
    *alive = false;
}

brind::Date QtScheduler::now() const {
    return brind::Date::now();
}

std::unique_ptr<Scheduler::Timer> QtScheduler::schedule(double seconds, std::function<void()> action) {
    const std::uint64_t key = nextKey++;
    // Round up: a timer must never fire before its time.
    start(Pending{key, std::ceil(std::max(0.0, seconds) * 1000.0), std::move(action)});
    return std::make_unique<QtTimer>(*this, key);
}

void QtScheduler::start(Pending entry) {
    // Qt takes an interval as int milliseconds, about 24.8 days at most; a longer wait (an activity
    // that expires in a month) is made of several Qt timers, one after the other.
    const double hop = std::min(entry.milliseconds, static_cast<double>(std::numeric_limits<int>::max()));
    entry.milliseconds -= hop;
    const int id = startTimer(static_cast<int>(hop), Qt::PreciseTimer);
    pending.emplace(id, std::move(entry));
}

void QtScheduler::cancel(std::uint64_t key) {
    const auto found =
        std::ranges::find_if(pending, [key](const auto& entry) { return entry.second.key == key; });
    if (found == pending.end())
        return;
    killTimer(found->first);
    pending.erase(found);
}

void QtScheduler::timerEvent(QTimerEvent* event) {
    const int id = event->timerId();
    killTimer(id);
    auto node = pending.extract(id);
    if (node.empty())
        return;
    if (node.mapped().milliseconds > 0) {
        start(std::move(node.mapped()));
        return;
    }
    // The action may destroy its own handle (and so call `cancel`): it is out of the map already.
    const auto action = std::move(node.mapped().action);
    action();
}

} // namespace vq
