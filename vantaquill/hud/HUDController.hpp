#pragma once

#include "BrindKit/island/HUDEvent.hpp"
#include "BrindKit/island/HUDKey.hpp"
#include "BrindKit/island/HUDKeyRules.hpp"
#include "BrindKit/island/HUDStepFailure.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/hud/DisplayBacklight.hpp"
#include "vantaquill/hud/KeyboardBacklight.hpp"
#include "vantaquill/hud/PulseVolume.hpp"

#include <expected>
#include <functional>
#include <map>
#include <optional>

namespace vq {

/// The volume, brightness and keyboard-light keys: decides with `HUDKeyRules` whether the island
/// takes a press, performs it on the device with `HUDSteps` and flashes the new level; and flashes
/// changes made elsewhere, except those that come right after its own (the echo of its own write).
/// Main thread only.
class HUDController {
  public:
    /// The user's switches: "hud.enabled", "hud.volume", "hud.brightness", "hud.keyboard".
    struct Switches {
        bool enabled = true;
        bool volume = true;
        bool brightness = true;
        bool keyboard = true;

        friend bool operator==(const Switches&, const Switches&) = default;
    };

    struct Devices {
        PulseVolume& volume;
        DisplayBacklight& display;
        KeyboardBacklight& keyboard;
    };

    HUDController(LiveActivityCenter& center, Scheduler& scheduler, Devices devices);

    void setSwitches(Switches switches) { switches_ = switches; }
    const Switches& switches() const { return switches_; }

    /// A key event from the keyboard; true when the island took it (the desktop then never sees it).
    bool handle(brind::HUDKey key, brind::HUDKeyRules::KeyState state, brind::HUDKeyRules::Modifiers modifiers);

    /// One press asked for by the `vantaquill hud` command: the level changes even while the HUD is
    /// switched off (the user bound the key to the command, and nothing else would change it), and
    /// is flashed while it is on. The event for the new level, or why nothing changed.
    std::expected<brind::HUDEvent, brind::HUDStepFailure> press(brind::HUDKey key, brind::HUDSteps::Grid grid);

    /// Whether a change of this HUD's level seen now, made elsewhere, is flashed.
    bool flashesChangeElsewhere(brind::HUDEvent::Kind kind) const;
    /// A brightness or keyboard-light level changed elsewhere: flashed unless it is our own echo.
    void changedElsewhere(brind::HUDEvent::Kind kind, double level);

    /// Told after each volume step up or down the island made (not after a mute), for the click.
    std::function<void()> onVolumeStep;

  private:
    std::expected<brind::HUDEvent, brind::HUDStepFailure> volumeKey(brind::HUDKey key, brind::HUDSteps::Grid grid);
    std::expected<brind::HUDEvent, brind::HUDStepFailure> brightnessKey(brind::HUDKey key, brind::HUDSteps::Grid grid);
    std::expected<brind::HUDEvent, brind::HUDStepFailure> backlightKey(brind::HUDKey key, brind::HUDSteps::Grid grid);
    bool switchedOn(brind::HUDEvent::Kind kind) const;
    void recordOwnChange(brind::HUDEvent::Kind kind);
    std::optional<brind::Date> ownChange(brind::HUDEvent::Kind kind) const;

    LiveActivityCenter& center_;
    Scheduler& scheduler_;
    Devices devices_;
    Switches switches_;
    /// The moment of the island's own last change of each level.
    std::map<brind::HUDEvent::Kind, brind::Date> ownChanges_;
};

} // namespace vq
