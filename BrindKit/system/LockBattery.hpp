#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// The lock screen's battery widget: its colour, how full it is drawn and its second line.
struct LockBattery {
    enum class Tone { normal, charging, low, lowPower };

    /// At or below this the battery is shown as low.
    static constexpr int lowPercent = 20;
    /// An empty battery still shows a sliver.
    static constexpr double minimumFill = 0.04;

    /// Charging wins over low-power mode, which wins over a low charge.
    static Tone tone(int percent, bool charging, bool lowPower);

    /// percent / 100, clamped to 0.04...1.
    static double fill(int percent);

    /// "Fully charged", "Charging", "Not charging", "1 h 5 min to full" or "3 h left"; nothing on
    /// battery without an estimate. Times below one minute count as unknown.
    static std::optional<std::string> detail(int percent, bool pluggedIn, bool charging,
                                             std::optional<long long> minutesToFull,
                                             std::optional<long long> minutesLeft);
};

/// "normal", "charging", "low" or "lowPower".
std::string_view name(LockBattery::Tone tone);
std::optional<LockBattery::Tone> lockBatteryToneNamed(std::string_view name);

} // namespace brind
