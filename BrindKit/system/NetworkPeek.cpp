#include "BrindKit/system/NetworkPeek.hpp"

#include "BrindKit/foundation/EnumTable.hpp"
#include "BrindKit/foundation/Overloaded.hpp"

namespace brind {

std::string NetworkPeek::title() const {
    return std::visit(Overloaded{
                          [](const WifiJoined& joined) -> std::string {
                              return joined.ssid ? "Joined " + *joined.ssid : "Wi-Fi connected";
                          },
                          [](const HotspotJoined& joined) -> std::string {
                              return joined.ssid ? "Hotspot \u00B7 " + *joined.ssid : "Personal Hotspot";
                          },
                          [](const WifiLost&) -> std::string { return "Wi-Fi disconnected"; },
                          [](const VPNUp&) -> std::string { return "VPN connected"; },
                          [](const VPNDown&) -> std::string { return "VPN disconnected"; },
                          [](const NoInternet&) -> std::string { return "No internet"; },
                          [](const BackOnline&) -> std::string { return "Back online"; },
                      },
                      value);
}

std::string_view NetworkPeek::symbol() const {
    return std::visit(Overloaded{
                          [](const WifiJoined&) -> std::string_view { return "wifi"; },
                          [](const HotspotJoined&) -> std::string_view { return "personalhotspot"; },
                          [](const WifiLost&) -> std::string_view { return "wifi.slash"; },
                          [](const VPNUp&) -> std::string_view { return "lock.shield.fill"; },
                          [](const VPNDown&) -> std::string_view { return "lock.open.fill"; },
                          [](const NoInternet&) -> std::string_view { return "wifi.exclamationmark"; },
                          [](const BackOnline&) -> std::string_view { return "checkmark.icloud.fill"; },
                      },
                      value);
}

NetworkPeek::Kind NetworkPeek::kind() const {
    return std::visit(Overloaded{
                          [](const WifiJoined&) { return Kind::wifi; },
                          [](const HotspotJoined&) { return Kind::hotspot; },
                          [](const WifiLost&) { return Kind::wifi; },
                          [](const VPNUp&) { return Kind::vpn; },
                          [](const VPNDown&) { return Kind::vpn; },
                          [](const NoInternet&) { return Kind::internet; },
                          [](const BackOnline&) { return Kind::internet; },
                      },
                      value);
}

bool NetworkPeek::isWarning() const {
    return is<WifiLost>() || is<VPNDown>() || is<NoInternet>();
}

namespace {

constexpr auto kindRows = std::to_array<EnumTable::NameRow<NetworkPeek::Kind>>({
    {NetworkPeek::Kind::wifi, "wifi"},
    {NetworkPeek::Kind::vpn, "vpn"},
    {NetworkPeek::Kind::hotspot, "hotspot"},
    {NetworkPeek::Kind::internet, "internet"},
});
static_assert(EnumTable::coversEveryCase(kindRows));
static_assert(EnumTable::coversEveryCase(NetworkPeek::allKinds));

} // namespace

std::string_view name(NetworkPeek::Kind kind) {
    return EnumTable::row(kindRows, kind).name;
}

std::optional<NetworkPeek::Kind> networkPeekKindNamed(std::string_view text) {
    return EnumTable::named(kindRows, text);
}

} // namespace brind
