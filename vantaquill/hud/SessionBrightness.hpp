#pragma once

#include <expected>
#include <string>

namespace vq {

/// Sets a backlight or LED through logind: `SetBrightness(subsystem, name, value)` on the caller's
/// session (`/org/freedesktop/login1/session/auto`), which logind allows the session's own user,
/// so the island needs no root and no udev rule.
class SessionBrightness {
  public:
    /// Waiting longer than this for logind would hold the island's main thread up noticeably.
    static constexpr int callTimeoutMilliseconds = 2000;

    /// `subsystem` is "backlight" or "leds"; the error is D-Bus's message.
    static std::expected<void, std::string> set(const std::string& subsystem, const std::string& name, int value);
};

} // namespace vq
