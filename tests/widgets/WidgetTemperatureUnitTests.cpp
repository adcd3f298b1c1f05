#include "BrindKit/widgets/WidgetTemperatureUnit.hpp"

#include <gtest/gtest.h>

using namespace brind;

TEST(WidgetTemperatureUnit, NamesRoundTripAndUnknownNamesAreRefused) {
    for (const auto unit : {WidgetTemperatureUnit::celsius, WidgetTemperatureUnit::fahrenheit})
        EXPECT_EQ(widgetTemperatureUnit(rawValue(unit)), unit);
    EXPECT_EQ(widgetTemperatureUnit("kelvin"), std::nullopt);
    EXPECT_EQ(symbol(WidgetTemperatureUnit::fahrenheit), "\u00B0F");
}
