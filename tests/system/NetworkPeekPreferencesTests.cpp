#include "BrindKit/system/NetworkPeekPreferences.hpp"

#include <gtest/gtest.h>
#include <map>
#include <string>

namespace brind {
namespace {

using Kind = NetworkPeek::Kind;

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

} // namespace
} // namespace brind
