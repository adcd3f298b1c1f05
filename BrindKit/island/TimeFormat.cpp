#include "BrindKit/island/TimeFormat.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace brind::TimeFormat {

namespace {

constexpr long long secondsPerMinute = 60;
constexpr long long secondsPerHour = 3600;
constexpr long long minutesPerHour = 60;
/// Keeps every conversion to an integer defined, whatever a caller passes.
constexpr double largestSeconds = 1e15;

long long whole(double seconds) {
    if (std::isnan(seconds))
        return 0;
    return static_cast<long long>(std::clamp(seconds, -largestSeconds, largestSeconds));
}

template <typename... Values>
std::string printed(const char* format, Values... values) {
    char text[96];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

} // namespace

std::string clock(double seconds) {
    if (!std::isfinite(seconds))
        return "0:00";
    const long long s = whole(std::floor(std::max(0.0, seconds)));
    if (s < secondsPerHour)
        return printed("%lld:%02lld", s / secondsPerMinute, s % secondsPerMinute);
    return printed("%lld:%02lld:%02lld", s / secondsPerHour, s % secondsPerHour / secondsPerMinute,
                   s % secondsPerMinute);
}

std::string remaining(double elapsed, double total) {
    // `clock` already reads negative and non-finite values as 0.
    return "-" + clock(total - elapsed);
}

std::string countdown(double seconds) {
    const long long s = std::max(0ll, whole(std::ceil(seconds)));
    if (s < secondsPerMinute)
        return printed("%llds", s);
    if (s < secondsPerHour)
        return printed("%lld:%02lld", s / secondsPerMinute, s % secondsPerMinute);
    return printed("%lldh %lldm", s / secondsPerHour, s % secondsPerHour / secondsPerMinute);
}

std::string until(double seconds) {
    const long long s = whole(std::ceil(seconds));
    if (s < 1)
        return "now";
    if (s < secondsPerMinute)
        return printed("in %lld s", s);
    // From a minute on, the whole minutes rounded up, spelt as `duration` spells them.
    return "in " + duration((s + secondsPerMinute - 1) / secondsPerMinute);
}

std::string duration(long long minutes) {
    if (minutes < 1)
        return "";
    if (minutes < minutesPerHour)
        return printed("%lld min", minutes);
    if (minutes % minutesPerHour == 0)
        return printed("%lld h", minutes / minutesPerHour);
    return printed("%lld h %lld min", minutes / minutesPerHour, minutes % minutesPerHour);
}

} // namespace brind::TimeFormat
