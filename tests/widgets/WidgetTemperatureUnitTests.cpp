#include "BrindKit/widgets/WidgetTemperatureUnit.hpp"

#include <gtest/gtest.h>

using namespace brind;

TEST(WidgetTemperatureUnit, NamesRoundTripAndUnknownNamesAreRefused) {
    for (const auto unit : {WidgetTemperatureUnit::celsius, WidgetTemperatureUnit::fahrenheit})
        EXPECT_EQ(widgetTemperatureUnitNamed(name(unit)), unit);
    EXPECT_EQ(widgetTemperatureUnitNamed("kelvin"), std::nullopt);
    EXPECT_EQ(symbol(WidgetTemperatureUnit::fahrenheit), "\u00B0F");
}
