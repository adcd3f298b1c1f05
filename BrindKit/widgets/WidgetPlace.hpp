#pragma once

#include "BrindKit/foundation/JSON.hpp"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

namespace brind {

/// A place the weather is shown for, as the geocoding service names it.
struct WidgetPlace {
    std::string name{};
    std::optional<std::string> region{}; ///< state or province
    std::optional<std::string> country{};
    double latitude = 0;  ///< degrees
    double longitude = 0; ///< degrees

    /// "Enschede, Overijssel, The Netherlands": the parts that are present, non-empty and not a
    /// repeat of an earlier part ("Berlin, Germany" rather than "Berlin, Berlin, Germany").
    std::string displayName() const;

    /// Field names as keys; absent parts left out. This is how the chosen place is stored.
    JSON json() const;
    /// Needs a string "name" and numbers "latitude" and "longitude"; other parts are optional.
    static std::optional<WidgetPlace> fromJSON(const JSON& value);

    friend bool operator==(const WidgetPlace&, const WidgetPlace&) = default;
};

} // namespace brind

template <>
struct std::hash<brind::WidgetPlace> {
    std::size_t operator()(const brind::WidgetPlace& place) const noexcept {
        const std::hash<std::string> text;
        const std::hash<double> number;
        std::size_t seed = text(place.name);
        seed = seed * 31 + (place.region ? text(*place.region) : 0x51ed27u);
        seed = seed * 31 + (place.country ? text(*place.country) : 0x2545f491u);
        seed = seed * 31 + number(place.latitude);
        seed = seed * 31 + number(place.longitude);
        return seed;
    }
};
