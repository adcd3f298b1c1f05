#pragma once

#include "BrindKit/widgets/WidgetCPUTicks.hpp"

#include <cstdint>
#include <span>
#include <string>

namespace brind::WidgetStatsMath {

/// Interface byte counters of 32 bits wrap at this modulus.
inline constexpr std::uint64_t counter32Modulus = std::uint64_t{1} << 32;

/// The share of processor time spent busy between two samples, 0...1; 0 when the counters went
/// backwards or did not move.
double cpuUsage(const WidgetCPUTicks& previous, const WidgetCPUTicks& current);

/// The same over per-core samples, summed first; 0 unless both lists have the same, non-zero length.
double cpuUsage(std::span<const WidgetCPUTicks> previous, std::span<const WidgetCPUTicks> current);

/// How far a counter moved, allowing for one wrap at `modulus`. A previous value at or above the
/// modulus means the counter was reset rather than wrapped, so the current value is the delta.
std::uint64_t counterDelta(std::uint64_t previous, std::uint64_t current, std::uint64_t modulus = counter32Modulus);

/// The counter's movement per second; 0 when the interval is not above 0.
double rate(std::uint64_t previous, std::uint64_t current, double interval, std::uint64_t modulus = counter32Modulus);

/// Bytes in use: app memory (internal pages less purgeable ones) plus wired and compressed pages.
std::uint64_t memoryUsed(std::uint64_t internalPages, std::uint64_t purgeablePages, std::uint64_t wiredPages,
                         std::uint64_t compressedPages, std::uint64_t pageSize);

/// "999 B", "1.5 KB", "12 MB/s": decimal units, one decimal below 10.
std::string formatBytes(double value, bool perSecond = false);

/// "42%": the value clamped to 0...1, as a rounded percentage.
std::string percent(double value);

} // namespace brind::WidgetStatsMath
