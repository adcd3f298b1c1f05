#include "BrindKit/system/LockFormat.hpp"

#include "BrindKit/island/TimeFormat.hpp"

#include <algorithm>
#include <cmath>

namespace brind::LockFormat {

namespace {

// Ten thousand years of minutes: far beyond any calendar, and well inside a long long.
constexpr double maxMinutes = 5.3e9;

} // namespace

std::string meeting(double seconds) {
    // NaN (a meeting time that could not be read) is treated like a meeting that has begun.
    if (!(seconds > 0))
        return "Now";
    const double minutes = std::clamp(std::ceil(seconds / 60.0), 1.0, maxMinutes);
    return TimeFormat::duration(static_cast<long long>(minutes));
}

} // namespace brind::LockFormat
