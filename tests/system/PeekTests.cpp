#include "BrindKit/system/BatteryEstimate.hpp"
#include "BrindKit/system/NetworkPeekDelivery.hpp"
#include "BrindKit/system/NetworkPeekMachine.hpp"
#include "BrindKit/system/NetworkPeekPreferences.hpp"
#include "BrindKit/system/VPNDetector.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <tuple>
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
        {"vpn down", withVPN(wired()), wired(), {P::vpnDown()}},
        {"internet lost on wifi", wifi("Home"), wifi("Home", false), {P::noInternet()}},
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
    auto preferences = NetworkPeekPreferences::read(from({}));
    EXPECT_EQ(preferences.enabled, (std::set<Kind>{Kind::wifi, Kind::vpn, Kind::hotspot, Kind::internet}));
    EXPECT_EQ(preferences.presented(NetworkPeek::wifiJoined("Home")).title(), "Wi-Fi connected");
    EXPECT_EQ(preferences.presented(NetworkPeek::hotspotJoined("Phone")).title(), "Personal Hotspot");
    EXPECT_EQ(preferences.presented(NetworkPeek::vpnUp()), NetworkPeek::vpnUp());

    preferences = NetworkPeekPreferences::read(from({{"activities.network.wifi", false},
                                                     {"activities.network.internet", false},
                                                     {"activities.network.vpn", true}}));
    EXPECT_EQ(preferences.enabled, (std::set<Kind>{Kind::vpn, Kind::hotspot}));
    EXPECT_EQ(NetworkPeekPreferences::read(from({{"activities.network.hotspot", false}})).enabled,
              (std::set<Kind>{Kind::wifi, Kind::vpn, Kind::internet}));
}

using Plan = NetworkPeekDelivery::Plan;

