#include "BrindKit/system/NetworkPeekMachine.hpp"

#include <algorithm>

namespace brind {

namespace {

NetworkPeek joined(const NetworkSnapshot& now) {
    return now.hotspot ? NetworkPeek::hotspotJoined(now.ssid) : NetworkPeek::wifiJoined(now.ssid);
}

} // namespace

std::vector<NetworkPeek> NetworkPeekMachine::update(const NetworkSnapshot& snapshot) {
    if (!last_) {
        last_ = snapshot;
        return {};
    }
    const NetworkSnapshot& previous = *last_;
    std::vector<NetworkPeek> peeks;

    if (snapshot.wifi && previous.wifi) {
        const bool renamed = snapshot.ssid && previous.ssid && *snapshot.ssid != *previous.ssid;
        if (renamed)
            peeks.push_back(joined(snapshot));
        else if (snapshot.hotspot && !previous.hotspot)
            peeks.push_back(NetworkPeek::hotspotJoined(snapshot.ssid));
    } else if (snapshot.wifi) {
        peeks.push_back(joined(snapshot));
    } else if (previous.wifi) {
        peeks.push_back(NetworkPeek::wifiLost());
    }

    if (snapshot.vpn != previous.vpn)
        peeks.push_back(snapshot.vpn ? NetworkPeek::vpnUp() : NetworkPeek::vpnDown());

    // A lost Wi-Fi already explains the lost internet.
    const bool lostWifi =
        std::ranges::any_of(peeks, [](const NetworkPeek& peek) { return peek.is<NetworkPeek::WifiLost>(); });
    if (previous.online && !snapshot.online && !lostWifi)
        peeks.push_back(NetworkPeek::noInternet());
    // Coming online from no link at all is told by the join above.
    if (!previous.online && previous.linkUp && snapshot.online)
        peeks.push_back(NetworkPeek::backOnline());

    std::erase_if(peeks, [&](const NetworkPeek& peek) { return !enabled_.contains(peek.kind()); });
    last_ = snapshot;
    return peeks;
}

} // namespace brind
