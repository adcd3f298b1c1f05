#include "tests/e2e/E2EFixture.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/support/SystemServiceMock.hpp"
#include "vantaquill/providers/BatteryPeeks.hpp"
#include "vantaquill/providers/BatteryProvider.hpp"
#include "vantaquill/providers/BluetoothProvider.hpp"
#include "vantaquill/providers/NetlinkNetwork.hpp"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <memory>
#include <optional>
#include <sched.h>
#include <string>
#include <sys/ioctl.h>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace vq {
namespace {

using namespace std::chrono_literals;
using e2e::IslandProcess;
using e2e::TemporaryHome;

/// One change made to a mocked service and the line the island shows for it.
struct Step {
    const char* change;
    const char* python;
    std::string shown;
};

class SystemPeeks : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!SystemServiceMock::installed())
            GTEST_SKIP() << "python3-dbusmock is missing; scripts/setup installs it";
        std::filesystem::create_directories(sysClass);
    }

    std::unique_ptr<IslandProcess> startIsland(const std::string& systemBus) const {
        return islandWith(home, {{"DBUS_SYSTEM_BUS_ADDRESS", systemBus}}, {"--sys-class", sysClass.string()});
    }

    /// Runs `python` after the service's script in tests/data/providers.
    static void change(const SystemServiceMock& system, const std::string& service,
                       const std::string& python) {
        const auto done = system.script(e2e::readFixture("providers/" + service + ".py") + python);
        ASSERT_EQ(done.exitCode, 0) << done.err;
    }

    static void play(const SystemServiceMock& system, IslandProcess& island, const std::string& service,
                     const std::vector<Step>& steps) {
        for (const Step& step : steps) {
            SCOPED_TRACE(step.change);
            ASSERT_NO_FATAL_FAILURE(change(system, service, step.python));
            ASSERT_TRUE(island.waitForLine(step.shown, patience)) << "never shown: " << step.shown << "\n"
                                                                  << island.errors();
        }
    }

    TemporaryHome home;
    std::filesystem::path sysClass = home.path() / "sys";
};

TEST_F(SystemPeeks, UPowersBatteryDrainsChargesAndFills) {
    SystemServiceMock upower(home.path() / "system", "org.freedesktop.UPower", "upower");
    ASSERT_TRUE(upower.running()) << "the UPower mock did not start";
    // Plugged in at 85 %: the island's baseline, which shows nothing.
    ASSERT_NO_FATAL_FAILURE(change(
        upower, "upower", "upower.SetupDisplayDevice(2, 1, 85.0, 42.5, 50.0, 20.0, 0, 1800, True, '', 1)"));
    writePreferences(home, "activities.battery=true\n");
    const auto island = startIsland(upower.address());
    ASSERT_NE(island->port(), 0);
    // The baseline is read without waiting at start; give it a moment before the first change.
    std::this_thread::sleep_for(1s);
    EXPECT_FALSE(sawLine(*island, "source=battery"));

    play(
        upower, *island, "upower",
        {{"unplugged",
          "change(State=dbus.UInt32(2), Percentage=80.0, TimeToFull=dbus.Int64(0), "
          "TimeToEmpty=dbus.Int64(11400), EnergyRate=9.5)",
          R"(id=battery source=battery priority=normal title="Battery 80%" subtitle="About 3 h 10 min left" progress=0.80)"},
         {"drained to the low mark", "change(Percentage=20.0, TimeToEmpty=dbus.Int64(2400))",
          R"(id=battery source=battery priority=important title="Battery 20%" subtitle="About 40 min left")"},
         {"plugged in",
          "change(State=dbus.UInt32(1), TimeToEmpty=dbus.Int64(0), TimeToFull=dbus.Int64(3900), "
          "EnergyRate=45.2)",
          R"(title="Battery 20%" subtitle="45 W adapter · 1 h 5 min to full")"},
         {"full", "change(State=dbus.UInt32(4), Percentage=100.0, TimeToFull=dbus.Int64(0), EnergyRate=0.0)",
          R"(title="Battery 100%" subtitle="Fully charged" progress=1.00)"}});

    // Switched off, unplugging shows nothing; switched on again, the battery is followed afresh.
    writePreferences(home, "activities.battery=false\n");
    std::this_thread::sleep_for(1s);
    ASSERT_NO_FATAL_FAILURE(change(upower, "upower", "change(State=dbus.UInt32(2), Percentage=99.0)"));
    std::this_thread::sleep_for(1500ms);
    EXPECT_FALSE(sawLine(*island, R"(title="Battery 99%")"));
    writePreferences(home, "activities.battery=true\n");
    std::this_thread::sleep_for(1s);
    play(upower, *island, "upower",
         {{"plugged in after the switch", "change(State=dbus.UInt32(1), TimeToFull=dbus.Int64(600))",
           R"(title="Battery 99%" subtitle="10 min to full")"}});
}

