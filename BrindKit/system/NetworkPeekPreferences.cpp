#include "BrindKit/system/NetworkPeekPreferences.hpp"

#include <utility>

namespace brind {

namespace {

std::string_view key(NetworkPeek::Kind kind) {
    switch (kind) {
    case NetworkPeek::Kind::wifi:
        return NetworkPeekPreferences::wifiKey;
    case NetworkPeek::Kind::vpn:
        return NetworkPeekPreferences::vpnKey;
    case NetworkPeek::Kind::hotspot:
        return NetworkPeekPreferences::hotspotKey;
    case NetworkPeek::Kind::internet:
        return NetworkPeekPreferences::internetKey;
    }
    std::unreachable();
}

} // namespace

NetworkPeekPreferences NetworkPeekPreferences::read(const Lookup& stored) {
    NetworkPeekPreferences preferences;
    preferences.enabled.clear();
    for (const NetworkPeek::Kind kind : NetworkPeek::allKinds) {
        if (stored(key(kind)).value_or(true))
            preferences.enabled.insert(kind);
    }
    preferences.showsNetworkName = stored(ssidKey).value_or(false);
    return preferences;
}

NetworkPeek NetworkPeekPreferences::presented(const NetworkPeek& peek) const {
    if (showsNetworkName)
        return peek;
    if (peek.is<NetworkPeek::WifiJoined>())
        return NetworkPeek::wifiJoined(std::nullopt);
    if (peek.is<NetworkPeek::HotspotJoined>())
        return NetworkPeek::hotspotJoined(std::nullopt);
    return peek;
}

} // namespace brind
