#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>

namespace brind {

/// Tells from interface names whether a VPN carries traffic.
struct VPNDetector {
    /// Tunnel, IPsec, PPP, TAP/TUN and WireGuard interfaces.
    static constexpr std::array<std::string_view, 6> prefixes{"utun", "ipsec", "ppp", "tap", "tun", "wg"};

    /// True when any name begins with one of the prefixes ("utun3", "wg0"; not "en0").
    static bool isVPN(std::span<const std::string> scopedInterfaces);
};

} // namespace brind
