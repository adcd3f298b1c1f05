#include "BrindKit/system/NetworkPeekMachine.hpp"

#include <gtest/gtest.h>
#include <set>
#include <string>
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

} // namespace
} // namespace brind
