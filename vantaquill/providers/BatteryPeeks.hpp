#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/island/LiveActivity.hpp"
#include "BrindKit/system/BatteryEstimate.hpp"
#include "BrindKit/system/LockBattery.hpp"

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace vq {

/// Decides which battery changes are worth a short peek: pulling the plug, plugging it in, the
/// battery becoming full and the charge falling to low. Readings come from UPower or the kernel's
/// power-supply class; the discharge samples kept here give an estimate when the system has none.
class BatteryPeeks {
  public:
    static constexpr std::string_view activitySource = "battery";
    static constexpr std::string_view activityID = "battery";
    static constexpr double peekLifetime = 3.5;
    /// A low battery is a warning and stays as long as "No internet" does.
    static constexpr double lowLifetime = 6;
    /// Falling to each of these (percent, highest first) on battery is announced once; the first is
    /// where the lock screen's battery turns low too.
    static constexpr std::array<int, 3> lowThresholds{brind::LockBattery::lowPercent, 10, 5};
    /// Discharge samples older than this no longer describe the present load.
    static constexpr double sampleWindow = 30 * 60;
    static constexpr std::size_t maxSamples = 120;

    /// Where the power comes from, as far as the peeks care.
    enum class Power {
        unknown,     ///< the system does not say (yet); never a change of its own
        battery,     ///< discharging, or empty
        charging,    ///< plugged in and charging
        full,        ///< plugged in and full
        pluggedIdle, ///< plugged in, not charging (a charge limit, or waiting to charge)
    };

    struct Reading {
        bool present = false;
        double percent = 0;
        Power power = Power::unknown;
        /// The system's own estimates in seconds; zero or absent is unknown.
        std::optional<double> secondsToEmpty{};
        std::optional<double> secondsToFull{};
        /// Watts flowing into (or out of) the battery, when the system reports it.
        std::optional<double> watts{};
        friend bool operator==(const Reading&, const Reading&) = default;
    };

    /// The peek this reading at `now` calls for, if any. The first present reading only sets the
    /// baseline; a reading without a battery forgets everything.
    std::optional<brind::LiveActivity> observe(const Reading& reading, brind::Date now);

    const std::vector<brind::BatteryEstimate::Sample>& samples() const { return samples_; }

    /// UPower's Device.State: 1 charging, 2 discharging, 3 empty, 4 fully charged, 5 pending charge,
    /// 6 pending discharge.
    static Power powerOfUPowerState(unsigned state);
    /// The kernel's power_supply "status": "Charging", "Discharging", "Full", "Not charging".
    static Power powerOfStatus(std::string_view status);

  private:
    static bool pluggedIn(Power power);
    brind::LiveActivity peek(const Reading& reading, brind::Date now) const;
    void keepSample(const Reading& reading, brind::Date now);

    std::optional<Reading> last_;
    std::vector<brind::BatteryEstimate::Sample> samples_;
};

} // namespace vq
