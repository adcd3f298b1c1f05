#pragma once

#include <algorithm>
#include <cmath>

namespace brind::UnitInterval {

/// Clamps a level, progress or ratio into 0...1. NaN has no place on a bar or ring, so it reads as 0.
inline double clamp(double value) {
    if (std::isnan(value))
        return 0;
    return std::clamp(value, 0.0, 1.0);
}

} // namespace brind::UnitInterval
