#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/e2e/E2EFixture.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/support/SystemServiceMock.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace vq {
namespace {

using namespace std::chrono_literals;
using e2e::IslandProcess;
using e2e::TemporaryHome;

void writeFile(const std::filesystem::path& file, const std::string& text) {
    std::ofstream(file) << text << "\n";
}

std::string readFile(const std::filesystem::path& file) {
    return brind::AtomicFile::read(file).value_or("");
}

/// A stand-in for the kernel's device classes: one device with its files in raw units.
void addDevice(const std::filesystem::path& folder, int maximum, int value, const std::string& type = {}) {
    std::filesystem::create_directories(folder);
    writeFile(folder / "max_brightness", std::to_string(maximum));
    writeFile(folder / "brightness", std::to_string(value));
    writeFile(folder / "actual_brightness", std::to_string(value));
    if (!type.empty())
        writeFile(folder / "type", type);
}

class HUDLevels : public ::testing::Test {
protected:
    void SetUp() override {
        if (!SystemServiceMock::installed())
            GTEST_SKIP() << "python3-dbusmock is missing; scripts/setup installs it";
    }

    /// The headless island on the mock's bus, reading the device classes under `sysClass`.
    std::unique_ptr<IslandProcess> startIsland(const SystemServiceMock& system) const {
        auto environment = home.environment();
        environment["DBUS_SYSTEM_BUS_ADDRESS"] = system.address();
        return std::make_unique<IslandProcess>(
            std::vector<std::string>{"--headless", "--port", "0", "--sys-class", sysClass.string()}, environment);
    }

    e2e::CommandResult hud(const IslandProcess& island, std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--port", std::to_string(island.port()), "hud"});
        return e2e::run(e2e::builtProgram("vantaquill"), arguments, home.environment());
    }

    static long flashes(const IslandProcess& island, const std::string& text) {
        return std::ranges::count_if(island.lines(), [&](const std::string& line) {
            return line.find("hud shown kind=" + text) != std::string::npos;
        });
    }

