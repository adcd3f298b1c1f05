#pragma once

#include "vantaquill/Scheduler.hpp"

#include <QObject>

#include <cstdint>
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
    struct Pending {
        std::uint64_t key = 0;   ///< what the handle knows it by; the Qt id changes at every hop
        double milliseconds = 0; ///< still to wait after the running Qt timer
        std::function<void()> action;
    };

    void start(Pending entry);
    void cancel(std::uint64_t key);

    /// By the id of the running Qt timer; only a handful at a time.
    std::map<int, Pending> pending;
    std::uint64_t nextKey = 0;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};

} // namespace vq
