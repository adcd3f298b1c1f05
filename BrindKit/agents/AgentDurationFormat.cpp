#include "BrindKit/agents/AgentDurationFormat.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace brind::AgentDurationFormat {

namespace {
// Beyond this (about 31 million years) a duration is not worth more digits, and the whole
// seconds still fit an integer.
constexpr double maxSeconds = 1e15;
} // namespace

std::string shortText(double seconds) {
    if (!(seconds > 0))
        seconds = 0; // also catches NaN
    const auto whole = static_cast<long long>(std::trunc(std::min(seconds, maxSeconds)));
    char text[48];
    if (whole < 60)
        std::snprintf(text, sizeof text, "%llds", whole);
    else if (whole < 3600)
        std::snprintf(text, sizeof text, "%lldm %02llds", whole / 60, whole % 60);
    else
        std::snprintf(text, sizeof text, "%lldh %02lldm", whole / 3600, whole % 3600 / 60);
    return text;
}

std::string tokens(std::int64_t count) {
    char text[48];
    if (count < 1000)
        std::snprintf(text, sizeof text, "%lld", static_cast<long long>(count));
    else if (count < 10000)
        std::snprintf(text, sizeof text, "%.1fk", static_cast<double>(count) / 1000);
    else if (count < 1000000)
        std::snprintf(text, sizeof text, "%lldk", static_cast<long long>(count / 1000));
    else
        std::snprintf(text, sizeof text, "%.1fM", static_cast<double>(count) / 1000000);
    return text;
}

} // namespace brind::AgentDurationFormat
