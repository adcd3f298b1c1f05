#include "vantaquill/qt/QtScheduler.hpp"

#include <QTimerEvent>

#include <algorithm>
#include <cmath>

namespace vq {

class QtScheduler::QtTimer final : public Scheduler::Timer {
public:
    QtTimer(QtScheduler& owner, int id) : owner(&owner), alive(owner.alive), id(id) {}
    ~QtTimer() override {
        if (*alive)
            owner->cancel(id);
    }

private:
    QtScheduler* owner;
    std::shared_ptr<bool> alive;
    int id;
};

QtScheduler::QtScheduler() = default;

QtScheduler::~QtScheduler() {
    *alive = false;
}

brind::Date QtScheduler::now() const {
    return brind::Date::now();
}

std::unique_ptr<Scheduler::Timer> QtScheduler::schedule(double seconds, std::function<void()> action) {
    // Round up: a timer must never fire before its time.
    const int milliseconds = static_cast<int>(std::ceil(std::max(0.0, seconds) * 1000.0));
    const int id = startTimer(milliseconds, Qt::PreciseTimer);
    actions[id] = std::move(action);
    return std::make_unique<QtTimer>(*this, id);
}

void QtScheduler::cancel(int id) {
    if (actions.erase(id) > 0)
        killTimer(id);
}

void QtScheduler::timerEvent(QTimerEvent* event) {
    const int id = event->timerId();
    killTimer(id);
    const auto found = actions.find(id);
    if (found == actions.end())
        return;
    // The action may destroy its own handle (and so call `cancel`): take it out first.
    auto action = std::move(found->second);
    actions.erase(found);
    action();
}

} // namespace vq
