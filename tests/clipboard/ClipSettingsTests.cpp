#include "BrindKit/clipboard/ClipSettings.hpp"

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

using namespace brind;

TEST(ClipSettings, JSONRoundTripsEveryField) {
    ClipSettings custom;
    custom.enabled = false;
    custom.maxItems = 50;
    custom.maxDays = 0;
    custom.captureImages = false;
    custom.captureFiles = false;
    custom.captureRichText = false;
    custom.maxImageBytes = 1024;
    custom.excludedBundleIDs = {"org.example.vault", "com.example.notes"};
    custom.hotkeyEnabled = false;
    custom.pasteDirectly = false;
    custom.pausedUntil = Date{1700000000.5};
    EXPECT_EQ(ClipSettings::fromJSON(custom.toJSON()), custom);
    EXPECT_FALSE(ClipSettings{}.toJSON().contains("pausedUntil"));
}

TEST(ClipSettings, MissingOrMistypedValuesTakeTheDefaults) {
    EXPECT_EQ(ClipSettings::fromJSON(JSON::object()), ClipSettings{});
    EXPECT_EQ(ClipSettings::fromJSON(JSON("garbage")), ClipSettings{});

    ClipSettings custom;
    custom.maxDays = 0;
    custom.excludedBundleIDs = {"org.example.vault"};
    JSON mistyped = custom.toJSON();
    mistyped["maxItems"] = "many";
    mistyped["enabled"] = 0;
    mistyped["pausedUntil"] = "tomorrow";
    // Past the signed range: read as it is, it would wrap to a negative limit.
    mistyped["maxImageBytes"] = std::numeric_limits<std::uint64_t>::max();
    // A stray non-string keeps the list's strings: dropping the list would record excluded applications.
    mistyped["excludedBundleIDs"] = JSON::array({"org.example.vault", 7});
    EXPECT_EQ(ClipSettings::fromJSON(mistyped), custom);
}

// The settings pane can show the default limits only when they are among its choices.
TEST(ClipSettings, ChoicesOfferTheDefaults) {
    EXPECT_NE(std::ranges::find(ClipSettings::itemChoices, ClipSettings{}.maxItems),
              ClipSettings::itemChoices.end());
    EXPECT_NE(std::ranges::find(ClipSettings::dayChoices, ClipSettings{}.maxDays),
              ClipSettings::dayChoices.end());
}
