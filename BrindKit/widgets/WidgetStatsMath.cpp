#include "BrindKit/widgets/WidgetStatsMath.hpp"

#include "BrindKit/foundation/UnitInterval.hpp"

#include <array>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace brind::WidgetStatsMath {

namespace {

constexpr double unitStep = 1000;
constexpr std::array<std::string_view, 6> units = {"B", "KB", "MB", "GB", "TB", "PB"};
/// Scaled values below this get one decimal.
constexpr double oneDecimalBelow = 10;

WidgetCPUTicks sum(std::span<const WidgetCPUTicks> cores) {
    WidgetCPUTicks total;
    for (const auto& core : cores) {
        total.user += core.user;
        total.system += core.system;
        total.idle += core.idle;
        total.nice += core.nice;
    }
    return total;
}

} // namespace

double cpuUsage(const WidgetCPUTicks& previous, const WidgetCPUTicks& current) {
    const auto busyBefore = previous.busy();
    const auto busyNow = current.busy();
    const auto totalBefore = previous.total();
    const auto totalNow = current.total();
    if (busyNow < busyBefore || totalNow <= totalBefore)
        return 0;
    const double busy = static_cast<double>(busyNow - busyBefore);
    const double total = static_cast<double>(totalNow - totalBefore);
    return UnitInterval::clamp(busy / total);
}

double cpuUsage(std::span<const WidgetCPUTicks> previous, std::span<const WidgetCPUTicks> current) {
    if (previous.empty() || previous.size() != current.size())
        return 0;
    return cpuUsage(sum(previous), sum(current));
}

std::uint64_t counterDelta(std::uint64_t previous, std::uint64_t current, std::uint64_t modulus) {
    if (current >= previous)
        return current - previous;
    if (previous >= modulus)
        return current;
    // current < previous < modulus, so this stays below the modulus and cannot overflow.
    return modulus - previous + current;
}

double rate(std::uint64_t previous, std::uint64_t current, double interval, std::uint64_t modulus) {
    if (!(interval > 0))
        return 0;
    return static_cast<double>(counterDelta(previous, current, modulus)) / interval;
}

std::uint64_t memoryUsed(std::uint64_t internalPages, std::uint64_t purgeablePages, std::uint64_t wiredPages,
                         std::uint64_t compressedPages, std::uint64_t pageSize) {
    const std::uint64_t appPages = internalPages > purgeablePages ? internalPages - purgeablePages : 0;
    return (appPages + wiredPages + compressedPages) * pageSize;
}

std::string formatBytes(double value, bool perSecond) {
    const std::string_view suffix = perSecond ? "/s" : "";
    // Room for the largest finite double written out in petabytes.
    char text[512];
    if (!(value > 0) || !std::isfinite(value))
        value = 0;
    if (value < unitStep) {
        std::snprintf(text, sizeof text, "%.0f B%.*s", std::floor(value), static_cast<int>(suffix.size()),
                      suffix.data());
        return text;
    }
    std::size_t unit = 0;
    while (value >= unitStep && unit + 1 < units.size()) {
        value /= unitStep;
        ++unit;
    }
    std::snprintf(text, sizeof text, value < oneDecimalBelow ? "%.1f %.*s%.*s" : "%.0f %.*s%.*s", value,
                  static_cast<int>(units[unit].size()), units[unit].data(), static_cast<int>(suffix.size()),
                  suffix.data());
    return text;
}

std::string percent(double value) {
    return std::to_string(static_cast<int>(std::lround(UnitInterval::clamp(value) * 100))) + "%";
}

} // namespace brind::WidgetStatsMath
