#include "BrindKit/system/NetworkPeekDelivery.hpp"
#include "BrindKit/system/NetworkPeekMachine.hpp"
#include "BrindKit/system/NetworkPeekPreferences.hpp"
#include "BrindKit/system/VPNDetector.hpp"

#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace brind {
namespace {

using Kind = NetworkPeek::Kind;
using P = NetworkPeek;

const std::set<Kind> all{NetworkPeek::allKinds.begin(), NetworkPeek::allKinds.end()};

NetworkSnapshot wifi(std::optional<std::string> ssid, bool online = true, bool hotspot = false) {
    return {.online = online, .wifi = true, .ssid = std::move(ssid), .hotspot = hotspot, .linkUp = true};
}
NetworkSnapshot hotspot(std::optional<std::string> ssid) {
    return wifi(std::move(ssid), true, true);
}
NetworkSnapshot wired(bool online = true) {
    return {.online = online, .wifi = false, .ssid = std::nullopt, .linkUp = true};
}
NetworkSnapshot withVPN(NetworkSnapshot snapshot) {
    snapshot.vpn = true;
    return snapshot;
}
const NetworkSnapshot noLink{};
const NetworkSnapshot linkOnly = wired(false);

TEST(NetworkPeekMachine, ReportsChangesBetweenObservations) {
    struct Case {
        std::string label;
        NetworkSnapshot from;
        NetworkSnapshot to;
        std::vector<NetworkPeek> peeks;
    };
    const std::vector<Case> cases = {
        {"home to office", wifi("Home"), wifi("Office"), {P::wifiJoined("Office")}},
        {"home to unnamed wifi", wifi("Home"), wifi(std::nullopt), {}},
        {"unnamed to named wifi", wifi(std::nullopt), wifi("Office"), {}},
        {"same network", wifi("Home"), wifi("Home"), {}},
        {"cable to wifi", wired(), wifi("Home"), {P::wifiJoined("Home")}},
        {"wifi to hotspot", wifi("Home"), hotspot("Phone"), {P::hotspotJoined("Phone")}},
        {"cable to hotspot", wired(), hotspot(std::nullopt), {P::hotspotJoined(std::nullopt)}},
        {"same network becomes hotspot", wifi("Phone"), hotspot("Phone"), {P::hotspotJoined("Phone")}},
        {"hotspot stays hotspot", hotspot("Phone"), hotspot("Phone"), {}},
        {"hotspot to plain wifi, same name", hotspot("Phone"), wifi("Phone"), {}},
        {"hotspot to other wifi", hotspot("Phone"), wifi("Home"), {P::wifiJoined("Home")}},
        // Wi-Fi and internet lost together: the lost Wi-Fi explains the rest.
        {"wifi and internet lost", wifi("Home"), noLink, {P::wifiLost()}},
        {"wifi lost to cable", wifi("Home"), wired(), {P::wifiLost()}},
        {"wifi, vpn and internet lost", withVPN(wifi("Home")), noLink, {P::wifiLost(), P::vpnDown()}},
        {"vpn up", wifi("Home"), withVPN(wifi("Home")), {P::vpnUp()}},
        {"vpn down", withVPN(wired()), wired(), {P::vpnDown()}},
        {"internet lost on wifi", wifi("Home"), wifi("Home", false), {P::noInternet()}},
        {"internet back on cable", linkOnly, wired(), {P::backOnline()}},
        // Online again after no link at all: the join says it, not "Back online".
        {"online from no link by cable", noLink, wired(), {}},
        {"online from no link by wifi", noLink, wifi("Home"), {P::wifiJoined("Home")}},
        {"offline stays offline", linkOnly, noLink, {}},
        {"network switch while offline",
         wifi("Home", false),
         wifi("Office", true),
         {P::wifiJoined("Office"), P::backOnline()}},
        {"everything at once",
         wired(false),
         withVPN(hotspot("Phone")),
         {P::hotspotJoined("Phone"), P::vpnUp(), P::backOnline()}},
    };
    for (const Case& c : cases) {
        NetworkPeekMachine machine(all);
        EXPECT_TRUE(machine.update(c.from).empty()) << c.label << ": the first observation is a baseline";
        EXPECT_EQ(machine.update(c.to), c.peeks) << c.label;
        EXPECT_EQ(machine.last(), c.to) << c.label;
    }
}

TEST(NetworkPeekMachine, DisabledKindsAreDroppedButStillRemembered) {
    NetworkPeekMachine machine({Kind::vpn});
    EXPECT_TRUE(machine.update(wifi("Home")).empty());
    EXPECT_TRUE(machine.update(wifi("Office")).empty());
    EXPECT_EQ(machine.last(), wifi("Office"));
    // The stored snapshot is the new one, so only the VPN change counts next.
    EXPECT_EQ(machine.update(withVPN(wifi("Office"))), std::vector<NetworkPeek>{P::vpnUp()});

    NetworkPeekMachine noInternetKind({Kind::wifi, Kind::vpn, Kind::hotspot});
    noInternetKind.update(wifi("Home"));
    EXPECT_TRUE(noInternetKind.update(wifi("Home", false)).empty());
    EXPECT_TRUE(noInternetKind.update(wifi("Home")).empty());
}

NetworkPeekPreferences::Lookup from(std::map<std::string, bool> stored) {
    return [stored = std::move(stored)](std::string_view key) -> std::optional<bool> {
        const auto found = stored.find(std::string(key));
        if (found == stored.end())
            return std::nullopt;
        return found->second;
    };
}

TEST(NetworkPeekPreferences, KindsAreOnAndNamesOffUnlessSet) {
    const auto defaults = NetworkPeekPreferences::read(from({}));
    EXPECT_EQ(defaults.enabled, (std::set<Kind>{Kind::wifi, Kind::vpn, Kind::hotspot, Kind::internet}));
    EXPECT_FALSE(defaults.showsNetworkName);

    const auto chosen = NetworkPeekPreferences::read(from({{"activities.network.wifi", false},
                                                           {"activities.network.internet", false},
                                                           {"activities.network.vpn", true},
                                                           {"activities.network.ssid", true}}));
    EXPECT_EQ(chosen.enabled, (std::set<Kind>{Kind::vpn, Kind::hotspot}));
    EXPECT_TRUE(chosen.showsNetworkName);

    const auto hotspotOff = NetworkPeekPreferences::read(from({{"activities.network.hotspot", false}}));
    EXPECT_EQ(hotspotOff.enabled, (std::set<Kind>{Kind::wifi, Kind::vpn, Kind::internet}));
}

TEST(NetworkPeekPreferences, NetworkNameIsShownOnlyWhenAllowed) {
    NetworkPeekPreferences preferences;
    EXPECT_EQ(preferences.presented(NetworkPeek::wifiJoined("Home")).title(), "Wi-Fi connected");
    EXPECT_EQ(preferences.presented(NetworkPeek::hotspotJoined("Phone")).title(), "Personal Hotspot");
    EXPECT_EQ(preferences.presented(NetworkPeek::vpnUp()), NetworkPeek::vpnUp());

    preferences.showsNetworkName = true;
    EXPECT_EQ(preferences.presented(NetworkPeek::wifiJoined("Home")).title(), "Joined Home");
    EXPECT_EQ(preferences.presented(NetworkPeek::hotspotJoined("Phone")).title(), "Hotspot \u00B7 Phone");
}

using Plan = NetworkPeekDelivery::Plan;

const Date start{1'700'000'000};
const Date later = start + 60;

TEST(NetworkPeekDelivery, NothingIsShownDuringTheQuietTimeAfterStart) {
    NetworkPeekDelivery delivery(start);
    EXPECT_EQ(delivery.receive({P::wifiJoined("Home"), P::noInternet()}, start + 1), Plan{});
    EXPECT_FALSE(delivery.hasPendingCheck());
    const Plan plan = delivery.receive({P::wifiJoined("Home")}, start + NetworkPeekDelivery::quietTime);
    EXPECT_EQ(plan.post, std::vector<NetworkPeek>{P::wifiJoined("Home")});
}

TEST(NetworkPeekDelivery, NoInternetWaitsForConfirmation) {
    NetworkPeekDelivery delivery(start);
    const Plan plan = delivery.receive({P::vpnDown(), P::noInternet()}, later);
    EXPECT_EQ(plan.post, std::vector<NetworkPeek>{P::vpnDown()});
    ASSERT_TRUE(plan.check.has_value());
    EXPECT_EQ(plan.check->after, 4);
    EXPECT_TRUE(delivery.hasPendingCheck());

    // Still offline four seconds later: now it is shown, once.
    EXPECT_EQ(delivery.confirm(plan.check->generation, false), P::noInternet());
    EXPECT_FALSE(delivery.hasPendingCheck());
    EXPECT_EQ(delivery.confirm(plan.check->generation, false), std::nullopt);

    // Once shown, the return is worth a peek of its own.
    EXPECT_EQ(delivery.receive({P::backOnline()}, later + 10).post,
              std::vector<NetworkPeek>{P::backOnline()});
}

TEST(NetworkPeekDelivery, AShortDropLeavesNoTraceAndOnlyTheLatestCheckCounts) {
    NetworkPeekDelivery delivery(start);
    const Plan first = delivery.receive({P::noInternet()}, later);
    ASSERT_TRUE(first.check.has_value());
    EXPECT_EQ(delivery.receive({P::backOnline()}, later + 1), Plan{});
    EXPECT_FALSE(delivery.hasPendingCheck());
    // The cancelled timer still fires; it must not show anything.
    EXPECT_EQ(delivery.confirm(first.check->generation, false), std::nullopt);

    const Plan second = delivery.receive({P::noInternet()}, later + 2);
    ASSERT_TRUE(second.check.has_value());
    // A timer left from the first drop must not confirm, nor cancel, the second.
    EXPECT_EQ(delivery.confirm(first.check->generation, false), std::nullopt);
    EXPECT_TRUE(delivery.hasPendingCheck());
    // Back online by another road (a new Wi-Fi rather than "Back online"): the check finds it online.
    EXPECT_EQ(delivery.confirm(second.check->generation, true), std::nullopt);
    EXPECT_FALSE(delivery.hasPendingCheck());
}

TEST(NetworkPeekDelivery, EachPeekBecomesAShortLivedActivityWithItsTitleAndSymbol) {
    struct Case {
        NetworkPeek peek;
        std::string id;
        std::string title;
        std::string symbol;
        bool warning;
        double lifetime;
    };
    // One activity per kind, so a newer peek of a kind replaces the older one. Titles with and
    // without the network's name are in the preferences test.
    const std::vector<Case> cases = {
        {P::wifiJoined("Home"), "network.wifi", "Joined Home", "wifi", false, 3.5},
        {P::hotspotJoined(std::nullopt), "network.hotspot", "Personal Hotspot", "personalhotspot", false, 3.5},
        {P::wifiLost(), "network.wifi", "Wi-Fi disconnected", "wifi.slash", true, 3.5},
        {P::vpnUp(), "network.vpn", "VPN connected", "lock.shield.fill", false, 3.5},
        {P::vpnDown(), "network.vpn", "VPN disconnected", "lock.open.fill", true, 3.5},
        {P::noInternet(), "network.internet", "No internet", "wifi.exclamationmark", true, 6},
        {P::backOnline(), "network.internet", "Back online", "checkmark.icloud.fill", false, 3.5},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.title);
        EXPECT_EQ(c.peek.isWarning(), c.warning);
        const LiveActivity activity = NetworkPeekDelivery::activity(c.peek, later);
        EXPECT_EQ(activity.id, c.id);
        EXPECT_EQ(activity.source, "network");
        EXPECT_EQ(activity.title, c.title);
        EXPECT_EQ(activity.leading, ActivityGlyph::symbol(c.symbol));
        EXPECT_EQ(activity.postedAt, later);
        EXPECT_EQ(activity.expiresAt, later + c.lifetime);
    }
}

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
