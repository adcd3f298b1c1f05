#pragma once

#include "BrindKit/system/LockPhase.hpp"
#include "BrindKit/system/LockTiming.hpp"

#include <cstdint>
#include <string_view>
#include <variant>

namespace brind {

/// Drives the lock-screen notch through lock, unlock, collapse and teardown. Each call returns what
/// the controller must do; timers it arms carry a generation, so a timer armed before a relock or a
/// reset finds a newer generation when it fires and does nothing.
class LockSequencer {
  public:
    enum class Step { collapse, teardown };

    /// Arm a one-shot timer that calls `fire(step, generation)` after `after` seconds.
    struct Schedule {
        Step step = Step::collapse;
        double after = 0;
        std::uint64_t generation = 0;
        friend bool operator==(const Schedule&, const Schedule&) = default;
    };
    struct None {
        friend bool operator==(const None&, const None&) = default;
    };
    /// Create and show the lock-screen notch and widgets.
    struct Show {
        friend bool operator==(const Show&, const Show&) = default;
    };
    /// Locked again during the unlock animation: close the glyph, keep the windows.
    struct Relock {
        friend bool operator==(const Relock&, const Relock&) = default;
    };
    /// Remove the lock-screen windows.
    struct Teardown {
        friend bool operator==(const Teardown&, const Teardown&) = default;
    };

    using Effect = std::variant<Schedule, None, Show, Relock, Teardown>;

    explicit LockSequencer(LockTiming timing = LockTiming::standard()) : timing_(timing) {}

    Effect lock();
    Effect unlock();
    Effect fire(Step step, std::uint64_t generation);
    Effect reset();

    LockPhase phase() const { return phase_; }
    std::uint64_t generation() const { return generation_; }
    LockTiming timing() const { return timing_; }

  private:
    LockPhase phase_ = LockPhase::hidden;
    std::uint64_t generation_ = 0;
    LockTiming timing_;
};

std::string_view name(LockSequencer::Step step);

} // namespace brind
