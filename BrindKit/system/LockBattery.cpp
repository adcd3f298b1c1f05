#include "BrindKit/system/LockBattery.hpp"

#include "BrindKit/island/TimeFormat.hpp"
#include "BrindKit/system/BatteryEstimate.hpp"

#include <algorithm>
#include <utility>

namespace brind {

namespace {

// A battery above this reads as full even while the charger tops it up.
constexpr int fullPercent = 99;

} // namespace

LockBattery::Tone LockBattery::tone(int percent, bool charging, bool lowPower) {
    if (charging)
        return Tone::charging;
    if (lowPower)
        return Tone::lowPower;
    if (percent <= lowPercent)
        return Tone::low;
    return Tone::normal;
}

double LockBattery::fill(int percent) {
    return std::clamp(static_cast<double>(percent) / 100.0, minimumFill, 1.0);
}

std::optional<std::string> LockBattery::detail(int percent, bool pluggedIn, bool charging,
                                               std::optional<long long> minutesToFull,
                                               std::optional<long long> minutesLeft) {
    if (pluggedIn) {
        if (percent > fullPercent)
            return "Fully charged";
        const auto toFull = BatteryEstimate::knownMinutes(minutesToFull);
        if (!toFull)
            return charging ? "Charging" : "Not charging";
        return TimeFormat::duration(*toFull) + " to full";
    }
    const auto left = BatteryEstimate::knownMinutes(minutesLeft);
    if (!left)
        return std::nullopt;
    return TimeFormat::duration(*left) + " left";
}

std::string_view LockBattery::name(Tone tone) {
    switch (tone) {
    case Tone::normal:
        return "normal";
    case Tone::charging:
        return "charging";
    case Tone::low:
        return "low";
    case Tone::lowPower:
        return "lowPower";
    }
    std::unreachable();
}

std::optional<LockBattery::Tone> LockBattery::toneNamed(std::string_view text) {
    for (const Tone tone : allTones) {
        if (name(tone) == text)
            return tone;
    }
    return std::nullopt;
}

} // namespace brind
