#include "BrindKit/widgets/WidgetTemperatureUnit.hpp"

#include <gtest/gtest.h>

TEST(WidgetTemperatureUnit, HasNamesAndSymbols) {
    using brind::WidgetTemperatureUnit;
    EXPECT_EQ(brind::rawValue(WidgetTemperatureUnit::celsius), "celsius");
    EXPECT_EQ(brind::symbol(WidgetTemperatureUnit::celsius), "\u00B0C");
    EXPECT_EQ(brind::symbol(WidgetTemperatureUnit::fahrenheit), "\u00B0F");
    EXPECT_EQ(brind::widgetTemperatureUnit("fahrenheit"), WidgetTemperatureUnit::fahrenheit);
    EXPECT_EQ(brind::widgetTemperatureUnit("kelvin"), std::nullopt);
}
