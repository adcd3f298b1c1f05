#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/JSON.hpp"

#include <optional>
#include <string>
#include <vector>

namespace brind {

/// Current conditions and a short daily forecast for one place.
struct WidgetForecast {
    struct Day {
        std::string date{}; ///< "yyyy-MM-dd" as the service sends it
        int code = 0;     ///< WMO weather code
        double high = 0;
        double low = 0;
        std::optional<int> precipitationChance{}; ///< percent

        friend bool operator==(const Day&, const Day&) = default;
    };

    /// A forecast stamped this far in the future still counts as fresh (clocks get adjusted).
    static constexpr double clockAllowance = 60;

    double temperature = 0; ///< in the requested unit
    std::optional<double> apparent{};
    int code = 0; ///< current WMO weather code
    bool isDay = true;
    std::optional<double> windSpeed{}; ///< at 10 m, in the service's default unit
    std::vector<Day> days{};         ///< the first is today
    Date fetchedAt{};

    /// The first day, when there is one.
    std::optional<Day> today() const;

    /// True when less than `maxAge` seconds have passed since `fetchedAt` and `fetchedAt` is at most
    /// a minute ahead of `at`.
    bool isFresh(Date at, double maxAge) const;

    /// Field names as keys, `fetchedAt` in seconds since 1970, absent optionals left out.
    JSON json() const;
    /// Needs "temperature", "code" and "fetchedAt"; the rest is lenient, and unreadable days are
    /// left out.
    static std::optional<WidgetForecast> fromJSON(const JSON& value);

    friend bool operator==(const WidgetForecast&, const WidgetForecast&) = default;
};

} // namespace brind
