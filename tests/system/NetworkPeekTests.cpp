#include "BrindKit/system/NetworkPeek.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brind {
namespace {

using Kind = NetworkPeek::Kind;

TEST(NetworkPeek, EachCaseHasItsTitleSymbolKindAndWarning) {
    struct Case {
        NetworkPeek peek;
        std::string title;
        std::string symbol;
        Kind kind;
        bool warning;
    };
    const std::vector<Case> cases = {
        {NetworkPeek::wifiJoined("Home"), "Joined Home", "wifi", Kind::wifi, false},
        {NetworkPeek::wifiJoined(std::nullopt), "Wi-Fi connected", "wifi", Kind::wifi, false},
        {NetworkPeek::hotspotJoined("Ana's phone"), "Hotspot \u00B7 Ana's phone", "personalhotspot",
         Kind::hotspot, false},
        {NetworkPeek::hotspotJoined(std::nullopt), "Personal Hotspot", "personalhotspot", Kind::hotspot,
         false},
        {NetworkPeek::wifiLost(), "Wi-Fi disconnected", "wifi.slash", Kind::wifi, true},
        {NetworkPeek::vpnUp(), "VPN connected", "lock.shield.fill", Kind::vpn, false},
        {NetworkPeek::vpnDown(), "VPN disconnected", "lock.open.fill", Kind::vpn, true},
        {NetworkPeek::noInternet(), "No internet", "wifi.exclamationmark", Kind::internet, true},
        {NetworkPeek::backOnline(), "Back online", "checkmark.icloud.fill", Kind::internet, false},
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
