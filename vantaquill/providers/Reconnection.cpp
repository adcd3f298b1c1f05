#include "vantaquill/providers/Reconnection.hpp"

#include <algorithm>
#include <utility>

namespace vq {

Reconnection::Reconnection(Scheduler& scheduler, std::function<void()> retry)
    : scheduler_(scheduler), retry_(std::move(retry)) {}

void Reconnection::failed() {
    timer_ = scheduler_.schedule(delay_, [this] {
        auto fired = std::move(timer_);
        retry_();
    });
    delay_ = std::min(delay_ * 2, longestDelay);
}

void Reconnection::succeeded() {
    delay_ = firstDelay;
}

void Reconnection::cancel() {
    timer_.reset();
    delay_ = firstDelay;
}

} // namespace vq
