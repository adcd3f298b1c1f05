#pragma once

#include <string>

namespace brind {

/// Why a HUD key's step changed nothing: the desktop has no such device at the moment (no sound
/// server, no backlight, no keyboard light). `message` is one sentence for the user.
struct HUDStepFailure {
    std::string message;

    friend bool operator==(const HUDStepFailure&, const HUDStepFailure&) = default;
};

} // namespace brind
