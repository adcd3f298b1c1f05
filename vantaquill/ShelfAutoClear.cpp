#include "vantaquill/ShelfAutoClear.hpp"

#include "BrindKit/shelf/ShelfExpiry.hpp"

#include <algorithm>

namespace vq {

void ShelfAutoClear::setHours(double hours) {
    if (hours == hours_)
        return;
    hours_ = hours;
    sweep();
}

void ShelfAutoClear::shelfChanged() {
    // The sweep's own removals change the shelf too; the sweep under way sets the timer after them.
    if (!sweeping_)
        sweep();
}

void ShelfAutoClear::sweep() {
    sweeping_ = true;
    store_.expire(hours_, scheduler_.now());
    sweeping_ = false;
    timer_.reset();
    const auto next = brind::ShelfExpiry::next(store_.library().entries, hours_);
    if (!next)
        return;
    const double wait = std::max(0.0, *next - scheduler_.now()) + margin;
    timer_ = scheduler_.schedule(wait, [this] {
        auto fired = std::move(timer_);
        sweep();
    });
}

} // namespace vq
