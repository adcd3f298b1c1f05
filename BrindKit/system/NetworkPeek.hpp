#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace brind {

/// One network change worth a short peek in the island.
struct NetworkPeek {
    enum class Kind { wifi, vpn, hotspot, internet };

    static constexpr std::array<Kind, 4> allKinds{Kind::wifi, Kind::vpn, Kind::hotspot, Kind::internet};

    struct WifiJoined {
        std::optional<std::string> ssid;
        friend bool operator==(const WifiJoined&, const WifiJoined&) = default;
    };
    struct HotspotJoined {
        std::optional<std::string> ssid;
        friend bool operator==(const HotspotJoined&, const HotspotJoined&) = default;
    };
    struct WifiLost {
        friend bool operator==(const WifiLost&, const WifiLost&) = default;
    };
    struct VPNUp {
        friend bool operator==(const VPNUp&, const VPNUp&) = default;
    };
    struct VPNDown {
        friend bool operator==(const VPNDown&, const VPNDown&) = default;
    };
    struct NoInternet {
        friend bool operator==(const NoInternet&, const NoInternet&) = default;
    };
    struct BackOnline {
        friend bool operator==(const BackOnline&, const BackOnline&) = default;
    };

    using Case = std::variant<WifiJoined, HotspotJoined, WifiLost, VPNUp, VPNDown, NoInternet, BackOnline>;

    Case value = WifiLost{};

    static NetworkPeek wifiJoined(std::optional<std::string> ssid) { return {WifiJoined{std::move(ssid)}}; }
    static NetworkPeek hotspotJoined(std::optional<std::string> ssid) {
        return {HotspotJoined{std::move(ssid)}};
    }
    static NetworkPeek wifiLost() { return {WifiLost{}}; }
    static NetworkPeek vpnUp() { return {VPNUp{}}; }
    static NetworkPeek vpnDown() { return {VPNDown{}}; }
    static NetworkPeek noInternet() { return {NoInternet{}}; }
    static NetworkPeek backOnline() { return {BackOnline{}}; }

    template <typename Which>
    bool is() const {
        return std::holds_alternative<Which>(value);
    }

    /// "Joined Home", "Wi-Fi disconnected", "No internet", ...
    std::string title() const;
    /// The system symbol drawn beside the title.
    std::string_view symbol() const;
    Kind kind() const;
    /// Losses are warnings; gains are not.
    bool isWarning() const;

    friend bool operator==(const NetworkPeek&, const NetworkPeek&) = default;
};

/// "wifi", "vpn", "hotspot" or "internet".
std::string_view name(NetworkPeek::Kind kind);

std::optional<NetworkPeek::Kind> networkPeekKindNamed(std::string_view name);

} // namespace brind
