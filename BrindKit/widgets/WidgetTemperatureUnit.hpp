#pragma once

#include <optional>
#include <string_view>

namespace brind {

enum class WidgetTemperatureUnit { celsius, fahrenheit };

/// "celsius" or "fahrenheit": the preference value and the forecast request's unit.
std::string_view rawValue(WidgetTemperatureUnit unit);
std::optional<WidgetTemperatureUnit> widgetTemperatureUnit(std::string_view rawValue);
/// "°C" or "°F".
std::string_view symbol(WidgetTemperatureUnit unit);

} // namespace brind
