#pragma once

#include "BrindKit/system/NetworkInterface.hpp"

#include <array>
#include <span>
#include <string>
#include <string_view>

namespace brind {

/// Tells from the system's interfaces whether a VPN carries traffic.
struct VPNDetector {
    /// Tunnel, IPsec, PPP, TAP/TUN and WireGuard interfaces.
    static constexpr std::array<std::string_view, 6> prefixes{"utun", "ipsec", "ppp", "tap", "tun", "wg"};

    /// True when any name begins with one of the prefixes ("utun3", "wg0"; not "en0").
    static bool isVPN(std::span<const std::string> scopedInterfaces);

    /// True when any interface is a tunnel: by its kind when the system gave one, so that a tunnel
    /// with a name of its own ("tailscale0", "proton0") counts and an ordinary link whose name merely
    /// begins like a tunnel's does not; by the name prefixes only when the kind is unknown.
    static bool isVPN(std::span<const NetworkInterface> interfaces);

    /// TUN/TAP, WireGuard, PPP and IPsec links; unencrypted IP tunnels and ordinary links are not.
    static bool isTunnel(NetworkInterface::Kind kind);
};

} // namespace brind
