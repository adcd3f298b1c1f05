#include "BrindKit/widgets/WidgetWeatherCode.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

#include <algorithm>
#include <array>

namespace brind::WidgetWeatherCode {

namespace {

/// The families of weather the codes fall into; they decide symbol and tint together.
enum class Family { clear, mostlyClear, partlyCloudy, overcast, fog, drizzle, rain, heavyRain, snow, showers,
                    storm, hailStorm, unknown };

struct FamilyRow {
    Family value;
    std::string_view daySymbol;
    std::string_view nightSymbol;
    RGBA dayTint;
    RGBA nightTint;
};

constexpr RGBA sunTint{1.0, 0.80, 0.20, 1};
constexpr RGBA clearNightTint{0.55, 0.60, 0.95, 1};
constexpr RGBA greyDayTint{0.75, 0.78, 0.82, 1};
constexpr RGBA greyNightTint{0.55, 0.58, 0.65, 1};
constexpr RGBA rainDayTint{0.35, 0.65, 1.0, 1};
constexpr RGBA rainNightTint{0.30, 0.50, 0.85, 1};
constexpr RGBA heavyRainDayTint{0.20, 0.45, 0.95, 1};
constexpr RGBA heavyRainNightTint{0.18, 0.35, 0.75, 1};
constexpr RGBA stormDayTint{0.70, 0.45, 1.0, 1};
constexpr RGBA stormNightTint{0.58, 0.38, 0.90, 1};
constexpr RGBA unknownTint{0.60, 0.60, 0.60, 1};

constexpr auto familyRows = std::to_array<FamilyRow>({
    {Family::clear, "sun.max.fill", "moon.stars.fill", sunTint, clearNightTint},
    {Family::mostlyClear, "sun.min.fill", "moon.fill", sunTint, clearNightTint},
    {Family::partlyCloudy, "cloud.sun.fill", "cloud.moon.fill", {0.98, 0.85, 0.45, 1}, {0.60, 0.65, 0.90, 1}},
    {Family::overcast, "cloud.fill", "cloud.fill", greyDayTint, greyNightTint},
    {Family::fog, "cloud.fog.fill", "cloud.fog.fill", greyDayTint, greyNightTint},
    {Family::drizzle, "cloud.drizzle.fill", "cloud.drizzle.fill", rainDayTint, rainNightTint},
    {Family::rain, "cloud.rain.fill", "cloud.rain.fill", rainDayTint, rainNightTint},
    {Family::heavyRain, "cloud.heavyrain.fill", "cloud.heavyrain.fill", heavyRainDayTint, heavyRainNightTint},
    {Family::snow, "cloud.snow.fill", "cloud.snow.fill", {0.85, 0.93, 1.0, 1}, {0.70, 0.80, 0.95, 1}},
    {Family::showers, "cloud.sun.rain.fill", "cloud.moon.rain.fill", rainDayTint, rainNightTint},
    {Family::storm, "cloud.bolt.fill", "cloud.bolt.fill", stormDayTint, stormNightTint},
    {Family::hailStorm, "cloud.bolt.rain.fill", "cloud.bolt.rain.fill", stormDayTint, stormNightTint},
    {Family::unknown, "questionmark.circle", "questionmark.circle", unknownTint, unknownTint},
});
static_assert(EnumTable::coversEveryCase(familyRows));

/// One WMO code: its description and the family that draws it.
struct CodeRow {
    int code;
    std::string_view label;
    Family family;
};

constexpr auto codeRows = std::to_array<CodeRow>({
    {0, "Clear", Family::clear},
    {1, "Mostly clear", Family::mostlyClear},
    {2, "Partly cloudy", Family::partlyCloudy},
    {3, "Overcast", Family::overcast},
    {45, "Fog", Family::fog},
    {48, "Fog", Family::fog},
    {51, "Drizzle", Family::drizzle},
    {53, "Drizzle", Family::drizzle},
    {55, "Drizzle", Family::drizzle},
    {56, "Freezing drizzle", Family::drizzle},
    {57, "Freezing drizzle", Family::drizzle},
    {61, "Light rain", Family::rain},
    {63, "Rain", Family::rain},
    {65, "Heavy rain", Family::heavyRain},
    {66, "Freezing rain", Family::rain},
    {67, "Freezing rain", Family::heavyRain},
    {71, "Light snow", Family::snow},
    {73, "Snow", Family::snow},
    {75, "Heavy snow", Family::snow},
    {77, "Snow grains", Family::snow},
    {80, "Showers", Family::showers},
    {81, "Showers", Family::showers},
    {82, "Heavy showers", Family::heavyRain},
    {85, "Snow showers", Family::snow},
    {86, "Snow showers", Family::snow},
    {95, "Thunderstorm", Family::storm},
    {96, "Thunderstorm, hail", Family::hailStorm},
    {99, "Thunderstorm, hail", Family::hailStorm},
});

constexpr CodeRow unknownCode{-1, "\u2014", Family::unknown};

const CodeRow& codeRow(int code) {
    const auto* found = std::ranges::find(codeRows, code, &CodeRow::code);
    return found == codeRows.end() ? unknownCode : *found;
}

const FamilyRow& familyRow(int code) {
    return EnumTable::row(familyRows, codeRow(code).family);
}

} // namespace

std::string_view label(int code) {
    return codeRow(code).label;
}

std::string_view symbol(int code, bool isDay) {
    const FamilyRow& family = familyRow(code);
    return isDay ? family.daySymbol : family.nightSymbol;
}

RGBA tint(int code, bool isDay) {
    const FamilyRow& family = familyRow(code);
    return isDay ? family.dayTint : family.nightTint;
}

} // namespace brind::WidgetWeatherCode