    TemporaryHome home;
    std::filesystem::path sysClass = home.path() / "sys";
};

TEST_F(HUDLevels, BacklightAndKeyboardLEDAreSetThroughLogindAndFollowed) {
    // The firmware's backlight is used before the panel's raw one.
    addDevice(sysClass / "backlight/intel_backlight", 1000, 500, "raw");
    addDevice(sysClass / "backlight/acpi_video0", 100, 50, "firmware");
    const auto led = sysClass / "leds/tpacpi::kbd_backlight";
    addDevice(led, 2, 0);
    writeFile(led / "brightness_hw_changed", "0");
    SystemServiceMock logind(home.path() / "system", "org.freedesktop.login1", "logind");
    ASSERT_TRUE(logind.running()) << "the logind mock did not start";
    const auto prepared =
        logind.script("root = '" + sysClass.string() + "'\n" + e2e::readFixture("hud/logind-set-brightness.py"));
    ASSERT_EQ(prepared.exitCode, 0) << prepared.err;
    const auto island = startIsland(logind);
    ASSERT_NE(island->port(), 0);

    const auto up = hud(*island, {"brightness", "up"});
    EXPECT_EQ(up.exitCode, 0) << up.err;
    EXPECT_EQ(up.out, "brightness 56%\n");
    EXPECT_EQ(readFile(sysClass / "backlight/acpi_video0/brightness"), "56\n");
    EXPECT_EQ(readFile(sysClass / "backlight/intel_backlight/brightness"), "500\n");
    ASSERT_TRUE(island->waitForLine("hud shown kind=brightness value=0.56 muted=false symbol=sun.max.fill", patience));
    // logind's write comes back through actual_brightness at once: the island's own echo.
    std::this_thread::sleep_for(1s);
    EXPECT_EQ(flashes(*island, "brightness value=0.56"), 1);

    // A change made elsewhere (the desktop's keys, brightnessctl) flashes.
    writeFile(sysClass / "backlight/acpi_video0/actual_brightness", "20");
    ASSERT_TRUE(island->waitForLine("hud shown kind=brightness value=0.20 muted=false symbol=sun.min.fill", patience));

    // An LED of three levels moves a whole level for a toggle to half.
    const auto toggled = hud(*island, {"keyboard", "toggle"});
    EXPECT_EQ(toggled.exitCode, 0) << toggled.err;
    EXPECT_EQ(toggled.out, "keyboard 50%\n");
    EXPECT_EQ(readFile(led / "brightness"), "1\n");
    ASSERT_TRUE(island->waitForLine("hud shown kind=keyboardBacklight value=0.50", patience));
    std::this_thread::sleep_for(500ms);
    writeFile(led / "brightness_hw_changed", "2");
    ASSERT_TRUE(island->waitForLine("hud shown kind=keyboardBacklight value=1.00 muted=false symbol=light.max", patience));
}

TEST_F(HUDLevels, UPowersKeyboardLightIsSteppedAndFollowed) {
    SystemServiceMock upower(home.path() / "system", "org.freedesktop.UPower", "upower");
    ASSERT_TRUE(upower.running()) << "the UPower mock did not start";
    const auto prepared = upower.script(e2e::readFixture("hud/upower-keyboard-light.py"));
    ASSERT_EQ(prepared.exitCode, 0) << prepared.err;
    const auto island = startIsland(upower);
    ASSERT_NE(island->port(), 0);
    const auto level = [&upower] {
        return upower.script("light = bus.get_object('org.freedesktop.UPower', '/org/freedesktop/UPower/KbdBacklight')\n"
                             "print(light.GetBrightness(dbus_interface='org.freedesktop.UPower.KbdBacklight'))")
            .out;
    };

    // From 0.3 a coarse step lands on 0.3125, which rounds back to 3: the light moves one level anyway.
    const auto up = hud(*island, {"keyboard", "up"});
    EXPECT_EQ(up.exitCode, 0) << up.err;
    EXPECT_EQ(up.out, "keyboard 40%\n");
    EXPECT_EQ(level(), "4\n");
    ASSERT_TRUE(island->waitForLine("hud shown kind=keyboardBacklight value=0.40", patience));
    std::this_thread::sleep_for(1s);
    // UPower's BrightnessChanged for the island's own change is not flashed a second time.
    EXPECT_EQ(flashes(*island, "keyboardBacklight value=0.40"), 1);

    const auto off = hud(*island, {"keyboard", "toggle"});
    EXPECT_EQ(off.out, "keyboard 0%\n");
    EXPECT_EQ(level(), "0\n");
    ASSERT_TRUE(island->waitForLine("hud shown kind=keyboardBacklight value=0.00 muted=false symbol=light.min", patience));

    // The firmware's own change (Fn+Space on many laptops) arrives as a signal and flashes.
    std::this_thread::sleep_for(500ms);
    const auto external = upower.script(
        "light = bus.get_object('org.freedesktop.UPower', '/org/freedesktop/UPower/KbdBacklight')\n"
        "light.EmitSignal('org.freedesktop.UPower.KbdBacklight', 'BrightnessChanged', 'i', [dbus.Int32(7)], "
        "dbus_interface='org.freedesktop.DBus.Mock')");
    ASSERT_EQ(external.exitCode, 0) << external.err;
    ASSERT_TRUE(island->waitForLine("hud shown kind=keyboardBacklight value=0.70", patience));

    // No backlight in this machine's stand-in: the command says so and nothing flashes.
    const auto brightness = hud(*island, {"brightness", "up"});
    EXPECT_EQ(brightness.exitCode, 1);
    EXPECT_EQ(brightness.err, "vantaquill: There is no backlight whose brightness can be read. (503 hud_unavailable)\n");
    EXPECT_EQ(flashes(*island, "brightness"), 0);
}

} // namespace
} // namespace vq
