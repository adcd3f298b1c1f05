#pragma once

#include <atomic>
#include <functional>

namespace brind {

/// A one-shot guard: of all the outcomes that race to finish one wait, only the first is acted on.
class SDKOnce {
public:
    /// Runs `body` if this is the first call (from any thread) and reports whether it ran.
    bool run(const std::function<void()>& body);

    bool done() const { return done_.load(); }

private:
    std::atomic<bool> done_{false};
};

} // namespace brind
