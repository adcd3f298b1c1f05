#pragma once

namespace brind {

/// The durations of the unlock animation, in seconds.
struct LockTiming {
    /// How long the opened lock stays before the notch collapses.
    double unlockHold = 0.85;
    /// How long the collapse takes before the windows are removed.
    double collapse = 0.5;

    static constexpr LockTiming standard() { return LockTiming{0.85, 0.5}; }
    /// Shorter, for people who turned on the reduce-motion setting.
    static constexpr LockTiming reduced() { return LockTiming{0.5, 0.25}; }
    static constexpr LockTiming forReduceMotion(bool reduceMotion) {
        return reduceMotion ? reduced() : standard();
    }

    friend constexpr bool operator==(const LockTiming&, const LockTiming&) = default;
};

} // namespace brind
