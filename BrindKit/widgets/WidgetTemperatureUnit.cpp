#include "BrindKit/widgets/WidgetTemperatureUnit.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

namespace brind {

namespace {

struct TemperatureUnitRow {
    WidgetTemperatureUnit value;
    std::string_view name;
    std::string_view symbol;
};

constexpr auto temperatureUnitRows = std::to_array<TemperatureUnitRow>({
    {WidgetTemperatureUnit::celsius, "celsius", "\u00B0C"},
    {WidgetTemperatureUnit::fahrenheit, "fahrenheit", "\u00B0F"},
});
static_assert(EnumTable::coversEveryCase(temperatureUnitRows));

} // namespace

std::string_view name(WidgetTemperatureUnit unit) {
    return EnumTable::row(temperatureUnitRows, unit).name;
}

std::optional<WidgetTemperatureUnit> widgetTemperatureUnitNamed(std::string_view text) {
    return EnumTable::named(temperatureUnitRows, text);
}

std::string_view symbol(WidgetTemperatureUnit unit) {
    return EnumTable::row(temperatureUnitRows, unit).symbol;
}

} // namespace brind
