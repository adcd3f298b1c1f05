#include "BrindKit/system/VPNDetector.hpp"

#include <gtest/gtest.h>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace brind {
namespace {

TEST(VPNDetector, AnyTunnelInterfaceCountsAsVPN) {
    struct Case {
        std::vector<std::string> interfaces;
        bool vpn;
    };
    // A name only counts when it begins with a tunnel prefix: "vwg0" merely contains one.
    const std::vector<Case> cases = {
        {{"utun3"}, true},        {{"wg0"}, true},  {{"ipsec0"}, true}, {{"ppp0"}, true},
        {{"tap1"}, true},         {{"tun0"}, true}, {{"en0"}, false},   {{"wlan0", "eth0"}, false},
        {{"en0", "utun0"}, true}, {{}, false},      {{""}, false},      {{"vwg0"}, false}};
    for (const Case& c : cases)
        EXPECT_EQ(VPNDetector::isVPN(c.interfaces), c.vpn) << testing::PrintToString(c.interfaces);
}

TEST(VPNDetector, TypedInterfacesCountByTheirKindAndUntypedOnesByName) {
    using enum NetworkInterface::Kind;
    struct Case {
        std::vector<NetworkInterface> interfaces;
        bool vpn;
    };
    const std::vector<Case> cases = {
        // Tunnels whose names no prefix knows.
        {{{"tailscale0", tun}}, true},
        {{{"proton0", wireguard}}, true},
        {{{"ppp0", ppp}}, true},
        {{{"xfrm-vpn", ipsec}}, true},
        {{{"eth0", ethernet}, {"tailscale0", tun}}, true},
        // A known kind settles it, whatever the name says.
        {{{"tunnel-bridge", bridge}}, false},
        {{{"gre1", ipTunnel}}, false},
        {{{"wlan0", wifi}, {"lo", loopback}, {"veth1", virtualLink}}, false},
        // Without a kind the name is all there is.
        {{{"wg0", std::nullopt}}, true},
        {{{"tailscale0", std::nullopt}}, false},
        {{{"enp3s0", ethernet}, {"utun2", std::nullopt}}, true},
        {{}, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(VPNDetector::isVPN(std::span<const NetworkInterface>(c.interfaces)), c.vpn)
            << (c.interfaces.empty() ? "none" : c.interfaces.front().name);
    }
}

// The provider reads kinds from rtnetlink, NetworkManager or /sys/class/net/<name>/type.
TEST(NetworkInterface, ReadsKindsFromTheSystemsWords) {
    using enum NetworkInterface::Kind;
    const std::vector<std::pair<std::string, std::optional<NetworkInterface::Kind>>> words = {
        {"tun", tun},          {"wireguard", wireguard}, {"ppp", ppp},          {"xfrm", ipsec},
        {"vti6", ipsec},       {"ethernet", ethernet},   {"wifi", wifi},        {"ip-tunnel", ipTunnel},
        {"veth", virtualLink}, {"", std::nullopt},       {"Tun", std::nullopt}, {"modem", std::nullopt},
    };
    for (const auto& [word, kind] : words)
        EXPECT_EQ(NetworkInterface::kindOfLinkType(word), kind) << word;

    const std::vector<std::pair<std::uint16_t, std::optional<NetworkInterface::Kind>>> types = {
        {65534, tun}, {512, ppp}, {772, loopback}, {778, ipTunnel}, {1, std::nullopt}, {801, std::nullopt},
    };
    for (const auto& [type, kind] : types)
        EXPECT_EQ(NetworkInterface::kindOfHardwareType(type), kind) << type;
}

} // namespace
} // namespace brind
