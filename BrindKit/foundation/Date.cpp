#include "BrindKit/foundation/Date.hpp"

#include <chrono>
#include <cmath>
#include <cstdio>

namespace brind {

namespace {

// Days from 1970-01-01 to the given civil date (proleptic Gregorian calendar).
long long daysFromCivil(long long year, unsigned month, unsigned day) {
    const std::chrono::year_month_day ymd{std::chrono::year{static_cast<int>(year)}, std::chrono::month{month},
                                          std::chrono::day{day}};
    return std::chrono::sys_days{ymd}.time_since_epoch().count();
}

bool readDigits(std::string_view text, std::size_t& position, std::size_t count, int& value) {
    if (position + count > text.size())
        return false;
    value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const char c = text[position + i];
        if (c < '0' || c > '9')
            return false;
        value = value * 10 + (c - '0');
    }
    position += count;
    return true;
}

bool expect(std::string_view text, std::size_t& position, char wanted) {
    if (position >= text.size() || text[position] != wanted)
        return false;
    ++position;
    return true;
}

} // namespace

Date Date::now() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return Date{std::chrono::duration<double>(since).count()};
}

std::optional<Date> Date::parseISO8601(std::string_view text) {
    std::size_t at = 0;
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (!readDigits(text, at, 4, year) || !expect(text, at, '-') || !readDigits(text, at, 2, month) ||
        !expect(text, at, '-') || !readDigits(text, at, 2, day))
        return std::nullopt;
    if (at >= text.size() || (text[at] != 'T' && text[at] != 't'))
        return std::nullopt;
    ++at;
    if (!readDigits(text, at, 2, hour) || !expect(text, at, ':') || !readDigits(text, at, 2, minute) ||
        !expect(text, at, ':') || !readDigits(text, at, 2, second))
        return std::nullopt;

    double fraction = 0;
    if (at < text.size() && text[at] == '.') {
        ++at;
        double scale = 0.1;
        const std::size_t start = at;
        while (at < text.size() && text[at] >= '0' && text[at] <= '9') {
            fraction += (text[at] - '0') * scale;
            scale /= 10;
            ++at;
        }
        if (at == start)
            return std::nullopt;
    }

    int offsetSeconds = 0;
    if (at < text.size() && (text[at] == 'Z' || text[at] == 'z')) {
        ++at;
    } else if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
        const int sign = text[at] == '+' ? 1 : -1;
        ++at;
        int offsetHours = 0, offsetMinutes = 0;
        if (!readDigits(text, at, 2, offsetHours) || !expect(text, at, ':') ||
            !readDigits(text, at, 2, offsetMinutes) || offsetHours > 23 || offsetMinutes > 59)
            return std::nullopt;
        offsetSeconds = sign * (offsetHours * 3600 + offsetMinutes * 60);
    } else {
        return std::nullopt;
    }
    if (at != text.size())
        return std::nullopt;

    const std::chrono::year_month_day ymd{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                                          std::chrono::day{static_cast<unsigned>(day)}};
    // A leap second (60) is not accepted: no moment of our clocks carries one.
    if (!ymd.ok() || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;

    const long long days = daysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day));
    const double seconds = static_cast<double>(days) * 86400.0 + hour * 3600 + minute * 60 + second;
    return Date{seconds + fraction - offsetSeconds};
}

std::string Date::iso8601() const {
    const auto whole = static_cast<long long>(std::floor(secondsSince1970));
    const std::chrono::sys_seconds moment{std::chrono::seconds{whole}};
    const auto days = std::chrono::floor<std::chrono::days>(moment);
    const std::chrono::year_month_day ymd{days};
    const std::chrono::hh_mm_ss time{moment - days};
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(ymd.year()),
                  static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return buffer;
}

} // namespace brind
