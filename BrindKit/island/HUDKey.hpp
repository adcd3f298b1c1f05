#pragma once

#include "BrindKit/island/HUDEvent.hpp"

#include <array>
#include <optional>
#include <string_view>

namespace brind {

/// A volume, brightness or keyboard-light key the island steps levels for, whether pressed on the
/// keyboard or asked for by the `vantaquill hud` command.
enum class HUDKey {
    soundUp,
    soundDown,
    mute,
    brightnessUp,
    brightnessDown,
    illuminationUp,
    illuminationDown,
    illuminationToggle,
};

inline constexpr std::array allHUDKeys = {
    HUDKey::soundUp,        HUDKey::soundDown,      HUDKey::mute,
    HUDKey::brightnessUp,   HUDKey::brightnessDown, HUDKey::illuminationUp,
    HUDKey::illuminationDown, HUDKey::illuminationToggle,
};

/// The HUD a key flashes: `volume`, `brightness` or `keyboardBacklight`.
HUDEvent::Kind hudKind(HUDKey key);

/// The key as the command and the SDK name it: a step ("volume", "brightness", "keyboard") and a
/// direction ("up", "down", "mute", "toggle").
std::string_view stepName(HUDKey key);
std::string_view directionName(HUDKey key);
std::optional<HUDKey> hudKeyNamed(std::string_view step, std::string_view direction);

} // namespace brind
