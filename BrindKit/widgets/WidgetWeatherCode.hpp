#pragma once

#include "BrindKit/foundation/RGBA.hpp"

#include <string_view>

namespace brind::WidgetWeatherCode {

/// The WMO code's description: "Clear", "Light rain", ...; "—" for a code outside the table.
std::string_view label(int code);

/// The system symbol for the code, by day or night; "questionmark.circle" for an unknown code.
std::string_view symbol(int code, bool isDay);

/// The accent colour of the widget for the code: warm sun by day, deep blue at night, greys for
/// cloud and fog, blues for rain, ice for snow, violet for storms.
RGBA tint(int code, bool isDay);

} // namespace brind::WidgetWeatherCode
