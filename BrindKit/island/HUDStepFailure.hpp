#pragma once

#include <string>

namespace brind {

/// Why a HUD key's step changed nothing: the user switched that HUD off, or the desktop has no such
/// device (no sound server, no backlight, no keyboard light). `message` is one sentence for the user.
struct HUDStepFailure {
    enum class Reason { switchedOff, unavailable };
    Reason reason = Reason::unavailable;
    std::string message;

    friend bool operator==(const HUDStepFailure&, const HUDStepFailure&) = default;
};

} // namespace brind
