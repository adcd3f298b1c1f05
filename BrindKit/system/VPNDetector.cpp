#include "BrindKit/system/VPNDetector.hpp"

#include <algorithm>
#include <utility>

namespace brind {

namespace {

bool hasTunnelName(std::string_view name) {
    return std::ranges::any_of(VPNDetector::prefixes,
                               [&](std::string_view prefix) { return name.starts_with(prefix); });
}

} // namespace

bool VPNDetector::isVPN(std::span<const std::string> scopedInterfaces) {
    return std::ranges::any_of(scopedInterfaces, hasTunnelName);
}

bool VPNDetector::isVPN(std::span<const NetworkInterface> interfaces) {
    return std::ranges::any_of(interfaces, [](const NetworkInterface& interface) {
        return interface.kind ? isTunnel(*interface.kind) : hasTunnelName(interface.name);
    });
}

bool VPNDetector::isTunnel(NetworkInterface::Kind kind) {
    using enum NetworkInterface::Kind;
    switch (kind) {
    case tun:
    case wireguard:
    case ppp:
    case ipsec:
        return true;
    case ethernet:
    case wifi:
    case loopback:
    case bridge:
    case virtualLink:
    case ipTunnel:
        return false;
    }
    std::unreachable();
}

} // namespace brind
