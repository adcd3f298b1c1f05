#pragma once

#include <optional>
#include <string_view>

namespace brind {

enum class WidgetTemperatureUnit { celsius, fahrenheit };

/// "celsius" or "fahrenheit": the preference value and the forecast request's unit.
std::string_view name(WidgetTemperatureUnit unit);
std::optional<WidgetTemperatureUnit> widgetTemperatureUnitNamed(std::string_view name);
/// "°C" or "°F".
std::string_view symbol(WidgetTemperatureUnit unit);

} // namespace brind
