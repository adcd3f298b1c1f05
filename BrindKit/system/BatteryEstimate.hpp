#pragma once

#include "BrindKit/foundation/Date.hpp"

#include <optional>
#include <span>
#include <string>

namespace brind {

/// How long the battery will last, estimated from its recent samples, and the battery peek's
/// second line.
struct BatteryEstimate {
    struct Sample {
        Date date;
        int percent = 0; ///< 0...100
        friend bool operator==(const Sample&, const Sample&) = default;
    };

    /// A rate needs at least this drop over at least this long, or it is noise.
    static constexpr int minimumDrop = 2;
    static constexpr double minimumElapsed = 240;
    /// Rates outside (0.005, 10) percent per minute are not believed.
    static constexpr double slowestRate = 0.005;
    static constexpr double fastestRate = 10;
    /// An estimate never says more than a day.
    static constexpr long long maxMinutes = 1440;

    /// The minutes, or nothing below one minute: such a time prints as an empty duration, so every
    /// battery line treats it as unknown.
    static constexpr std::optional<long long> knownMinutes(std::optional<long long> minutes) {
        if (minutes && *minutes >= 1)
            return minutes;
        return std::nullopt;
    }

    /// Percent per minute lost between the first and last sample (oldest first).
    static std::optional<double> rate(std::span<const Sample> samples);

    /// round(percent / rate), clamped to 1...1440.
    static std::optional<long long> minutesLeft(int percent, double ratePerMinute);

    /// `minutesLeft` for the last sample's percent at the samples' rate.
    static std::optional<long long> minutesLeft(std::span<const Sample> samples);

    /// "67 W adapter · 1 h 5 min to full", "Fully charged", "Charging", ...
    static std::string pluggedInSubtitle(std::optional<double> watts, std::optional<long long> minutesToFull,
                                         int percent);

    /// "About 3 h left", "About 3 h left (estimate)" or "On battery · estimating time left".
    static std::string onBatterySubtitle(std::optional<long long> systemMinutes,
                                         std::optional<long long> estimatedMinutes);
};

} // namespace brind
