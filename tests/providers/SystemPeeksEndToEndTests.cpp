#include "tests/e2e/E2EProcess.hpp"
#include "tests/support/SystemServiceMock.hpp"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vq {
namespace {

using namespace std::chrono_literals;
using e2e::IslandProcess;
using e2e::TemporaryHome;

constexpr auto patience = 20s;

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

    std::unique_ptr<IslandProcess> startIsland(const SystemServiceMock& system) const {
        auto environment = home.environment();
        environment["DBUS_SYSTEM_BUS_ADDRESS"] = system.address();
        return std::make_unique<IslandProcess>(
            std::vector<std::string>{"--headless", "--port", "0", "--sys-class", sysClass.string()}, environment);
    }

    static void play(const SystemServiceMock& system, IslandProcess& island, const std::string& prelude,
                     const std::vector<Step>& steps) {
        for (const Step& step : steps) {
            SCOPED_TRACE(step.change);
            const auto done = system.script(prelude + step.python);
            ASSERT_EQ(done.exitCode, 0) << done.err;
            const auto line = island.waitForLine(step.shown, patience);
            ASSERT_TRUE(line) << "never shown: " << step.shown << "\n" << island.errors();
        }
    }

    static bool anyLine(const IslandProcess& island, const std::string& text) {
        for (const auto& line : island.lines()) {
            if (line.find(text) != std::string::npos)
                return true;
        }
        return false;
    }

    TemporaryHome home;
    std::filesystem::path sysClass = home.path() / "sys";
};

constexpr const char* upowerPrelude = R"(
upower = dbus.Interface(bus.get_object('org.freedesktop.UPower', '/org/freedesktop/UPower'), 'org.freedesktop.DBus.Mock')
display = '/org/freedesktop/UPower/devices/DisplayDevice'
def change(**properties):
    upower.SetDeviceProperties(display, properties)
)";

