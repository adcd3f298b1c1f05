#pragma once

// What the on-screen tests share on every desktop: how closely the island's black must match its
// layout, where it hangs, waiting for what the screen shows, and the activity that grows it.

#include "BrindKit/island/IslandLayout.hpp"
#include "tests/e2e/E2EProcess.hpp"

#include <QRect>
#include <fstream>
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

/// A timer with a ring: the activity the on-screen tests grow the island with.
inline constexpr const char* teaTimerBody =
    R"({"id":"timer","title":"Tea","leading":{"symbol":"timer"},"trailing":{"ring":0.4}})";

/// The compact size `teaTimerBody` gives the island of `layout`.
inline brind::SizeF teaTimerCompact(const brind::IslandLayout::Input& layout) {
    brind::LiveActivity shown;
    shown.leading = brind::ActivityGlyph::symbol("timer");
    shown.trailing = brind::ActivityGlyph::ring(0.4);
    const auto [leading, trailing] =
        brind::IslandLayout::compactWings(&shown, layout, [](std::string_view, double) { return 0.0; });
    return brind::IslandLayout::compact(layout, leading, trailing);
}

/// Posts `body` to `target` of the island on `port` with the command's token from `home`; the status.
inline int postAsCommand(const e2e::TemporaryHome& home, std::uint16_t port, const std::string& target,
                         const std::string& body) {
    std::string token;
    std::ifstream(home.path() / ".config/vantaquill/cli-token") >> token;
    return e2e::statusOf(e2e::rawExchange(
        port, "POST " + target + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                  "\r\nContent-Type: application/json\r\nAuthorization: Bearer " + token +
                  "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body));
}

} // namespace vq::desktop