TEST_F(SystemPeeks, KernelBatteryIsReadWithoutUPowerAndADesktopWithoutOneStaysQuiet) {
    // A bus without UPower: the battery comes from the power-supply class.
    SystemServiceMock bus(home.path() / "system", "org.freedesktop.login1", "logind");
    ASSERT_TRUE(bus.running());
    const auto battery = sysClass / "power_supply/BAT0";
    std::filesystem::create_directories(battery);
    const auto write = [&battery](const char* file, const std::string& text) {
        std::ofstream(battery / file) << text << "\n";
    };
    write("type", "Battery");
    write("capacity", "64");
    write("status", "Charging");
    const auto island = startIsland(bus.address());
    ASSERT_NE(island->port(), 0);
    std::this_thread::sleep_for(1s);
    write("status", "Discharging");
    ASSERT_TRUE(
        island->waitForLine(R"(title="Battery 64%" subtitle="On battery · estimating time left")", patience))
        << island->errors();
    EXPECT_EQ(island->stop(), 0);
    EXPECT_TRUE(saidOnce(island->errors(), "UPower is not running; the battery is read from"));

    // No battery at all: one quiet line and no peek.
    std::filesystem::remove_all(sysClass / "power_supply");
    const auto bare = startIsland(bus.address());
    ASSERT_NE(bare->port(), 0);
    // Its standard error is read once it has stopped: give the bus's answer time to arrive first.
    std::this_thread::sleep_for(2s);
    EXPECT_EQ(bare->stop(), 0);
    EXPECT_TRUE(saidOnce(bare->errors(), "so there are no battery peeks"));
    EXPECT_FALSE(sawLine(*bare, "source=battery"));
}

using Power = BatteryPeeks::Power;
using Reading = BatteryPeeks::Reading;

Reading reading(double percent, Power power, std::optional<double> toEmpty = {},
                std::optional<double> toFull = {}, std::optional<double> watts = {}) {
    return {.present = true,
            .percent = percent,
            .power = power,
            .secondsToEmpty = toEmpty,
            .secondsToFull = toFull,
            .watts = watts};
}

struct BatteryStep {
    double at = 0; ///< seconds after the first reading
    Reading reading;
    /// The peek's title and subtitle, or empty for no peek.
    std::string title;
    std::string subtitle;
};

struct Story {
    const char* name;
    std::vector<BatteryStep> steps;
};

TEST(BatteryPeeks, PostsPowerChangesFullAndLowOnly) {
    const std::vector<Story> stories{
        // Unplugging with the system's estimate or none, plugging in with watts and time to full, the
        // peek's priority and progress and the first reading as a mere baseline are seen through the
        // real island above.
        {"plugging into a charger that does not charge",
         {{0, reading(40, Power::battery), "", ""},
          {1, reading(40, Power::pluggedIdle), "Battery 40%", "Not charging"}}},
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
            const BatteryStep& step = story.steps[i];
            const auto peek = peeks.observe(step.reading, start + step.at);
            SCOPED_TRACE(std::string(story.name) + ", step " + std::to_string(i));
            if (step.title.empty()) {
                EXPECT_FALSE(peek) << peek->title;
                continue;
            }
            ASSERT_TRUE(peek);
            EXPECT_EQ(peek->title, step.title);
            EXPECT_EQ(peek->subtitle, step.subtitle);
            EXPECT_TRUE(peek->expiresAt);
        }
    }
}

