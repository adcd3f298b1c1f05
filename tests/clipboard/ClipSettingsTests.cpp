#include "BrindKit/clipboard/ClipSettings.hpp"

#include <gtest/gtest.h>

using namespace brind;

TEST(ClipSettings, MissingKeysTakeTheDefaults) {
    const ClipSettings settings = ClipSettings::fromJSON(JSON::object());
    EXPECT_EQ(settings, ClipSettings{});
    EXPECT_TRUE(settings.enabled);
    EXPECT_EQ(settings.maxItems, 300);
    EXPECT_EQ(settings.maxDays, 30);
    EXPECT_EQ(settings.maxImageBytes, 25 * 1024 * 1024);
    EXPECT_TRUE(settings.captureImages && settings.captureFiles && settings.captureRichText);
    EXPECT_TRUE(settings.hotkeyEnabled && settings.pasteDirectly);
    EXPECT_TRUE(settings.excludedBundleIDs.empty());
    EXPECT_FALSE(settings.pausedUntil);
    // Not even an object: still the defaults.
    EXPECT_EQ(ClipSettings::fromJSON(JSON("garbage")), ClipSettings{});
}

TEST(ClipSettings, JSONRoundTripsAndIgnoresMistypedValues) {
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

    JSON mistyped = custom.toJSON();
    mistyped["maxItems"] = "many";
    mistyped["enabled"] = 0;
    mistyped["pausedUntil"] = "tomorrow";
    mistyped["excludedBundleIDs"] = JSON::array({"org.example.vault", 7});
    const ClipSettings read = ClipSettings::fromJSON(mistyped);
    EXPECT_EQ(read.maxItems, 300);
    EXPECT_TRUE(read.enabled);
    EXPECT_FALSE(read.pausedUntil);
    EXPECT_EQ(read.excludedBundleIDs, std::vector<std::string>{"org.example.vault"});
    EXPECT_EQ(read.maxDays, 0);
}

TEST(ClipSettings, PausedOnlyBeforeTheEnd) {
    ClipSettings settings;
    EXPECT_FALSE(settings.isPaused(Date{100}));
    settings.pausedUntil = Date{100};
    EXPECT_TRUE(settings.isPaused(Date{99.5}));
    EXPECT_FALSE(settings.isPaused(Date{100}));
    EXPECT_FALSE(settings.isPaused(Date{101}));
}

TEST(ClipSettings, ChoicesOfferTheDefaults) {
    EXPECT_EQ(ClipSettings::itemChoices, (std::array<std::int64_t, 6>{50, 100, 300, 500, 1000, 5000}));
    EXPECT_EQ(ClipSettings::dayChoices, (std::array<std::int64_t, 6>{1, 7, 30, 90, 365, 0}));
}
