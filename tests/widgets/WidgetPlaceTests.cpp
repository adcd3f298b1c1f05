#include "BrindKit/widgets/WidgetPlace.hpp"

#include <gtest/gtest.h>
#include <unordered_set>

using namespace brind;

TEST(WidgetPlace, DisplayNameLeavesOutEmptyAndRepeatedParts) {
    const std::vector<std::pair<WidgetPlace, std::string>> cases = {
        {{"Zürich", "Zurich", "Switzerland", 0, 0}, "Zürich, Zurich, Switzerland"},
        {{"Berlin", "Berlin", "Germany", 0, 0}, "Berlin, Germany"},
        {{"Monaco", std::nullopt, "Monaco", 0, 0}, "Monaco"},
        {{"Springfield", "", "United States", 0, 0}, "Springfield, United States"},
        {{"Reykjavík", "Capital Region", std::nullopt, 0, 0}, "Reykjavík, Capital Region"},
        {{"", "Utrecht", "Netherlands", 0, 0}, "Utrecht, Netherlands"},
        {{"Paris", "Texas", "Texas", 0, 0}, "Paris, Texas"},
    };
    for (const auto& [place, name] : cases)
        EXPECT_EQ(place.displayName(), name) << name;
}

TEST(WidgetPlace, RoundTripsAndHashesOverAllFields) {
    const WidgetPlace place{"Tórshavn", "Streymoy", "Faroe Islands", 62.01, -6.77};
    EXPECT_EQ(WidgetPlace::fromJSON(place.json()), place);
    const WidgetPlace bare{"Null Island", std::nullopt, std::nullopt, 0, 0};
    EXPECT_FALSE(bare.json().contains("region"));
    EXPECT_EQ(WidgetPlace::fromJSON(bare.json()), bare);
    EXPECT_EQ(WidgetPlace::fromJSON(JSON::parse(R"({"name": "x", "latitude": 1})")), std::nullopt);
    EXPECT_EQ(WidgetPlace::fromJSON(JSON::parse(R"({"name": 5, "latitude": 1, "longitude": 2})")),
              std::nullopt);

    EXPECT_EQ((std::unordered_set<WidgetPlace>{place, bare, place}.size()), 2u);
    WidgetPlace moved = place;
    moved.longitude = -6.78;
    EXPECT_NE(std::hash<WidgetPlace>{}(moved), std::hash<WidgetPlace>{}(place));
}
