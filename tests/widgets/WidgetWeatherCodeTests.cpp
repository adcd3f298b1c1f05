#include "BrindKit/widgets/WidgetWeatherCode.hpp"

#include <gtest/gtest.h>

namespace WeatherCode = brind::WidgetWeatherCode;

TEST(WidgetWeatherCode, LabelsAndSymbolsFollowTheWMOTable) {
    struct Case {
        int code;
        std::string label;
        std::string day;
        std::string night;
    };
    // One code of each row that differs from its neighbours, the day/night pairs, and codes outside
    // the table.
    const std::vector<Case> cases = {
        {0, "Clear", "sun.max.fill", "moon.stars.fill"},
        {1, "Mostly clear", "sun.min.fill", "moon.fill"},
        {2, "Partly cloudy", "cloud.sun.fill", "cloud.moon.fill"},
        {48, "Fog", "cloud.fog.fill", "cloud.fog.fill"},
        {57, "Freezing drizzle", "cloud.drizzle.fill", "cloud.drizzle.fill"},
        {65, "Heavy rain", "cloud.heavyrain.fill", "cloud.heavyrain.fill"},
        {66, "Freezing rain", "cloud.rain.fill", "cloud.rain.fill"},
        {67, "Freezing rain", "cloud.heavyrain.fill", "cloud.heavyrain.fill"},
        {77, "Snow grains", "cloud.snow.fill", "cloud.snow.fill"},
        {81, "Showers", "cloud.sun.rain.fill", "cloud.moon.rain.fill"},
        {86, "Snow showers", "cloud.snow.fill", "cloud.snow.fill"},
        {95, "Thunderstorm", "cloud.bolt.fill", "cloud.bolt.fill"},
        {99, "Thunderstorm, hail", "cloud.bolt.rain.fill", "cloud.bolt.rain.fill"},
        {100, "\u2014", "questionmark.circle", "questionmark.circle"},
        {-1, "\u2014", "questionmark.circle", "questionmark.circle"},
        {4, "\u2014", "questionmark.circle", "questionmark.circle"},
    };
    for (const auto& [code, label, day, night] : cases) {
        EXPECT_EQ(WeatherCode::label(code), label) << code;
        EXPECT_EQ(WeatherCode::symbol(code, true), day) << code;
        EXPECT_EQ(WeatherCode::symbol(code, false), night) << code;
    }
}

TEST(WidgetWeatherCode, TintsTellDayFromNightAndWeatherFromWeather) {
    EXPECT_NE(WeatherCode::tint(0, true), WeatherCode::tint(0, false));
    EXPECT_NE(WeatherCode::tint(0, true), WeatherCode::tint(63, true));
    EXPECT_NE(WeatherCode::tint(73, true), WeatherCode::tint(95, true));
    EXPECT_EQ(WeatherCode::tint(100, true), WeatherCode::tint(-1, false)) << "unknown codes share one colour";
}
