#pragma once

#include <string>

namespace brind::TimeFormat {

/// The fixed texts the island prints for times. `countdown` is compact glyph text ("1h 5m");
/// `until` and `duration` are phrases for the expanded view ("in 1 h 5 min"). Seconds beyond
/// about thirty million years are printed as that bound.

/// "1:05" below an hour, "1:02:05" from an hour; negative and non-finite values read as 0.
std::string clock(double seconds);

/// "-" followed by the clock of what is left: remaining(30, 90) is "-1:00".
std::string remaining(double elapsed, double total);

/// Rounded up: "42s", "4:05", "1h 5m".
std::string countdown(double seconds);

/// Rounded up: "now", "in 12 s", "in 2 min", "in 1 h", "in 1 h 2 min".
std::string until(double seconds);

/// "" below one minute, "45 min", "2 h", "1 h 35 min".
std::string duration(long long minutes);

} // namespace brind::TimeFormat
