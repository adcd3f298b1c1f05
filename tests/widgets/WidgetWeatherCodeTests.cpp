#include "BrindKit/widgets/WidgetWeatherCode.hpp"

#include <gtest/gtest.h>

namespace WeatherCode = brind::WidgetWeatherCode;

TEST(WidgetWeatherCode, LabelsAndSymbolsFollowTheWMOTable) {
    // Every day/night pair, a label shared by codes of different weather, and codes outside the table.
    const std::vector<std::tuple<int, std::string, std::string, std::string>> cases = {
        {0, "Clear", "sun.max.fill", "moon.stars.fill"},
        {1, "Mostly clear", "sun.min.fill", "moon.fill"},
        {2, "Partly cloudy", "cloud.sun.fill", "cloud.moon.fill"},
        {66, "Freezing rain", "cloud.rain.fill", "cloud.rain.fill"},
        {67, "Freezing rain", "cloud.heavyrain.fill", "cloud.heavyrain.fill"},
        {81, "Showers", "cloud.sun.rain.fill", "cloud.moon.rain.fill"},
        {100, "\u2014", "questionmark.circle", "questionmark.circle"},
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
