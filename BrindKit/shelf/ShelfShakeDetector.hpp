#pragma once

#include <limits>
#include <optional>
#include <vector>

namespace brind {

/// Recognises a quick left-right shake of the pointer during a drag, which opens the shelf. Fed with
/// horizontal positions (points) and times (seconds on any steady clock).
struct ShelfShakeDetector {
    /// Horizontal moves this small (points) are hand tremor, not a swing.
    static constexpr double jitter = 0.5;

    int reversalsNeeded = 4;
    double window = 0.6;   ///< seconds: how far back reversals count
    double minSwing = 40;  ///< points between two reversals for the second to count
    double cooldown = 1.0; ///< seconds between two recognised shakes
    std::optional<double> lastX{};
    int direction = 0; ///< -1 left, +1 right, 0 not known yet
    double swingStart = 0;
    std::vector<double> reversals{}; ///< times of the counted reversals
    double lastFired = -std::numeric_limits<double>::infinity();

    /// The detector for the "shelf.shakeSensitivity" preference: 0 (gentle shakes count), 1 or 2
    /// (only vigorous shakes count); other values are brought into that range.
    static ShelfShakeDetector forSensitivity(int sensitivity);

    /// True exactly when this position completes a shake.
    bool feed(double x, double t);

    /// Forgets the current gesture but not when the last shake fired, so the cooldown outlives it.
    void reset();

    friend bool operator==(const ShelfShakeDetector&, const ShelfShakeDetector&) = default;
};

} // namespace brind
