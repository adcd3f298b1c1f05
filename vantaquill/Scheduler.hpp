#pragma once

#include "BrindKit/foundation/Date.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace vq {

/// The clock and one-shot timers of the main thread. Services take one of these instead of reading
/// the clock or making platform timers, so they run the same under the application's event loop and
/// under a test's manual clock.
///
/// A scheduled action runs once, on the main thread, no earlier than `seconds` after it was
/// scheduled; it also runs while a menu is tracked or a window is dragged. Destroying the returned
/// timer cancels it, and that is allowed from inside the action itself.
class Scheduler {
  public:
    class Timer {
      public:
        virtual ~Timer() = default;
    };

    virtual ~Scheduler() = default;

    virtual brind::Date now() const = 0;

    [[nodiscard]] virtual std::unique_ptr<Timer> schedule(double seconds, std::function<void()> action) = 0;
};

/// A scheduler for tests: time stands still until `advance` moves it, firing due timers in order.
class ManualScheduler final : public Scheduler {
  public:
    explicit ManualScheduler(brind::Date start = brind::Date{1'700'000'000});

    brind::Date now() const override;
    std::unique_ptr<Timer> schedule(double seconds, std::function<void()> action) override;

    /// Moves the clock forward by `seconds`, running every timer that falls due on the way at its
    /// own due time (earliest first; equal times in the order they were scheduled), including timers
    /// those actions schedule.
    void advance(double seconds);

    /// Timers scheduled and neither fired nor cancelled.
    std::size_t pendingCount() const;

    /// When the earliest pending timer fires.
    std::optional<brind::Date> nextDue() const;

  private:
    struct Pending {
        std::function<void()> action;
    };
    struct State {
        brind::Date now;
        std::uint64_t sequence = 0;
        /// Keyed by (due time, scheduling order).
        std::map<std::pair<double, std::uint64_t>, Pending> pending;
    };
    class ManualTimer;

    std::shared_ptr<State> state_;
};

} // namespace vq
