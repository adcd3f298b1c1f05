#include "vantaquill/providers/NetlinkNetwork.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vq {
namespace {

TEST(NetlinkNetwork, LinksAndDefaultRoutesMakeASnapshot) {
    using Kind = brind::NetworkInterface::Kind;
    using Link = NetlinkNetwork::Link;
    const Link loopback{1, {"lo", Kind::loopback}, true};
    const Link wired{2, {"enp3s0", std::nullopt}, true};
    const Link wireless{3, {"wlp2s0", std::nullopt}, true};
    const Link wireguard{4, {"wg0", Kind::wireguard}, true};
    const Link wiredDown{2, {"enp3s0", std::nullopt}, false};
    const auto isWireless = [](const std::string& name) { return name.starts_with("wl"); };
    struct Case {
        const char* name;
        std::vector<Link> links;
        std::vector<int> defaults;
        brind::NetworkSnapshot expected;
    };
    const auto path = [](bool online, bool wifi, bool vpn, bool linkUp) {
        brind::NetworkSnapshot snapshot;
        snapshot.online = online;
        snapshot.wifi = wifi;
        snapshot.vpn = vpn;
        snapshot.linkUp = linkUp;
        return snapshot;
    };
    const std::vector<Case> cases{
        {"only the loopback", {loopback}, {}, path(false, false, false, false)},
        {"a cable without a default route", {loopback, wired}, {}, path(false, false, false, true)},
        {"a cable that is down", {loopback, wiredDown}, {2}, path(false, false, false, false)},
        {"Wi-Fi carries the default route", {loopback, wired, wireless}, {3}, path(true, true, false, true)},
        {"the cable carries it while Wi-Fi is also up", {loopback, wired, wireless}, {2}, path(true, false, false, true)},
        {"a tunnel over Wi-Fi carries it", {loopback, wireless, wireguard}, {4}, path(true, true, true, true)},
    };
    for (const Case& c : cases)
        EXPECT_EQ(NetlinkNetwork::snapshot(c.links, c.defaults, isWireless), c.expected) << c.name;
}

} // namespace
} // namespace vq