TEST_F(SystemPeeks, UPowersBatteryDrainsChargesAndFills) {
    SystemServiceMock upower(home.path() / "system", "org.freedesktop.UPower", "upower");
    ASSERT_TRUE(upower.running()) << "the UPower mock did not start";
    // Plugged in at 85 %: the island's baseline, which shows nothing.
    const auto prepared = upower.script(std::string(upowerPrelude) +
                                        "upower.SetupDisplayDevice(2, 1, 85.0, 42.5, 50.0, 20.0, 0, 1800, True, '', 1)");
    ASSERT_EQ(prepared.exitCode, 0) << prepared.err;
    const auto settings = home.path() / ".config/vantaquill/vantaquill.conf";
    std::filesystem::create_directories(settings.parent_path());
    std::ofstream(settings) << "[General]\nactivities.battery=true\n";
    const auto island = startIsland(upower);
    ASSERT_NE(island->port(), 0);
    // The baseline is read without waiting at start; give it a moment before the first change.
    std::this_thread::sleep_for(1s);
    EXPECT_FALSE(anyLine(*island, "source=battery"));

    play(upower, *island, upowerPrelude,
         {{"unplugged", "change(State=dbus.UInt32(2), Percentage=80.0, TimeToFull=dbus.Int64(0), "
                        "TimeToEmpty=dbus.Int64(11400), EnergyRate=9.5)",
           R"(id=battery source=battery priority=normal title="Battery 80%" subtitle="About 3 h 10 min left" progress=0.80)"},
          {"drained to the low mark", "change(Percentage=20.0, TimeToEmpty=dbus.Int64(2400))",
           R"(id=battery source=battery priority=important title="Battery 20%" subtitle="About 40 min left")"},
          {"plugged in", "change(State=dbus.UInt32(1), TimeToEmpty=dbus.Int64(0), TimeToFull=dbus.Int64(3900), EnergyRate=45.2)",
           R"(title="Battery 20%" subtitle="45 W adapter · 1 h 5 min to full")"},
          {"full", "change(State=dbus.UInt32(4), Percentage=100.0, TimeToFull=dbus.Int64(0), EnergyRate=0.0)",
           R"(title="Battery 100%" subtitle="Fully charged" progress=1.00)"}});

    // Switched off, unplugging shows nothing; switched on again, the battery is followed afresh.
    std::ofstream(settings) << "[General]\nactivities.battery=false\n";
    std::this_thread::sleep_for(1s);
    ASSERT_EQ(upower.script(std::string(upowerPrelude) + "change(State=dbus.UInt32(2), Percentage=99.0)").exitCode, 0);
    std::this_thread::sleep_for(1500ms);
    EXPECT_FALSE(anyLine(*island, R"(title="Battery 99%")"));
    std::ofstream(settings) << "[General]\nactivities.battery=true\n";
    std::this_thread::sleep_for(1s);
    play(upower, *island, upowerPrelude,
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
    const auto island = startIsland(bus);
    ASSERT_NE(island->port(), 0);
    std::this_thread::sleep_for(1s);
    write("status", "Discharging");
    ASSERT_TRUE(island->waitForLine(R"(title="Battery 64%" subtitle="On battery · estimating time left")", patience))
        << island->errors();
    EXPECT_EQ(island->stop(), 0);
    EXPECT_NE(island->errors().find("UPower is not running; the battery is read from"), std::string::npos)
        << island->errors();

    // No battery at all: one quiet line and no peek.
    std::filesystem::remove_all(sysClass / "power_supply");
    const auto bare = startIsland(bus);
    ASSERT_NE(bare->port(), 0);
    // Its standard error is read once it has stopped: give the bus's answer time to arrive first.
    std::this_thread::sleep_for(2s);
    EXPECT_EQ(bare->stop(), 0);
    const std::string said = "so there are no battery peeks";
    const std::string errors = bare->errors();
    EXPECT_NE(errors.find(said), std::string::npos) << errors;
    EXPECT_EQ(errors.find(said), errors.rfind(said)) << errors;
    EXPECT_FALSE(anyLine(*bare, "source=battery"));
}

constexpr const char* networkPrelude = R"(
nm = dbus.Interface(bus.get_object('org.freedesktop.NetworkManager', '/org/freedesktop/NetworkManager'),
                    'org.freedesktop.DBus.Mock')
manager = '/org/freedesktop/NetworkManager'
wlan = manager + '/Devices/wlan0'
def online(connected):
    nm.SetConnectivity(dbus.UInt32(4 if connected else 1))
    nm.SetGlobalConnectionState(dbus.UInt32(70 if connected else 20))
def join(name):
    nm.SetProperty(wlan, 'org.freedesktop.NetworkManager.Device.Wireless', 'ActiveAccessPoint',
                   dbus.ObjectPath(manager + '/AccessPoint/' + name, variant_level=1))
    nm.AddActiveConnection([wlan], manager + '/Settings/' + name, '/', name, dbus.UInt32(2))
    online(True)
def leave(name):
    nm.RemoveActiveConnection(wlan, manager + '/ActiveConnection/' + name)
)";

