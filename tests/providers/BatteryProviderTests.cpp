#include "vantaquill/providers/BatteryProvider.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace vq {
namespace {

using Power = BatteryPeeks::Power;

void write(const std::filesystem::path& file, const std::string& text) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text << "\n";
}

TEST(BatteryProvider, PowerSupplyFolderAddsTheSystemsBatteriesAndSkipsDevices) {
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
    BatteryPeeks::Reading charging;
    charging.present = true;
    charging.percent = 75;
    charging.power = Power::charging;
    charging.secondsToFull = 1800;
    charging.watts = 25.5;
    EXPECT_EQ(BatteryProvider::readPowerSupply(root), charging);

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

} // namespace
} // namespace vq
