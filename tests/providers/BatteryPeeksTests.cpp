#include "vantaquill/providers/BatteryPeeks.hpp"

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

} // namespace
} // namespace vq
