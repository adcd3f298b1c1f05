#include "vantaquill/providers/BatteryPeeks.hpp"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace vq {

namespace {

// UPower's Device.State values.
constexpr unsigned upowerCharging = 1;
constexpr unsigned upowerDischarging = 2;
constexpr unsigned upowerEmpty = 3;
constexpr unsigned upowerFull = 4;
constexpr unsigned upowerPendingCharge = 5;
constexpr unsigned upowerPendingDischarge = 6;

int wholePercent(double percent) {
    if (!std::isfinite(percent))
        return 0;
    return static_cast<int>(std::lround(std::clamp(percent, 0.0, 100.0)));
}

std::optional<long long> minutes(std::optional<double> seconds) {
    if (!seconds || !std::isfinite(*seconds) || *seconds <= 0)
        return std::nullopt;
    return brind::BatteryEstimate::knownMinutes(std::llround(std::min(*seconds, 1e9) / 60));
}

std::string_view symbol(BatteryPeeks::Power power, int percent) {
    if (power == BatteryPeeks::Power::charging || power == BatteryPeeks::Power::pluggedIdle)
        return "bolt";
    if (power == BatteryPeeks::Power::full || percent > 90)
        return "battery.100";
    if (percent > 65)
        return "battery.75percent";
    if (percent > 35)
        return "battery.50";
    if (percent > 10)
        return "battery.25";
    return "battery.0";
}

} // namespace

BatteryPeeks::Power BatteryPeeks::powerOfUPowerState(unsigned state) {
    switch (state) {
    case upowerDischarging:
    case upowerEmpty:
    case upowerPendingDischarge:
        return Power::battery;
    case upowerCharging:
        return Power::charging;
    case upowerFull:
        return Power::full;
    case upowerPendingCharge:
        return Power::pluggedIdle;
    default:
        return Power::unknown;
    }
}

BatteryPeeks::Power BatteryPeeks::powerOfStatus(std::string_view status) {
    if (status == "Discharging")
        return Power::battery;
    if (status == "Charging")
        return Power::charging;
    if (status == "Full")
        return Power::full;
    if (status == "Not charging")
        return Power::pluggedIdle;
    return Power::unknown;
}

bool BatteryPeeks::pluggedIn(Power power) {
    return power == Power::charging || power == Power::full || power == Power::pluggedIdle;
}

std::optional<brind::LiveActivity> BatteryPeeks::observe(const Reading& reading, brind::Date now) {
    if (!reading.present) {
        last_.reset();
        samples_.clear();
        return std::nullopt;
    }
    Reading current = reading;
    // A state the system cannot name is not a change of power source.
    if (current.power == Power::unknown && last_)
        current.power = last_->power;
    keepSample(current, now);
    const std::optional<Reading> previous = std::exchange(last_, current);
    if (!previous || previous->power == Power::unknown)
        return std::nullopt;

    const int before = wholePercent(previous->percent);
    const int after = wholePercent(current.percent);
    const bool wasPlugged = pluggedIn(previous->power);
    const bool isPlugged = pluggedIn(current.power);
    if (current.power == Power::battery && wasPlugged)
        return peek(current, now);
    if (isPlugged && previous->power == Power::battery)
        return peek(current, now);
    const bool becameFull = current.power == Power::full && previous->power != Power::full;
    const bool reachedHundred = current.power == Power::charging && after >= 100 && before < 100;
    if (isPlugged && (becameFull || reachedHundred))
        return peek(current, now);
    if (current.power == Power::battery && previous->power == Power::battery) {
        for (const int threshold : lowThresholds) {
            if (before > threshold && after <= threshold)
                return peek(current, now);
        }
    }
    return std::nullopt;
}

void BatteryPeeks::keepSample(const Reading& reading, brind::Date now) {
    // The estimate describes one stretch on battery; plugging in ends it.
    if (reading.power != Power::battery) {
        samples_.clear();
        return;
    }
    const int percent = wholePercent(reading.percent);
    if (samples_.empty() || samples_.back().percent != percent)
        samples_.push_back({now, percent});
    // Keep two at least, so the oldest still anchors a rate after a long quiet stretch.
    while (samples_.size() > 2 && (now - samples_.front().date > sampleWindow || samples_.size() > maxSamples))
        samples_.erase(samples_.begin());
}

brind::LiveActivity BatteryPeeks::peek(const Reading& reading, brind::Date now) const {
    const int percent = wholePercent(reading.percent);
    brind::LiveActivity activity;
    activity.id = std::string(activityID);
    activity.source = std::string(activitySource);
    activity.title = "Battery " + std::to_string(percent) + "%";
    activity.progress = percent / 100.0;
    activity.leading = brind::ActivityGlyph::symbol(std::string(symbol(reading.power, percent)));
    activity.postedAt = now;
    switch (reading.power) {
    case Power::battery: {
        activity.subtitle = brind::BatteryEstimate::onBatterySubtitle(
            minutes(reading.secondsToEmpty), brind::BatteryEstimate::minutesLeft(samples_));
        const bool low = percent <= lowThresholds.front();
        activity.priority = low ? brind::ActivityPriority::important : brind::ActivityPriority::normal;
        activity.expiresAt = now + (low ? lowLifetime : peekLifetime);
        return activity;
    }
    case Power::pluggedIdle:
        activity.subtitle = "Not charging";
        break;
    case Power::charging:
    case Power::full:
    case Power::unknown:
        activity.subtitle = brind::BatteryEstimate::pluggedInSubtitle(
            reading.watts, minutes(reading.secondsToFull), reading.power == Power::full ? 100 : percent);
        break;
    }
    activity.expiresAt = now + peekLifetime;
    return activity;
}

} // namespace vq
