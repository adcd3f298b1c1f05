#include "vantaquill/providers/BatteryPeeks.hpp"
#include "vantaquill/providers/BatteryProvider.hpp"
#include "vantaquill/providers/NetlinkNetwork.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace vq {
namespace {

using Power = BatteryPeeks::Power;
using Reading = BatteryPeeks::Reading;

Reading reading(double percent, Power power, std::optional<double> toEmpty = {}, std::optional<double> toFull = {},
                std::optional<double> watts = {}) {
    return {.present = true, .percent = percent, .power = power, .secondsToEmpty = toEmpty,
            .secondsToFull = toFull, .watts = watts};
}

struct Step {
    double at = 0; ///< seconds after the first reading
    Reading reading;
    /// The peek's title and subtitle, or empty for no peek.
    std::string title;
    std::string subtitle;
};

struct Story {
    const char* name;
    std::vector<Step> steps;
};

TEST(BatteryPeeks, PostsPowerChangesFullAndLowOnly) {
    const std::vector<Story> stories{
        {"the first reading is only the baseline",
         {{0, reading(80, Power::battery, 7200), "", ""}}},
        {"unplugging gives the system's estimate",
         {{0, reading(80, Power::charging), "", ""},
          {1, reading(80, Power::battery, 11400), "Battery 80%", "About 3 h 10 min left"}}},
        {"unplugging without any estimate says so",
         {{0, reading(80, Power::full), "", ""},
          {1, reading(80, Power::battery), "Battery 80%", "On battery \u00B7 estimating time left"}}},
        {"plugging in names the power and the time to full",
         {{0, reading(40, Power::battery), "", ""},
          {1, reading(40, Power::charging, {}, 3900, 67.4), "Battery 40%", "67 W adapter \u00B7 1 h 5 min to full"}}},
        {"plugging into a charger that does not charge",
         {{0, reading(40, Power::battery), "", ""}, {1, reading(40, Power::pluggedIdle), "Battery 40%", "Not charging"}}},
        {"charging more, then full",
         {{0, reading(97, Power::charging, {}, 300), "", ""},
          {60, reading(98, Power::charging, {}, 240), "", ""},
          {300, reading(100, Power::full), "Battery 100%", "Fully charged"},
          {400, reading(100, Power::full), "", ""}}},
        {"draining past the low marks, with the program's own estimate from the samples",
         {{0, reading(30, Power::battery), "", ""},
          {300, reading(25, Power::battery), "", ""},
          {600, reading(20, Power::battery), "Battery 20%", "About 20 min left (estimate)"},
          {660, reading(19, Power::battery), "", ""},
          {900, reading(10, Power::battery, 600), "Battery 10%", "About 10 min left"}}},
        {"a state the system cannot name is not a change",
         {{0, reading(50, Power::battery), "", ""},
          {1, reading(50, Power::unknown), "", ""},
          {2, reading(50, Power::battery), "", ""}}},
        {"a battery taken out and put back starts afresh",
         {{0, reading(50, Power::battery), "", ""},
          {1, Reading{}, "", ""},
          {2, reading(50, Power::charging), "", ""}}},
    };
    for (const Story& story : stories) {
        BatteryPeeks peeks;
        const brind::Date start{1'700'000'000};
        for (std::size_t i = 0; i < story.steps.size(); ++i) {
            const Step& step = story.steps[i];
            const auto peek = peeks.observe(step.reading, start + step.at);
            SCOPED_TRACE(std::string(story.name) + ", step " + std::to_string(i));
            if (step.title.empty()) {
                EXPECT_FALSE(peek) << peek->title;
                continue;
            }
            ASSERT_TRUE(peek);
            EXPECT_EQ(peek->title, step.title);
            EXPECT_EQ(peek->subtitle, step.subtitle);
            EXPECT_EQ(peek->source, "battery");
            EXPECT_DOUBLE_EQ(*peek->progress, step.reading.percent / 100);
            EXPECT_EQ(peek->priority, step.reading.percent <= 20 && step.reading.power == Power::battery
                                          ? brind::ActivityPriority::important
                                          : brind::ActivityPriority::normal);
            EXPECT_TRUE(peek->expiresAt);
        }
    }
}

void write(const std::filesystem::path& file, const std::string& text) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text << "\n";
}

TEST(BatteryPeeks, PowerSupplyFolderAddsTheSystemsBatteriesAndSkipsDevices) {
    brindtest::TemporaryFolder folder;
    const auto root = folder.path();
    EXPECT_FALSE(BatteryProvider::readPowerSupply(root / "missing").present);
    write(root / "AC/type", "Mains");
    write(root / "AC/online", "1");
    EXPECT_FALSE(BatteryProvider::readPowerSupply(root).present) << "a charger alone is no battery";

    // A wireless mouse's battery belongs to the mouse.
    write(root / "hidpp_battery_0/type", "Battery");
    write(root / "hidpp_battery_0/scope", "Device");
    write(root / "hidpp_battery_0/capacity", "5");
    write(root / "hidpp_battery_0/status", "Discharging");
    write(root / "BAT0/type", "Battery");
    write(root / "BAT0/status", "Charging");
    write(root / "BAT0/energy_now", "30000000");
    write(root / "BAT0/energy_full", "40000000");
    write(root / "BAT0/power_now", "25500000");
    write(root / "BAT0/time_to_full_now", "1800");
    auto one = BatteryProvider::readPowerSupply(root);
    EXPECT_EQ(one, reading(75, Power::charging, {}, 1800, 25.5));

    // Two batteries: the energies add up, one discharging means the computer runs on battery, and
    // their own times no longer say anything about the whole.
    write(root / "BAT1/type", "Battery");
    write(root / "BAT1/status", "Discharging");
    write(root / "BAT1/energy_now", "1000000");
    write(root / "BAT1/energy_full", "2000000");
    write(root / "BAT1/capacity", "50");
    const auto two = BatteryProvider::readPowerSupply(root);
    EXPECT_TRUE(two.present);
    EXPECT_EQ(two.power, Power::battery);
    EXPECT_NEAR(two.percent, 100.0 * 31000000 / 42000000, 1e-9);
    EXPECT_FALSE(two.secondsToFull);
}

TEST(BatteryPeeks, KernelRoutesMakeASnapshot) {
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
