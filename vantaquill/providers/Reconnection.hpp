#pragma once

#include "vantaquill/Scheduler.hpp"
#include "vantaquill/providers/InotifyWatch.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace vq {

/// Asking a desktop service again after it went away or never answered. When the service's socket
/// is known and missing (no sound server was ever started in this session, say), nothing is polled:
/// the folders on the socket's way are watched, one at a time, and the service is asked again the moment the
/// socket appears, so an island without the service sits without a single wake-up. Otherwise, or when the
/// socket is there but the service does not answer yet: `firstDelay` after the first failure, twice
/// as long after each further one up to `longestDelay`, and back to the start once it answers. One
/// wait at a time; dropping the reconnection cancels it.
class Reconnection {
  public:
    static constexpr double firstDelay = 2;
    static constexpr double longestDelay = 60;

    Reconnection(Scheduler& scheduler, std::function<void()> retry,
                 std::optional<std::filesystem::path> socket = std::nullopt);

    /// The service did not answer: `retry` runs when its socket appears, or after the current
    /// delay, which then doubles.
    void failed();
    /// The service answers: the next failure waits `firstDelay` again.
    void succeeded();
    /// Nothing is retried (the provider stopped); the next failure starts from `firstDelay`.
    void cancel();

  private:
    /// Watches the deepest folder of the missing socket's way; false when the socket is there or its
    /// way cannot be watched.
    bool awaitSocket();
    /// Something was created in the watched folder, or the folder went.
    void socketWayChanged();

    Scheduler& scheduler_;
    std::function<void()> retry_;
    std::optional<std::filesystem::path> socket_;
    double delay_ = firstDelay;
    std::unique_ptr<Scheduler::Timer> timer_;
    std::unique_ptr<InotifyWatch> watch_;
    /// The watch whose event led to the retry under way: it is still reading when the retry fails
    /// and a new wait begins, so it is released at the next change rather than from its own call.
    std::unique_ptr<InotifyWatch> retiredWatch_;
};

} // namespace vq
