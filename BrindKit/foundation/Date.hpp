#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// A moment in time: seconds since 1970-01-01 00:00:00 UTC, fractions allowed.
/// The core never reads the clock; only the application calls `now()`.
struct Date {
    double secondsSince1970 = 0;

    static Date now();

    /// Reads an ISO 8601 internet date-time ("2025-03-01T17:30:00Z", "2025-03-01T18:30:00.250+01:00").
    static std::optional<Date> parseISO8601(std::string_view text);

    /// Writes the moment in UTC as "2025-03-01T17:30:00Z" (whole seconds, as ISO 8601 encoders do).
    std::string iso8601() const;

    Date operator+(double seconds) const { return Date{secondsSince1970 + seconds}; }
    Date operator-(double seconds) const { return Date{secondsSince1970 - seconds}; }
    Date& operator+=(double seconds) {
        secondsSince1970 += seconds;
        return *this;
    }
    double operator-(Date other) const { return secondsSince1970 - other.secondsSince1970; }

    friend bool operator==(Date, Date) = default;
    friend auto operator<=>(Date a, Date b) { return a.secondsSince1970 <=> b.secondsSince1970; }
};

} // namespace brind
