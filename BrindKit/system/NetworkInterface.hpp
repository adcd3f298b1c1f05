#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// One network interface as the system lists it: its name and, when the system says, its kind.
struct NetworkInterface {
    enum class Kind {
        ethernet,
        wifi,
        loopback,
        bridge,
        virtualLink, ///< veth, dummy, VLAN, MACVLAN, bond: a link without a tunnel of its own
        tun,         ///< a TUN or TAP device (Tailscale, OpenVPN, many VPN clients), or a raw IP link
        wireguard,
        ppp,      ///< PPP, and so PPTP and L2TP links
        ipsec,    ///< xfrm and VTI interfaces
        ipTunnel, ///< GRE, IPIP, SIT: an unencrypted IP tunnel
    };

    std::string name;
    /// Nothing when the system did not say what the interface is; the name is all there is then.
    std::optional<Kind> kind;

    friend bool operator==(const NetworkInterface&, const NetworkInterface&) = default;

    /// The kind from a link type in the words of rtnetlink's IFLA_INFO_KIND ("tun", "wireguard",
    /// "xfrm", "veth", ...) or NetworkManager's device types ("ethernet", "wifi", "tun", "ppp",
    /// "ip-tunnel", ...); nothing for a word neither uses.
    static std::optional<Kind> kindOfLinkType(std::string_view text);

    /// The kind from the ARPHRD hardware type in /sys/class/net/<name>/type. Ethernet's type is
    /// nothing: wired, Wi-Fi and TAP devices all report it, so it does not tell them apart.
    static std::optional<Kind> kindOfHardwareType(std::uint16_t type);
};

} // namespace brind
