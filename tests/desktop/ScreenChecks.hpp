#pragma once

// What the on-screen tests share on every desktop: how closely the island's black must match its
// layout, where it hangs, and waiting for what the screen shows.

#include <QRect>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace vq::desktop {

/// Antialiasing and the rounding of a shaped window leave the outline's edge within this many pixels.
inline constexpr int edgeTolerance = 2;
/// The island hangs in this band at the top of the screen, open or not; other windows' text lies below.
inline constexpr int band = 300;

/// A rectangle of black seen on the screen, for a failure's message.
inline std::string describe(const std::optional<QRect>& rect) {
    if (!rect)
        return "no black";
    return std::to_string(rect->x()) + "," + std::to_string(rect->y()) + " " + std::to_string(rect->width()) +
           "x" + std::to_string(rect->height());
}

/// Waits until `condition` holds, 20 seconds at most; whether it did.
inline bool waitUntil(const std::function<bool()>& condition) {
    using namespace std::chrono_literals;
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(50ms);
    }
    return true;
}

} // namespace vq::desktop