TEST_F(SystemPeeks, NetworkManagersWifiVPNAndHotspot) {
    SystemServiceMock nm(home.path() / "system", "org.freedesktop.NetworkManager", "networkmanager");
    ASSERT_TRUE(nm.running()) << "the NetworkManager mock did not start";
    // A laptop with Wi-Fi in reach of a home network and a phone, a WireGuard tunnel and a VPN
    // configured, nothing connected yet. The template has neither the metered flag nor the device's
    // access point: added as NetworkManager has them.
    const auto prepared = nm.script(std::string(networkPrelude) + R"(
nm.AddWiFiDevice('wlan0', 'wlan0', dbus.UInt32(30))
nm.AddAccessPoint(wlan, 'home', 'Home', '00:11:22:33:44:55', dbus.UInt32(2), dbus.UInt32(2437), dbus.UInt32(54000), dbus.Byte(80), dbus.UInt32(0))
nm.AddAccessPoint(wlan, 'pixel', 'Pixel', '00:11:22:33:44:66', dbus.UInt32(2), dbus.UInt32(5180), dbus.UInt32(54000), dbus.Byte(60), dbus.UInt32(0))
nm.AddWiFiConnection(wlan, 'home', 'Home', '')
nm.AddWiFiConnection(wlan, 'pixel', 'Pixel', '')
settings = dbus.Interface(bus.get_object('org.freedesktop.NetworkManager', manager + '/Settings'),
                          'org.freedesktop.NetworkManager.Settings')
settings.AddConnection({'connection': {'type': 'wireguard', 'id': 'wg0'}})
settings.AddConnection({'connection': {'type': 'vpn', 'id': 'Office'}})
nm.AddProperty('org.freedesktop.NetworkManager', 'Metered', dbus.UInt32(4))
dbus.Interface(bus.get_object('org.freedesktop.NetworkManager', wlan), 'org.freedesktop.DBus.Mock').AddProperty(
    'org.freedesktop.NetworkManager.Device.Wireless', 'ActiveAccessPoint', dbus.ObjectPath('/'))
online(False)
)");
    ASSERT_EQ(prepared.exitCode, 0) << prepared.err;
    std::filesystem::create_directories(home.path() / ".config/vantaquill");
    std::ofstream(home.path() / ".config/vantaquill/vantaquill.conf") << "[General]\nactivities.network.ssid=true\n";
    const auto island = startIsland(nm);
    ASSERT_NE(island->port(), 0);
    // Nothing is shown while the network settles after start.
    std::this_thread::sleep_for(4s);

    play(nm, *island, networkPrelude,
         {{"joined the home network", "join('home')",
           R"(id=network.wifi source=network priority=normal title="Joined Home")"},
          {"lost it, and the internet with it", "leave('home'); online(False)", R"(title="Wi-Fi disconnected")"},
          {"back home", "join('home')", R"(title="Joined Home")"},
          {"WireGuard up", "nm.AddActiveConnection(dbus.Array([], signature='s'), manager + '/Settings/0', '/', 'wg', dbus.UInt32(2))",
           R"(id=network.vpn source=network priority=normal title="VPN connected")"},
          {"WireGuard down", "nm.RemoveActiveConnection(wlan, manager + '/ActiveConnection/wg')",
           R"(title="VPN disconnected")"},
          {"a VPN up", "nm.AddActiveConnection(dbus.Array([], signature='s'), manager + '/Settings/1', '/', 'office', dbus.UInt32(2))",
           R"(title="VPN connected")"},
          {"moved to the phone's hotspot",
           "leave('home'); "
           "nm.SetProperty(manager, 'org.freedesktop.NetworkManager', 'Metered', dbus.UInt32(3, variant_level=1)); "
           "join('pixel')",
           R"(id=network.hotspot source=network priority=normal title="Hotspot · Pixel")"}});
    // The Wi-Fi that went away explains the lost internet; no second peek says so.
    EXPECT_FALSE(anyLine(*island, "No internet"));
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
            return std::system(("PATH=/usr/sbin:/sbin:/usr/bin:/bin ip " + arguments + " >/dev/null").c_str()) == 0;
        };
        if (!ip("link set lo up")) {
            skipped = "ip (iproute2) is missing; scripts/setup installs it";
            return;
        }
        if (!ip("link add veth0 type veth peer name veth1")) {
            skipped = "the kernel makes no veth links here";
            return;
        }
        ASSERT_TRUE(ip("link set veth1 up") && ip("link set veth0 up") && ip("addr add 10.9.0.2/24 dev veth0"));
        ASSERT_TRUE(ip("link add veth2 type veth peer name veth3") && ip("link set veth3 up") &&
                    ip("link set veth2 up") && ip("addr add 10.9.1.2/24 dev veth2"));
        auto environment = home.environment();
        environment["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=" + (home.path() / "no-bus").string();
        IslandProcess island(std::vector<std::string>{"--headless", "--port", "0", "--sys-class", sysClass.string()},
                             environment);
        ASSERT_NE(island.port(), 0);
        // Nothing is shown while the network settles after start.
        std::this_thread::sleep_for(4s);

        ASSERT_TRUE(ip("route add default via 10.9.0.1"));
        ASSERT_TRUE(island.waitForLine(R"(id=network.internet source=network priority=normal title="Back online")", patience));
        ASSERT_TRUE(ip("route del default"));
        // Confirmed 4 s later, still offline.
        ASSERT_TRUE(island.waitForLine(R"(id=network.internet source=network priority=normal title="No internet")", patience));
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
        EXPECT_TRUE(island.waitForLine(R"(id=network.vpn source=network priority=normal title="VPN connected")", patience));
        ::close(tun);
        EXPECT_TRUE(island.waitForLine(R"(title="VPN disconnected")", patience));
        EXPECT_EQ(island.stop(), 0);
        EXPECT_NE(island.errors().find("network peeks follow the kernel's links and routes"), std::string::npos)
            << island.errors();
    }).join();
    if (!skipped.empty())
        GTEST_SKIP() << skipped;
}

} // namespace
} // namespace vq
