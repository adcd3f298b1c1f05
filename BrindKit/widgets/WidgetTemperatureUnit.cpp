#include "BrindKit/widgets/WidgetTemperatureUnit.hpp"

#include <utility>

namespace brind {

std::string_view rawValue(WidgetTemperatureUnit unit) {
    switch (unit) {
    case WidgetTemperatureUnit::celsius:
        return "celsius";
    case WidgetTemperatureUnit::fahrenheit:
        return "fahrenheit";
    }
    std::unreachable();
}

std::optional<WidgetTemperatureUnit> widgetTemperatureUnit(std::string_view text) {
    for (const auto unit : {WidgetTemperatureUnit::celsius, WidgetTemperatureUnit::fahrenheit}) {
        if (rawValue(unit) == text)
            return unit;
    }
    return std::nullopt;
}

std::string_view symbol(WidgetTemperatureUnit unit) {
    switch (unit) {
    case WidgetTemperatureUnit::celsius:
        return "\u00B0C";
    case WidgetTemperatureUnit::fahrenheit:
        return "\u00B0F";
    }
    std::unreachable();
}

} // namespace brind
