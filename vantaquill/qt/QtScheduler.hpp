#pragma once

#include "vantaquill/Scheduler.hpp"

#include <QObject>

#include <functional>
#include <map>
#include <memory>

namespace vq {

/// The main thread's scheduler: the wall clock and Qt timers. Timers are plain timer ids on one
/// object rather than QTimer objects, so that a timer may be cancelled (its handle destroyed) from
/// inside its own action.
class QtScheduler final : public QObject, public Scheduler {
public:
    QtScheduler();
    ~QtScheduler() override;

    brind::Date now() const override;
    std::unique_ptr<Timer> schedule(double seconds, std::function<void()> action) override;

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    class QtTimer;
    void cancel(int id);

    std::map<int, std::function<void()>> actions;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};

} // namespace vq
