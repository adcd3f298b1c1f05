#include "BrindKit/widgets/WidgetWeatherCode.hpp"

#include <utility>

namespace brind::WidgetWeatherCode {

namespace {

/// The families of weather the codes fall into; they decide symbol and tint together.
enum class Family { clear, mostlyClear, partlyCloudy, overcast, fog, drizzle, rain, heavyRain, snow, showers,
                    storm, hailStorm, unknown };

Family family(int code) {
    switch (code) {
    case 0:
        return Family::clear;
    case 1:
        return Family::mostlyClear;
    case 2:
        return Family::partlyCloudy;
    case 3:
        return Family::overcast;
    case 45:
    case 48:
        return Family::fog;
    case 51:
    case 53:
    case 55:
    case 56:
    case 57:
        return Family::drizzle;
    case 61:
    case 63:
    case 66:
        return Family::rain;
    case 65:
    case 67:
    case 82:
        return Family::heavyRain;
    case 71:
    case 73:
    case 75:
    case 77:
    case 85:
    case 86:
        return Family::snow;
    case 80:
    case 81:
        return Family::showers;
    case 95:
        return Family::storm;
    case 96:
    case 99:
        return Family::hailStorm;
    default:
        return Family::unknown;
    }
}

} // namespace

std::string_view label(int code) {
    switch (code) {
    case 0:
        return "Clear";
    case 1:
        return "Mostly clear";
    case 2:
        return "Partly cloudy";
    case 3:
        return "Overcast";
    case 45:
    case 48:
        return "Fog";
    case 51:
    case 53:
    case 55:
        return "Drizzle";
    case 56:
    case 57:
        return "Freezing drizzle";
    case 61:
        return "Light rain";
    case 63:
        return "Rain";
    case 65:
        return "Heavy rain";
    case 66:
    case 67:
        return "Freezing rain";
    case 71:
        return "Light snow";
    case 73:
        return "Snow";
    case 75:
        return "Heavy snow";
    case 77:
        return "Snow grains";
    case 80:
    case 81:
        return "Showers";
    case 82:
        return "Heavy showers";
    case 85:
    case 86:
        return "Snow showers";
    case 95:
        return "Thunderstorm";
    case 96:
    case 99:
        return "Thunderstorm, hail";
    default:
        return "\u2014";
    }
}

std::string_view symbol(int code, bool isDay) {
    switch (family(code)) {
    case Family::clear:
        return isDay ? "sun.max.fill" : "moon.stars.fill";
    case Family::mostlyClear:
        return isDay ? "sun.min.fill" : "moon.fill";
    case Family::partlyCloudy:
        return isDay ? "cloud.sun.fill" : "cloud.moon.fill";
    case Family::overcast:
        return "cloud.fill";
    case Family::fog:
        return "cloud.fog.fill";
    case Family::drizzle:
        return "cloud.drizzle.fill";
    case Family::rain:
        return "cloud.rain.fill";
    case Family::heavyRain:
        return "cloud.heavyrain.fill";
    case Family::snow:
        return "cloud.snow.fill";
    case Family::showers:
        return isDay ? "cloud.sun.rain.fill" : "cloud.moon.rain.fill";
    case Family::storm:
        return "cloud.bolt.fill";
    case Family::hailStorm:
        return "cloud.bolt.rain.fill";
    case Family::unknown:
        return "questionmark.circle";
    }
    std::unreachable();
}

RGBA tint(int code, bool isDay) {
    switch (family(code)) {
    case Family::clear:
    case Family::mostlyClear:
        return isDay ? RGBA{1.0, 0.80, 0.20, 1} : RGBA{0.55, 0.60, 0.95, 1};
    case Family::partlyCloudy:
        return isDay ? RGBA{0.98, 0.85, 0.45, 1} : RGBA{0.60, 0.65, 0.90, 1};
    case Family::overcast:
    case Family::fog:
        return isDay ? RGBA{0.75, 0.78, 0.82, 1} : RGBA{0.55, 0.58, 0.65, 1};
    case Family::drizzle:
    case Family::rain:
    case Family::showers:
        return isDay ? RGBA{0.35, 0.65, 1.0, 1} : RGBA{0.30, 0.50, 0.85, 1};
    case Family::heavyRain:
        return isDay ? RGBA{0.20, 0.45, 0.95, 1} : RGBA{0.18, 0.35, 0.75, 1};
    case Family::snow:
        return isDay ? RGBA{0.85, 0.93, 1.0, 1} : RGBA{0.70, 0.80, 0.95, 1};
    case Family::storm:
    case Family::hailStorm:
        return isDay ? RGBA{0.70, 0.45, 1.0, 1} : RGBA{0.58, 0.38, 0.90, 1};
    case Family::unknown:
        return RGBA{0.60, 0.60, 0.60, 1};
    }
    std::unreachable();
}

} // namespace brind::WidgetWeatherCode
