#pragma once

#include <optional>
#include <string>

namespace brind {

/// One observation of the network path.
struct NetworkSnapshot {
    /// A usable path to the internet exists.
    bool online = false;
    /// The path uses Wi-Fi.
    bool wifi = false;
    /// The Wi-Fi network's name, when known.
    std::optional<std::string> ssid;
    bool vpn = false;
    /// The Wi-Fi network is a phone's personal hotspot.
    bool hotspot = false;
    /// Some interface is up, whether or not the internet is reachable.
    bool linkUp = false;

    friend bool operator==(const NetworkSnapshot&, const NetworkSnapshot&) = default;
};

} // namespace brind