// Each computer is a folder of tests/data/providers/power_supply, its devices linked in as the
// kernel links them.
TEST(BatteryProvider, PowerSupplyFolderAddsTheSystemsBatteriesAndSkipsDevices) {
    const auto computer = [](const std::string& name) {
        return BatteryProvider::readPowerSupply(std::string(BRIND_TEST_DATA) + "/providers/power_supply/" +
                                                name);
    };
    EXPECT_FALSE(computer("missing").present);
    EXPECT_FALSE(computer("charger").present) << "a charger alone is no battery";
    // A wireless mouse's battery belongs to the mouse.
    EXPECT_EQ(computer("laptop"), reading(75, Power::charging, std::nullopt, 1800, 25.5));

    // Two batteries: the energies add up, one discharging means the computer runs on battery, and
    // their own times no longer say anything about the whole.
    const auto two = computer("two-batteries");
    EXPECT_TRUE(two.present);
    EXPECT_EQ(two.power, Power::battery);
    EXPECT_NEAR(two.percent, 100.0 * 31000000 / 42000000, 1e-9);
    EXPECT_FALSE(two.secondsToFull);
}

TEST_F(SystemPeeks, NetworkManagersWifiVPNAndHotspot) {
    SystemServiceMock nm(home.path() / "system", "org.freedesktop.NetworkManager", "networkmanager");
    ASSERT_TRUE(nm.running()) << "the NetworkManager mock did not start";
    ASSERT_NO_FATAL_FAILURE(change(nm, "networkmanager", "laptop()"));
    writePreferences(home, "activities.network.ssid=true\n");
    const auto island = startIsland(nm.address());
    ASSERT_NE(island->port(), 0);
    // Nothing is shown while the network settles after start.
    std::this_thread::sleep_for(4s);

    play(nm, *island, "networkmanager",
         {{"joined the home network", "join('home')",
           R"(id=network.wifi source=network priority=normal title="Joined Home")"},
          {"lost it, and the internet with it", "leave('home'); online(False)",
           R"(title="Wi-Fi disconnected")"},
          {"back home", "join('home')", R"(title="Joined Home")"},
          {"WireGuard up", "tunnel(0, 'wg')",
           R"(id=network.vpn source=network priority=normal title="VPN connected")"},
          {"WireGuard down", "leave('wg')", R"(title="VPN disconnected")"},
          {"a VPN up", "tunnel(1, 'office')", R"(title="VPN connected")"},
          {"moved to the phone's hotspot", "leave('home'); metered(3); join('pixel')",
           R"(id=network.hotspot source=network priority=normal title="Hotspot · Pixel")"}});
    // The Wi-Fi that went away explains the lost internet; no second peek says so.
    EXPECT_FALSE(sawLine(*island, "No internet"));
}

