#include "BrindKit/system/LockBattery.hpp"

#include "BrindKit/foundation/EnumTable.hpp"
#include "BrindKit/island/TimeFormat.hpp"
#include "BrindKit/system/BatteryEstimate.hpp"

#include <algorithm>

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

namespace {

constexpr auto toneRows = std::to_array<EnumTable::NameRow<LockBattery::Tone>>({
    {LockBattery::Tone::normal, "normal"},
    {LockBattery::Tone::charging, "charging"},
    {LockBattery::Tone::low, "low"},
    {LockBattery::Tone::lowPower, "lowPower"},
});
static_assert(EnumTable::coversEveryCase(toneRows));

} // namespace

std::string_view name(LockBattery::Tone tone) {
    return EnumTable::row(toneRows, tone).name;
}

std::optional<LockBattery::Tone> lockBatteryToneNamed(std::string_view text) {
    return EnumTable::named(toneRows, text);
}

} // namespace brind
