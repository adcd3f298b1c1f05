#pragma once

#include "BrindKit/system/LockWidget.hpp"
#include "BrindKit/system/LockWidgetInput.hpp"

#include <cstddef>
#include <vector>

namespace brind {

/// Which widgets the lock screen shows, in order.
struct LockWidgetPlan {
    /// Small widgets share one row of four; media has a row of its own and is never dropped.
    static constexpr std::size_t maxSmall = 4;

    /// From five minutes after a meeting started to six hours before it starts, both ends included.
    struct MeetingWindow {
        double lowerBound;
        double upperBound;
        constexpr bool contains(double seconds) const {
            return seconds >= lowerBound && seconds <= upperBound;
        }
    };
    static constexpr MeetingWindow meetingWindow{-300, 21600};

    static std::vector<LockWidget> widgets(const LockWidgetInput& input);
};

} // namespace brind
