#pragma once

#include <optional>
#include <string>

namespace brind {

/// What the lock-screen widget plan is decided from: the user's toggles and the facts of the moment.
struct LockWidgetInput {
    bool media = false;
    bool battery = false;
    bool bluetooth = false;
    bool meeting = false;
    bool weather = false;
    bool timer = false;
    /// Also governs the stay-awake widget.
    bool focus = false;

    bool hasMedia = false;
    bool hasBattery = false;
    bool hasBluetooth = false;
    bool hasForecast = false;
    bool hasTimer = false;
    /// A stay-awake session is running.
    bool stayAwake = false;
    /// Seconds until the next meeting starts; negative once it has started.
    std::optional<double> meetingIn;
    /// The active Focus mode's name.
    std::optional<std::string> focusName;

    friend bool operator==(const LockWidgetInput&, const LockWidgetInput&) = default;
};

} // namespace brind
