#include "vantaquill/providers/BatteryPeeks.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/providers/BatteryProvider.hpp"

#include <filesystem>
#include <fstream>
#include <map>
#include <gtest/gtest.h>
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
        // Unplugging with the system's estimate or none, plugging in with watts and time to full and the
        // first reading as a mere baseline are seen through the real island in SystemPeeks.
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

/// A device of the power-supply class: its files and their contents.
void device(const std::filesystem::path& folder, const std::map<std::string, std::string>& files) {
    std::filesystem::create_directories(folder);
    for (const auto& [name, text] : files)
        std::ofstream(folder / name) << text << "\n";
}

TEST(BatteryProvider, PowerSupplyFolderAddsTheSystemsBatteriesAndSkipsDevices) {
    brindtest::TemporaryFolder folder;
    const auto root = folder.path();
    EXPECT_FALSE(BatteryProvider::readPowerSupply(root / "missing").present);
    device(root / "AC", {{"type", "Mains"}, {"online", "1"}});
    EXPECT_FALSE(BatteryProvider::readPowerSupply(root).present) << "a charger alone is no battery";

    // A wireless mouse's battery belongs to the mouse.
    device(root / "hidpp_battery_0",
           {{"type", "Battery"}, {"scope", "Device"}, {"capacity", "5"}, {"status", "Discharging"}});
    device(root / "BAT0", {{"type", "Battery"}, {"status", "Charging"}, {"energy_now", "30000000"},
                           {"energy_full", "40000000"}, {"power_now", "25500000"}, {"time_to_full_now", "1800"}});
    EXPECT_EQ(BatteryProvider::readPowerSupply(root),
              reading(75, Power::charging, std::nullopt, 1800, 25.5));

    // Two batteries: the energies add up, one discharging means the computer runs on battery, and
    // their own times no longer say anything about the whole.
    device(root / "BAT1", {{"type", "Battery"}, {"status", "Discharging"}, {"energy_now", "1000000"},
                           {"energy_full", "2000000"}, {"capacity", "50"}});
    const auto two = BatteryProvider::readPowerSupply(root);
    EXPECT_TRUE(two.present);
    EXPECT_EQ(two.power, Power::battery);
    EXPECT_NEAR(two.percent, 100.0 * 31000000 / 42000000, 1e-9);
    EXPECT_FALSE(two.secondsToFull);
}

} // namespace
} // namespace vq