const Date start{1'700'000'000};
const Date later = start + 60;

TEST(NetworkPeekDelivery, NothingIsShownDuringTheQuietTimeAfterStartAndNoInternetWaitsForConfirmation) {
    NetworkPeekDelivery delivery(start);
    EXPECT_EQ(delivery.receive({P::wifiJoined("Home"), P::noInternet()}, start + 1), Plan{});
    EXPECT_FALSE(delivery.hasPendingCheck());
    Plan plan = delivery.receive({P::wifiJoined("Home")}, start + NetworkPeekDelivery::quietTime);
    EXPECT_EQ(plan.post, std::vector<NetworkPeek>{P::wifiJoined("Home")});

    // After it, "No internet" waits for confirmation.
    plan = delivery.receive({P::vpnDown(), P::noInternet()}, later);
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

// One activity per kind, so a newer peek of a kind replaces the older one: their ids, source and
// titles are read from the island's console in the provider tests, titles without the network's
// name in the preferences test above.
TEST(NetworkPeekDelivery, EachPeekBecomesAShortLivedActivityAndLostConnectionsWarn) {
    const std::vector<std::tuple<NetworkPeek, bool, double>> cases = {
        {P::wifiJoined("Home"), false, 3.5}, {P::hotspotJoined(std::nullopt), false, 3.5},
        {P::wifiLost(), true, 3.5},          {P::vpnUp(), false, 3.5},
        {P::vpnDown(), true, 3.5},           {P::noInternet(), true, 6},
        {P::backOnline(), false, 3.5},
    };
    for (const auto& [peek, warning, lifetime] : cases) {
        const LiveActivity activity = NetworkPeekDelivery::activity(peek, later);
        SCOPED_TRACE(activity.title);
        EXPECT_EQ(peek.isWarning(), warning);
        EXPECT_EQ(activity.postedAt, later);
        EXPECT_EQ(activity.expiresAt, later + lifetime);
    }
}

TEST(VPNDetector, TypedInterfacesCountByTheirKindAndUntypedOnesByName) {
    using enum NetworkInterface::Kind;
    struct Case {
        std::vector<NetworkInterface> interfaces;
        bool vpn;
    };
    const std::vector<Case> cases = {
        // Tunnels whose names no prefix knows.
        {{{"proton0", wireguard}}, true},
        {{{"ppp0", ppp}}, true},
        {{{"xfrm-vpn", ipsec}}, true},
        {{{"eth0", ethernet}, {"tailscale0", tun}}, true},
        // A known kind settles it, whatever the name says.
        {{{"tunnel-bridge", bridge}}, false},
        {{{"gre1", ipTunnel}}, false},
        {{{"wlan0", wifi}, {"lo", loopback}, {"veth1", virtualLink}}, false},
        // Without a kind the name is all there is: it counts when it begins with a tunnel prefix.
        {{{"wg0", std::nullopt}}, true},
        {{{"utun3", std::nullopt}}, true},
        {{{"ipsec0", std::nullopt}}, true},
        {{{"ppp0", std::nullopt}}, true},
        {{{"tap1", std::nullopt}}, true},
        {{{"tun0", std::nullopt}}, true},
        {{{"tailscale0", std::nullopt}}, false},
        {{{"vwg0", std::nullopt}}, false},
        {{{"", std::nullopt}}, false},
        {{{"wlan0", std::nullopt}, {"eth0", std::nullopt}}, false},
        {{{"enp3s0", ethernet}, {"utun2", std::nullopt}}, true},
        {{}, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(VPNDetector::isVPN(std::span<const NetworkInterface>(c.interfaces)), c.vpn)
            << (c.interfaces.empty() ? "none" : c.interfaces.front().name);
    }
    // Names alone, as scoped interfaces are listed.
    EXPECT_TRUE(VPNDetector::isVPN(std::vector<std::string>{"en0", "utun0"}));
    EXPECT_FALSE(VPNDetector::isVPN(std::vector<std::string>{"en0", "vwg0"}));
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

using Sample = BatteryEstimate::Sample;

std::vector<Sample> samples(std::initializer_list<std::pair<double, int>> minutesAndPercents) {
    const Date start{1'700'000'000};
    std::vector<Sample> result;
    for (const auto& [minutes, percent] : minutesAndPercents)
        result.push_back(Sample{start + minutes * 60, percent});
    return result;
}

TEST(BatteryEstimate, RateNeedsEnoughDropOverEnoughTime) {
    const std::vector<std::pair<std::vector<Sample>, std::optional<double>>> cases = {
        {{}, std::nullopt},
        {samples({{0, 80}, {3, 78}}), std::nullopt},  // too short
        {samples({{0, 80}, {4, 78}}), 0.5},           // exactly long enough, exactly enough drop
        {samples({{0, 80}, {30, 79}}), std::nullopt}, // one percent is noise
        {samples({{0, 70}, {30, 80}}), std::nullopt}, // charging
        // Only the ends count; the middle sample does not change the rate.
        {samples({{0, 90}, {2, 95}, {20, 80}}), 0.5},
        {samples({{10, 80}, {0, 70}}), std::nullopt}, // out of order
    };
    for (std::size_t i = 0; i < cases.size(); ++i)
        EXPECT_EQ(BatteryEstimate::rate(cases[i].first), cases[i].second) << "case " << i;
}

TEST(BatteryEstimate, MinutesLeftAtItsThresholds) {
    const std::vector<std::tuple<int, double, std::optional<long long>>> cases = {
        {50, 3, 17},  {1, 0.0051, 196},     {50, 0.005, std::nullopt}, {50, 10, std::nullopt}, {50, 9.99, 5},
        {1, 9.99, 1}, {0, 1, std::nullopt}, {100, 0.006, 1440},        {50, NAN, std::nullopt}};
    for (const auto& [percent, rate, minutes] : cases)
        EXPECT_EQ(BatteryEstimate::minutesLeft(percent, rate), minutes) << percent << " at " << rate;

    // From samples, the time left is for the newest percent.
    EXPECT_EQ(BatteryEstimate::minutesLeft(samples({{0, 80}, {10, 70}})), 70);
    EXPECT_EQ(BatteryEstimate::minutesLeft(samples({{0, 2}, {60, 0}})), std::nullopt);
    EXPECT_EQ(BatteryEstimate::minutesLeft(std::vector<Sample>{}), std::nullopt);
}

TEST(BatteryEstimate, PluggedInSubtitleJoinsWhatIsKnown) {
    const std::vector<std::tuple<std::optional<double>, std::optional<long long>, int, std::string>> cases = {
        {67, std::nullopt, 100, "67 W adapter \u00B7 Fully charged"},
        {std::nullopt, std::nullopt, 80, "Charging"},
        {96.7, 95, 40, "96 W adapter \u00B7 1 h 35 min to full"},
        {30, std::nullopt, 80, "30 W adapter"},
        {0.5, 0, 80, "Charging"},
        {1, 120, 100, "1 W adapter \u00B7 2 h to full"},
        {NAN, std::nullopt, 80, "Charging"}};
    for (const auto& [watts, toFull, percent, text] : cases)
        EXPECT_EQ(BatteryEstimate::pluggedInSubtitle(watts, toFull, percent), text);
}

TEST(BatteryEstimate, OnBatterySubtitlePrefersTheSystemsEstimate) {
    EXPECT_EQ(BatteryEstimate::onBatterySubtitle(180, 70), "About 3 h left");
    EXPECT_EQ(BatteryEstimate::onBatterySubtitle(0, 45), "About 45 min left (estimate)");
}

} // namespace
} // namespace brind
