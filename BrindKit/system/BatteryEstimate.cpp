#include "BrindKit/system/BatteryEstimate.hpp"

#include "BrindKit/island/TimeFormat.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

namespace brind {

namespace {

constexpr std::string_view separator = " \u00B7 ";
// Wattages past this are misreadings; they print as this bound instead of overflowing.
constexpr double maxWatts = 1e6;

} // namespace

std::optional<double> BatteryEstimate::rate(std::span<const Sample> samples) {
    if (samples.empty())
        return std::nullopt;
    const int drop = samples.front().percent - samples.back().percent;
    const double elapsed = samples.back().date - samples.front().date;
    if (drop < minimumDrop || !(elapsed >= minimumElapsed))
        return std::nullopt;
    return static_cast<double>(drop) / (elapsed / 60.0);
}

std::optional<long long> BatteryEstimate::minutesLeft(int percent, double ratePerMinute) {
    if (percent < 1 || !(ratePerMinute > slowestRate && ratePerMinute < fastestRate))
        return std::nullopt;
    const double minutes = std::round(static_cast<double>(percent) / ratePerMinute);
    return static_cast<long long>(std::clamp(minutes, 1.0, static_cast<double>(maxMinutes)));
}

std::optional<long long> BatteryEstimate::minutesLeft(std::span<const Sample> samples) {
    const auto perMinute = rate(samples);
    if (!perMinute)
        return std::nullopt;
    return minutesLeft(samples.back().percent, *perMinute);
}

std::string BatteryEstimate::pluggedInSubtitle(std::optional<double> watts,
                                               std::optional<long long> minutesToFull, int percent) {
    std::vector<std::string> parts;
    if (watts && *watts >= 1)
        parts.push_back(std::to_string(static_cast<long long>(std::min(*watts, maxWatts))) + " W adapter");
    if (const auto toFull = knownMinutes(minutesToFull))
        parts.push_back(TimeFormat::duration(*toFull) + " to full");
    else if (percent >= 100)
        parts.push_back("Fully charged");
    if (parts.empty())
        return "Charging";
    std::string text = parts.front();
    for (std::size_t i = 1; i < parts.size(); ++i)
        text.append(separator).append(parts[i]);
    return text;
}

std::string BatteryEstimate::onBatterySubtitle(std::optional<long long> systemMinutes,
                                               std::optional<long long> estimatedMinutes) {
    if (const auto minutes = knownMinutes(systemMinutes))
        return "About " + TimeFormat::duration(*minutes) + " left";
    if (const auto minutes = knownMinutes(estimatedMinutes))
        return "About " + TimeFormat::duration(*minutes) + " left (estimate)";
    return "On battery \u00B7 estimating time left";
}

} // namespace brind