// Without NetworkManager the island reads the kernel's links and routes. The test runs in a network
// namespace of its own (a thread that leaves the machine's, and the island it starts) so that it
// can add links and routes: veth pairs stand for cables, a TUN device held open here for a VPN
// client's tunnel with a name that is no tunnel's.
TEST_F(SystemPeeks, KernelRoutesWithoutNetworkManager) {
    std::string skipped;
    std::thread([&] {
        if (::unshare(CLONE_NEWNET) != 0) {
            skipped = std::string("no network namespace: ") + std::strerror(errno);
            return;
        }
        const auto ip = [](const std::string& arguments) {
            return std::system(
                       ("PATH=/usr/sbin:/sbin:/usr/bin:/bin ip " + arguments + " >/dev/null").c_str()) == 0;
        };
        if (!ip("link set lo up")) {
            skipped = "ip (iproute2) is missing; scripts/setup installs it";
            return;
        }
        if (!ip("link add veth0 type veth peer name veth1")) {
            skipped = "the kernel makes no veth links here";
            return;
        }
        ASSERT_TRUE(ip("link set veth1 up") && ip("link set veth0 up") &&
                    ip("addr add 10.9.0.2/24 dev veth0"));
        ASSERT_TRUE(ip("link add veth2 type veth peer name veth3") && ip("link set veth3 up") &&
                    ip("link set veth2 up") && ip("addr add 10.9.1.2/24 dev veth2"));
        const auto started = startIsland("unix:path=" + (home.path() / "no-bus").string());
        IslandProcess& island = *started;
        ASSERT_NE(island.port(), 0);
        // Nothing is shown while the network settles after start.
        std::this_thread::sleep_for(4s);

        ASSERT_TRUE(ip("route add default via 10.9.0.1"));
        ASSERT_TRUE(island.waitForLine(
            R"(id=network.internet source=network priority=normal title="Back online")", patience));
        ASSERT_TRUE(ip("route del default"));
        // Confirmed 4 s later, still offline.
        ASSERT_TRUE(island.waitForLine(
            R"(id=network.internet source=network priority=normal title="No internet")", patience));
        // A default route over both links at once names them in its next hops.
        ASSERT_TRUE(ip("route add default nexthop via 10.9.0.1 dev veth0 nexthop via 10.9.1.1 dev veth2"));
        ASSERT_TRUE(island.waitForLine(R"(title="Back online")", patience));

        const int tun = ::open("/dev/net/tun", O_RDWR | O_CLOEXEC);
        ASSERT_GE(tun, 0) << std::strerror(errno);
        ifreq request{};
        request.ifr_flags = IFF_TUN | IFF_NO_PI;
        std::strncpy(request.ifr_name, "proton0", IFNAMSIZ - 1);
        ASSERT_EQ(::ioctl(tun, TUNSETIFF, &request), 0) << std::strerror(errno);
        ASSERT_TRUE(ip("link set proton0 up"));
        EXPECT_TRUE(island.waitForLine(
            R"(id=network.vpn source=network priority=normal title="VPN connected")", patience));
        ::close(tun);
        EXPECT_TRUE(island.waitForLine(R"(title="VPN disconnected")", patience));
        EXPECT_EQ(island.stop(), 0);
        EXPECT_TRUE(saidOnce(island.errors(), "network peeks follow the kernel's links and routes"));
    }).join();
    if (!skipped.empty())
        GTEST_SKIP() << skipped;
}

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
        return brind::NetworkSnapshot{
            .online = online, .wifi = wifi, .ssid = {}, .vpn = vpn, .hotspot = false, .linkUp = linkUp};
    };
    const std::vector<Case> cases{
        {"only the loopback", {loopback}, {}, path(false, false, false, false)},
        {"a cable without a default route", {loopback, wired}, {}, path(false, false, false, true)},
        {"a cable that is down", {loopback, wiredDown}, {2}, path(false, false, false, false)},
        {"Wi-Fi carries the default route", {loopback, wired, wireless}, {3}, path(true, true, false, true)},
        {"the cable carries it, Wi-Fi up", {loopback, wired, wireless}, {2}, path(true, false, false, true)},
        {"a tunnel over Wi-Fi has it", {loopback, wireless, wireguard}, {4}, path(true, true, true, true)},
    };
    for (const Case& c : cases)
        EXPECT_EQ(NetlinkNetwork::snapshot(c.links, c.defaults, isWireless), c.expected) << c.name;
}

