#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/widgets/WidgetForecast.hpp"
#include "BrindKit/widgets/WidgetPlace.hpp"
#include "BrindKit/widgets/WidgetTemperatureUnit.hpp"

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brind {

/// Requests to and answers from the Open-Meteo forecast and geocoding services (no key needed).
/// The hosts are configuration so that a mirror or a self-hosted instance can be used.
struct WidgetOpenMeteo {
    static constexpr std::string_view defaultForecastHost = "api.open-meteo.com";
    static constexpr std::string_view defaultGeocodingHost = "geocoding-api.open-meteo.com";

    /// Why an answer could not be read.
    struct DecodeError {
        enum class Kind {
            notJSON,      ///< the bytes are not JSON at all
            missingField, ///< a required value is missing or of the wrong type; `detail` names it
            serviceError, ///< the service answered with its error form; `detail` is its reason
        };
        Kind kind = Kind::notJSON;
        std::string detail{};

        /// One sentence for the user.
        std::string description() const;

        friend bool operator==(const DecodeError&, const DecodeError&) = default;
    };

    std::string forecastHost{defaultForecastHost};
    std::string geocodingHost{defaultGeocodingHost};

    /// The forecast request: current conditions and five days, in the given unit, in the place's
    /// own time zone.
    std::string forecastURL(double latitude, double longitude, WidgetTemperatureUnit unit) const;

    /// The place search for a city name (trimmed); nothing when the name is blank.
    std::optional<std::string> geocodeURL(std::string_view city, std::string_view language) const;

    /// Reads a forecast answer. Days whose high or low is missing are left out; `fetchedAt` is the
    /// given moment.
    static std::expected<WidgetForecast, DecodeError> decodeForecast(std::string_view data, Date fetchedAt);

    /// Reads a place search answer; no "results" means no places. Results without a name or
    /// coordinates are left out.
    static std::expected<std::vector<WidgetPlace>, DecodeError> decodePlaces(std::string_view data);

    /// The short weekday name ("Tue", "mar.") of a "yyyy-MM-dd" date in `locale` (an ICU locale
    /// name such as "fr_FR"; the process's locale when absent). Text that is not such a date comes
    /// back unchanged.
    static std::string weekday(std::string_view date, const std::optional<std::string>& locale = std::nullopt);
};

} // namespace brind
