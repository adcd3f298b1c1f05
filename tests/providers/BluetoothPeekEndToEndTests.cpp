#include "tests/e2e/E2EFixture.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/support/SystemServiceMock.hpp"
#include "vantaquill/providers/BluetoothProvider.hpp"

#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <tuple>

namespace vq {
namespace {

using namespace std::chrono_literals;
using e2e::IslandProcess;
using e2e::TemporaryHome;

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

const std::string devices = e2e::readFixture("providers/bluez-devices.py");

TEST(BluetoothPeek, ConnectingAndDisconnectingPeekWithNameAndBattery) {
    if (!SystemServiceMock::installed())
        GTEST_SKIP() << "python3-dbusmock is missing; scripts/setup installs it";
    TemporaryHome home;
    SystemServiceMock bluez(home.path() / "system", "org.bluez", "bluez5");
    ASSERT_TRUE(bluez.running()) << "the BlueZ mock did not start";
    const auto prepared = bluez.script(devices);
    ASSERT_EQ(prepared.exitCode, 0) << prepared.err;
    auto environment = home.environment();
    environment["DBUS_SYSTEM_BUS_ADDRESS"] = bluez.address();
    IslandProcess island({"--headless", "--port", "0"}, environment);
    ASSERT_NE(island.port(), 0) << island.errors();
    const auto run = [&bluez](const std::string& script) {
        const auto result = bluez.script("mock = bus.get_object('org.bluez', '/')\n" + script);
        EXPECT_EQ(result.exitCode, 0) << result.err;
    };

    // The console answers once the island has started its providers, which hear the bus from then on.
    ASSERT_TRUE(island.sendInput("dismiss nothing\n"));
    ASSERT_TRUE(island.waitForLine("console refused", patience));
    run("mock.ConnectDevice('hci0', '11:22:33:44:55:66', dbus_interface='org.bluez.Mock')");
    // Popped open first, then listed.
    ASSERT_TRUE(
        island.waitForLine("alert shown id=bluetooth.11:22:33:44:55:66 title=\"Trail Buds\"", patience))
        << island.errors();
    const auto connected = island.waitForLine("activity shown id=bluetooth.11:22:33:44:55:66", patience);
    ASSERT_TRUE(connected);
    EXPECT_NE(connected->find("source=bluetooth priority=normal title=\"Trail Buds\" "
                              "subtitle=\"Connected, battery 80%\" progress=0.80 expiresAt="),
              std::string::npos)
        << *connected;

    run("mock.DisconnectDevice('hci0', '11:22:33:44:55:66', dbus_interface='org.bluez.Mock')");
    ASSERT_TRUE(island.waitForLine("id=bluetooth.11:22:33:44:55:66 source=bluetooth priority=normal "
                                   "title=\"Trail Buds\" subtitle=\"Disconnected\"",
                                   patience));
    ASSERT_TRUE(island.waitForLine("activity ended id=bluetooth.11:22:33:44:55:66", patience));

    // A battery reported a moment after the connection joins the peek still showing.
    run("mock.ConnectDevice('hci0', '22:33:44:55:66:77', dbus_interface='org.bluez.Mock')\n"
        "mock.EmitSignal('org.freedesktop.DBus.ObjectManager', 'InterfacesAdded', 'oa{sa{sv}}', ["
        "dbus.ObjectPath('/org/bluez/hci0/dev_22_33_44_55_66_77'), "
        "{'org.bluez.Battery1': {'Percentage': dbus.Byte(55, variant_level=1)}}], "
        "dbus_interface='org.freedesktop.DBus.Mock')");
    ASSERT_TRUE(island.waitForLine("title=\"Runner Watch\" subtitle=\"Connected, battery 55%\"", patience));

    // What was connected before the island started is not news.
    EXPECT_FALSE(sawLine(island, "Desk Keyboard"));
}

// A system bus without BlueZ is said once; BlueZ starting later is listed when its name appears.
TEST(BluetoothPeek, BlueZStartedAfterTheIslandIsFollowedFromThen) {
    if (!SystemServiceMock::installed())
        GTEST_SKIP() << "python3-dbusmock is missing; scripts/setup installs it";
    TemporaryHome home;
    SystemServiceMock system(home.path() / "system", "org.freedesktop.UPower", "upower");
    ASSERT_TRUE(system.running());
    auto environment = home.environment();
    environment["DBUS_SYSTEM_BUS_ADDRESS"] = system.address();
    IslandProcess island({"--headless", "--port", "0"}, environment);
    ASSERT_NE(island.port(), 0) << island.errors();
    ASSERT_TRUE(island.sendInput("dismiss nothing\n"));
    ASSERT_TRUE(island.waitForLine("console refused", patience));

    ASSERT_TRUE(system.serve("org.bluez", "bluez5"));
    const auto connected =
        system.script(devices + "mock.ConnectDevice('hci0', '11:22:33:44:55:66', dbus_interface='org.bluez.Mock')");
    ASSERT_EQ(connected.exitCode, 0) << connected.err;
    ASSERT_TRUE(
        island.waitForLine("alert shown id=bluetooth.11:22:33:44:55:66 title=\"Trail Buds\"", patience));

    EXPECT_EQ(island.stop(), 0);
    EXPECT_TRUE(saidOnce(island.errors(), "no BlueZ"));
    EXPECT_TRUE(saidOnce(island.errors(), "no BlueZ on the system bus"));
}

} // namespace
} // namespace vq
