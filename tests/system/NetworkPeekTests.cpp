#include "BrindKit/system/NetworkPeek.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brind {
namespace {

using Kind = NetworkPeek::Kind;
using P = NetworkPeek;

TEST(NetworkPeek, EachCaseHasItsTitleSymbolKindAndWarning) {
    struct Case {
        NetworkPeek peek;
        std::string title;
        std::string symbol;
        Kind kind;
        bool warning;
    };
    // Titles with and without the network's name are in the preferences tests.
    const std::vector<Case> cases = {
        {P::wifiJoined("Home"), "Joined Home", "wifi", Kind::wifi, false},
        {P::hotspotJoined(std::nullopt), "Personal Hotspot", "personalhotspot", Kind::hotspot, false},
        {P::wifiLost(), "Wi-Fi disconnected", "wifi.slash", Kind::wifi, true},
        {P::vpnUp(), "VPN connected", "lock.shield.fill", Kind::vpn, false},
        {P::vpnDown(), "VPN disconnected", "lock.open.fill", Kind::vpn, true},
        {P::noInternet(), "No internet", "wifi.exclamationmark", Kind::internet, true},
        {P::backOnline(), "Back online", "checkmark.icloud.fill", Kind::internet, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.peek.title(), c.title);
        EXPECT_EQ(c.peek.symbol(), c.symbol) << c.title;
        EXPECT_EQ(c.peek.kind(), c.kind) << c.title;
        EXPECT_EQ(c.peek.isWarning(), c.warning) << c.title;
    }
}

} // namespace
} // namespace brind
