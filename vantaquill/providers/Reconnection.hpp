#pragma once

#include "vantaquill/Scheduler.hpp"

#include <functional>
#include <memory>

namespace vq {

/// Asking a desktop service again after it went away or never answered: `firstDelay` after the
/// first failure, twice as long after each further one up to `longestDelay`, and back to the
/// start once it answers. One timer at a time; dropping the reconnection cancels it.
class Reconnection {
public:
    static constexpr double firstDelay = 2;
    static constexpr double longestDelay = 60;

    Reconnection(Scheduler& scheduler, std::function<void()> retry);

    /// The service did not answer: `retry` runs after the current delay, which then doubles.
    void failed();
    /// The service answers: the next failure waits `firstDelay` again.
    void succeeded();
    /// Nothing is retried (the provider stopped); the next failure starts from `firstDelay`.
    void cancel();

private:
    Scheduler& scheduler_;
    std::function<void()> retry_;
    double delay_ = firstDelay;
    std::unique_ptr<Scheduler::Timer> timer_;
};

} // namespace vq
