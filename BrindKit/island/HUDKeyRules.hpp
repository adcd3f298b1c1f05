#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/island/HUDEvent.hpp"
#include "BrindKit/island/HUDKey.hpp"
#include "BrindKit/island/HUDSteps.hpp"

#include <optional>
#include <string>

/// What one press of a HUD key does: whether the island takes it, on which grid it steps, the level
/// it leads to, and whether a change seen afterwards is the island's own.
namespace brind::HUDKeyRules {

/// The modifier keys held with a HUD key. On Linux keyboards Option is Alt and Command is Super.
struct Modifiers {
    bool shift = false;
    bool option = false;
    bool command = false;
    bool control = false;

    friend bool operator==(const Modifiers&, const Modifiers&) = default;
};

/// The user's HUD switches ("hud.enabled", "hud.volume", "hud.brightness", "hud.keyboard") and what
/// the desktop offers at the moment of the press.
struct Conditions {
    bool enabled = true;
    bool volume = true;
    bool brightness = true;
    bool keyboard = true;
    /// The default output's volume can be set (a sound server with a default sink answers).
    bool outputSettable = false;
    /// The display's brightness can be read.
    bool displayReadable = false;
    /// A keyboard light is there.
    bool keyboardAvailable = false;

    friend bool operator==(const Conditions&, const Conditions&) = default;
};

enum class KeyState { down, up };

/// `pass`: the desktop gets the key. `swallow`: taken with nothing done (a release). `perform`: the
/// press steps the level on `grid`.
struct Decision {
    enum class Action { pass, swallow, perform };
    Action action = Action::pass;
    HUDSteps::Grid grid = HUDSteps::Grid::coarse;

    friend bool operator==(const Decision&, const Decision&) = default;
};

/// The seconds after the island's own change during which a change seen elsewhere is taken for
/// that change's echo and not flashed again.
inline constexpr double ownChangeWindow = 0.4;

/// The grid the modifiers ask for, or nothing when they leave the key to the desktop: Control
/// always does, and so do Option or Command without Shift and Command with it; Shift+Option steps
/// fine.
std::optional<HUDSteps::Grid> grid(Modifiers modifiers);

/// Whether its family is switched on and its device there: volume keys need an output whose volume
/// can be set, brightness keys a readable display brightness, keyboard-light keys a keyboard light.
bool handles(HUDKey key, const Conditions& conditions);

/// What the island does with one key event.
Decision decide(HUDKey key, KeyState state, Modifiers modifiers, const Conditions& conditions);

/// The default output's level and mute flag.
struct OutputLevel {
    double level = 0;
    bool muted = false;

    friend bool operator==(const OutputLevel&, const OutputLevel&) = default;
};

/// After one volume press: mute toggles the flag and keeps the level; up and down step the level,
/// and a muted output is unmuted by a level above 0 (a level of 0 leaves it muted).
OutputLevel volumeAfter(OutputLevel current, HUDKey key, HUDSteps::Grid grid);

/// After one brightness or keyboard-light press, from the current level (0.5 when it is unknown).
/// Toggle turns a lit keyboard off and a dark one to half. A volume key leaves the level alone.
double levelAfter(std::optional<double> current, HUDKey key, HUDSteps::Grid grid);

/// The raw value (0...`maximum`) a device with whole-number levels is set to for `level`, from
/// `current`: the nearest one, but at least one unit away in the direction of the change, so that a
/// keyboard light with three levels still moves on every press of a 16-step grid.
int rawLevel(double level, int current, int maximum);

/// The flash for an output: muted when the output is muted or silent.
HUDEvent volumeEvent(OutputLevel output, std::optional<std::string> label);

/// A change seen at `now` is flashed unless the island made its own change less than
/// `ownChangeWindow` before.
bool flashesChangeElsewhere(std::optional<Date> ownChange, Date now);

} // namespace brind::HUDKeyRules
