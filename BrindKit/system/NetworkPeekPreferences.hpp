#pragma once

#include "BrindKit/system/NetworkPeek.hpp"

#include <functional>
#include <optional>
#include <set>
#include <string_view>

namespace brind {

/// The user's choices for network peeks, read from the preferences store.
struct NetworkPeekPreferences {
    static constexpr std::string_view wifiKey = "activities.network.wifi";
    static constexpr std::string_view vpnKey = "activities.network.vpn";
    static constexpr std::string_view hotspotKey = "activities.network.hotspot";
    static constexpr std::string_view internetKey = "activities.network.internet";
    static constexpr std::string_view ssidKey = "activities.network.ssid";

    /// A stored boolean, or nothing when the key was never set.
    using Lookup = std::function<std::optional<bool>(std::string_view key)>;

    /// Every kind is on unless set off.
    std::set<NetworkPeek::Kind> enabled{NetworkPeek::allKinds.begin(), NetworkPeek::allKinds.end()};
    /// The network's name is private enough to stay off unless turned on.
    bool showsNetworkName = false;

    static NetworkPeekPreferences read(const Lookup& stored);

    /// The peek as shown: without the network's name unless names are on.
    NetworkPeek presented(const NetworkPeek& peek) const;

    friend bool operator==(const NetworkPeekPreferences&, const NetworkPeekPreferences&) = default;
};

} // namespace brind