TEST(BluetoothKind, TheIconNameWinsAndTheClassOfDeviceStandsIn) {
    const std::tuple<std::string, std::uint32_t, std::string> cases[] = {
        {"audio-headset", 0, "headphones"},
        {"input-mouse", 0x240404, "computermouse"},
        {"phone", 0, "iphone"},
        {"", 0x240404, "headphones"},     // audio, wearable headset
        {"", 0x240414, "hifispeaker"},    // audio, loudspeaker
        {"", 0x002540, "keyboard"},       // peripheral, keyboard
        {"", 0x002580, "computermouse"},  // peripheral, pointing device
        {"", 0x002508, "gamecontroller"}, // peripheral, gamepad
        {"", 0x5a020c, "iphone"},         // phone, smartphone
        {"", 0x00010c, "desktopcomputer"},
        {"", 0x000680, "printer"},
        {"something-new", 0, "dot.radiowaves.left.and.right"},
    };
    for (const auto& [icon, deviceClass, symbol] : cases)
        EXPECT_EQ(BluetoothProvider::kindSymbol(icon, deviceClass), symbol) << icon << " " << deviceClass;
}

TEST_F(SystemPeeks, BluetoothConnectingAndDisconnectingPeekWithNameAndBattery) {
    SystemServiceMock bluez(home.path() / "system", "org.bluez", "bluez5");
    ASSERT_TRUE(bluez.running()) << "the BlueZ mock did not start";
    ASSERT_NO_FATAL_FAILURE(change(bluez, "bluez", "devices()"));
    const auto island = startIsland(bluez.address());
    ASSERT_TRUE(providersStarted(*island)) << island->errors();
    // Popped open first, then listed.
    play(bluez, *island, "bluez",
         {{"earbuds connected", "connect('11:22:33:44:55:66')",
           R"(alert shown id=bluetooth.11:22:33:44:55:66 title="Trail Buds")"}});
    const auto connected = island->waitForLine("activity shown id=bluetooth.11:22:33:44:55:66", patience);
    ASSERT_TRUE(connected);
    EXPECT_NE(connected->find("source=bluetooth priority=normal title=\"Trail Buds\" "
                              "subtitle=\"Connected, battery 80%\" progress=0.80 expiresAt="),
              std::string::npos)
        << *connected;
    play(
        bluez, *island, "bluez",
        {{"earbuds disconnected", "disconnect('11:22:33:44:55:66')",
          R"(id=bluetooth.11:22:33:44:55:66 source=bluetooth priority=normal title="Trail Buds" subtitle="Disconnected")"},
         // A battery reported a moment after the connection joins the peek still showing.
         {"watch connected", "connect('22:33:44:55:66:77'); battery('22:33:44:55:66:77', 55)",
          R"(title="Runner Watch" subtitle="Connected, battery 55%")"}});
    EXPECT_TRUE(
        eventually([&] { return sawLine(*island, "activity ended id=bluetooth.11:22:33:44:55:66"); }));
    // What was connected before the island started is not news.
    EXPECT_FALSE(sawLine(*island, "Desk Keyboard"));
}

// A system bus without BlueZ is said once; BlueZ starting later is listed when its name appears.
TEST_F(SystemPeeks, BlueZStartedAfterTheIslandIsFollowedFromThen) {
    SystemServiceMock system(home.path() / "system", "org.freedesktop.UPower", "upower");
    ASSERT_TRUE(system.running());
    const auto island = startIsland(system.address());
    ASSERT_TRUE(providersStarted(*island)) << island->errors();
    ASSERT_TRUE(system.serve("org.bluez", "bluez5"));
    play(system, *island, "bluez",
         {{"BlueZ started", "devices(); connect('11:22:33:44:55:66')",
           R"(alert shown id=bluetooth.11:22:33:44:55:66 title="Trail Buds")"}});
    EXPECT_EQ(island->stop(), 0);
    EXPECT_TRUE(saidOnce(island->errors(), "no BlueZ"));
    EXPECT_TRUE(saidOnce(island->errors(), "no BlueZ on the system bus"));
}

} // namespace
} // namespace vq
