#include "BrindKit/system/NetworkInterface.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

#include <array>

namespace brind {

namespace {

using Kind = NetworkInterface::Kind;

// rtnetlink's link kinds and NetworkManager's device type names, which agree where they overlap.
constexpr auto kindWords = std::to_array<EnumTable::NameRow<Kind>>({
    {Kind::ethernet, "ethernet"},
    {Kind::wifi, "wifi"},
    {Kind::loopback, "loopback"},
    {Kind::bridge, "bridge"},
    {Kind::virtualLink, "veth"},
    {Kind::virtualLink, "dummy"},
    {Kind::virtualLink, "vlan"},
    {Kind::virtualLink, "macvlan"},
    {Kind::virtualLink, "macvtap"},
    {Kind::virtualLink, "ipvlan"},
    {Kind::virtualLink, "bond"},
    {Kind::virtualLink, "team"},
    {Kind::virtualLink, "vrf"},
    {Kind::virtualLink, "vxlan"},
    {Kind::tun, "tun"},
    {Kind::tun, "tap"},
    {Kind::wireguard, "wireguard"},
    {Kind::ppp, "ppp"},
    {Kind::ipsec, "xfrm"},
    {Kind::ipsec, "vti"},
    {Kind::ipsec, "vti6"},
    {Kind::ipTunnel, "gre"},
    {Kind::ipTunnel, "gretap"},
    {Kind::ipTunnel, "ip6gre"},
    {Kind::ipTunnel, "ipip"},
    {Kind::ipTunnel, "sit"},
    {Kind::ipTunnel, "ip6tnl"},
    {Kind::ipTunnel, "ip-tunnel"},
    {Kind::ipTunnel, "erspan"},
});

// ARPHRD values of <linux/if_arp.h>.
constexpr std::uint16_t hardwarePPP = 512;
constexpr std::uint16_t hardwareIPIP = 768;
constexpr std::uint16_t hardwareIP6IP6 = 769;
constexpr std::uint16_t hardwareLoopback = 772;
constexpr std::uint16_t hardwareSIT = 776;
constexpr std::uint16_t hardwareGRE = 778;
constexpr std::uint16_t hardwareIP6GRE = 823;
// No link-layer header: TUN devices, WireGuard and xfrm interfaces carry bare IP packets.
constexpr std::uint16_t hardwareNone = 65534;

} // namespace

std::optional<Kind> NetworkInterface::kindOfLinkType(std::string_view text) {
    return EnumTable::named(kindWords, text);
}

std::optional<Kind> NetworkInterface::kindOfHardwareType(std::uint16_t type) {
    switch (type) {
    case hardwarePPP:
        return Kind::ppp;
    case hardwareLoopback:
        return Kind::loopback;
    case hardwareIPIP:
    case hardwareIP6IP6:
    case hardwareSIT:
    case hardwareGRE:
    case hardwareIP6GRE:
        return Kind::ipTunnel;
    case hardwareNone:
        return Kind::tun;
    default:
        return std::nullopt;
    }
}

} // namespace brind
