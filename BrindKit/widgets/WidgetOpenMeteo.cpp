#include "BrindKit/widgets/WidgetOpenMeteo.hpp"

#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/foundation/URL.hpp"

#include <unicode/locid.h>
#include <unicode/parsepos.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <charconv>
#include <iterator>
#include <memory>
#include <utility>

namespace brind {

namespace {

using DecodeError = WidgetOpenMeteo::DecodeError;

constexpr std::string_view currentFields = "temperature_2m,apparent_temperature,weather_code,is_day,wind_speed_10m";
constexpr std::string_view dailyFields =
    "weather_code,temperature_2m_max,temperature_2m_min,precipitation_probability_max";
constexpr std::string_view forecastDays = "5";
constexpr std::string_view placeCount = "5";

// Four decimals with a decimal point whatever the process's locale says: this goes into a URL.
std::string coordinate(double degrees) {
    // Room for any double, should a caller pass something that is no coordinate.
    char text[400];
    const auto written = std::to_chars(std::begin(text), std::end(text), degrees, std::chars_format::fixed, 4);
    return std::string(text, written.ptr);
}

std::unexpected<DecodeError> missing(std::string field) {
    return std::unexpected(DecodeError{DecodeError::Kind::missingField, std::move(field)});
}

/// Parses the answer and recognises the service's error form {"error": true, "reason": "..."}.
std::expected<JSON, DecodeError> parseAnswer(std::string_view data) {
    auto parsed = JSONText::parse(data);
    if (!parsed)
        return std::unexpected(DecodeError{DecodeError::Kind::notJSON, {}});
    if (!parsed->is_object())
        return missing("top-level object");
    if (JSONRead::boolean(*parsed, "error") == true)
        return std::unexpected(DecodeError{DecodeError::Kind::serviceError,
                                           JSONRead::string(*parsed, "reason").value_or("")});
    return std::move(*parsed);
}

/// Element `index` of the array member `key` of `object`, when all of that exists.
const JSON* element(const JSON& object, std::string_view key, std::size_t index) {
    const JSON* list = JSONRead::member(object, key);
    if (!list || !list->is_array() || index >= list->size())
        return nullptr;
    return &(*list)[index];
}

std::optional<double> numberAt(const JSON& object, std::string_view key, std::size_t index) {
    const JSON* value = element(object, key, index);
    if (!value || !value->is_number())
        return std::nullopt;
    return value->get<double>();
}

std::optional<int> integerAt(const JSON& object, std::string_view key, std::size_t index) {
    const JSON* value = element(object, key, index);
    if (!value)
        return std::nullopt;
    return JSONRead::wholeInt(*value);
}

std::vector<WidgetForecast::Day> decodeDays(const JSON& daily) {
    std::vector<WidgetForecast::Day> days;
    const JSON* times = JSONRead::member(daily, "time");
    if (!times || !times->is_array())
        return days;
    for (std::size_t index = 0; index < times->size(); ++index) {
        const JSON& date = (*times)[index];
        const auto high = numberAt(daily, "temperature_2m_max", index);
        const auto low = numberAt(daily, "temperature_2m_min", index);
        // Models run out before the end of a long forecast and send null for those days.
        if (!date.is_string() || !high || !low)
            continue;
        days.push_back(WidgetForecast::Day{date.get<std::string>(), integerAt(daily, "weather_code", index).value_or(0),
                                           *high, *low, integerAt(daily, "precipitation_probability_max", index)});
    }
    return days;
}

} // namespace

std::string WidgetOpenMeteo::DecodeError::description() const {
    switch (kind) {
    case Kind::notJSON:
        return "The weather service sent an answer that is not JSON.";
    case Kind::missingField:
        return "The weather service's answer has no usable " + detail + ".";
    case Kind::serviceError:
        if (detail.empty())
            return "The weather service refused the request.";
        return "The weather service refused the request: " + detail;
    }
    std::unreachable();
}

std::string WidgetOpenMeteo::forecastURL(double latitude, double longitude, WidgetTemperatureUnit unit) const {
    const std::vector<URL::QueryItem> items = {
        {"latitude", coordinate(latitude)},
        {"longitude", coordinate(longitude)},
        {"current", std::string(currentFields)},
        {"daily", std::string(dailyFields)},
        {"timezone", "auto"},
        {"forecast_days", std::string(forecastDays)},
        {"temperature_unit", std::string(name(unit))},
    };
    return "https://" + forecastHost + "/v1/forecast?" + URL::encodeQuery(items);
}

std::optional<std::string> WidgetOpenMeteo::geocodeURL(std::string_view city, std::string_view language) const {
    const std::string name = Text::trimmed(city);
    if (name.empty())
        return std::nullopt;
    const std::vector<URL::QueryItem> items = {
        {"name", name},
        {"count", std::string(placeCount)},
        {"language", std::string(language)},
        {"format", "json"},
    };
    return "https://" + geocodingHost + "/v1/search?" + URL::encodeQuery(items);
}

std::expected<WidgetForecast, DecodeError> WidgetOpenMeteo::decodeForecast(std::string_view data, Date fetchedAt) {
    const auto answer = parseAnswer(data);
    if (!answer)
        return std::unexpected(answer.error());
    const JSON* current = JSONRead::member(*answer, "current");
    if (!current || !current->is_object())
        return missing("\"current\"");
    const auto temperature = JSONRead::number(*current, "temperature_2m");
    if (!temperature)
        return missing("\"current.temperature_2m\"");
    const auto code = JSONRead::wholeInt(*current, "weather_code");
    if (!code)
        return missing("\"current.weather_code\"");

    WidgetForecast forecast;
    forecast.temperature = *temperature;
    forecast.apparent = JSONRead::number(*current, "apparent_temperature");
    forecast.code = *code;
    // An absent (or unreadable) "is_day" means day.
    forecast.isDay = JSONRead::wholeInt(*current, "is_day").value_or(1) == 1;
    forecast.windSpeed = JSONRead::number(*current, "wind_speed_10m");
    if (const JSON* daily = JSONRead::member(*answer, "daily"); daily && daily->is_object())
        forecast.days = decodeDays(*daily);
    forecast.fetchedAt = fetchedAt;
    return forecast;
}

std::expected<std::vector<WidgetPlace>, DecodeError> WidgetOpenMeteo::decodePlaces(std::string_view data) {
    const auto answer = parseAnswer(data);
    if (!answer)
        return std::unexpected(answer.error());
    std::vector<WidgetPlace> places;
    // A search without a match has no "results" at all.
    const JSON* results = JSONRead::member(*answer, "results");
    if (!results || results->is_null())
        return places;
    if (!results->is_array())
        return missing("\"results\"");
    for (const auto& result : *results) {
        const auto name = JSONRead::string(result, "name");
        const auto latitude = JSONRead::number(result, "latitude");
        const auto longitude = JSONRead::number(result, "longitude");
        if (!name || !latitude || !longitude)
            continue;
        places.push_back(WidgetPlace{*name, JSONRead::string(result, "admin1"), JSONRead::string(result, "country"),
                                     *latitude, *longitude});
    }
    return places;
}

std::string WidgetOpenMeteo::weekday(std::string_view date, const std::optional<std::string>& locale) {
    // Building ICU formatters costs far more than using them, so each thread keeps its own: the
    // parser for good, the formatter until another locale is asked for.
    thread_local std::unique_ptr<icu::SimpleDateFormat> parser;
    thread_local std::unique_ptr<icu::SimpleDateFormat> formatter;
    thread_local std::string formatterLocale;

    UErrorCode status = U_ZERO_ERROR;
    if (!parser) {
        // Both formatters work in UTC so that the parsed midnight is formatted as the same day.
        auto made = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString("yyyy-MM-dd"),
                                                            icu::Locale("en_US_POSIX"), status);
        if (U_FAILURE(status))
            return std::string(date);
        made->setLenient(false);
        made->adoptTimeZone(icu::TimeZone::createTimeZone("UTC"));
        parser = std::move(made);
    }
    const icu::Locale outputLocale = locale ? icu::Locale(locale->c_str()) : icu::Locale::getDefault();
    const std::string localeName = outputLocale.getName();
    if (!formatter || formatterLocale != localeName) {
        auto made = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString("EEE"), outputLocale, status);
        if (U_FAILURE(status))
            return std::string(date);
        made->adoptTimeZone(icu::TimeZone::createTimeZone("UTC"));
        formatter = std::move(made);
        formatterLocale = localeName;
    }

    const auto text = icu::UnicodeString::fromUTF8(icu::StringPiece(date.data(), static_cast<int32_t>(date.size())));
    icu::ParsePosition position(0);
    const UDate moment = parser->parse(text, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != text.length())
        return std::string(date);
    icu::UnicodeString name;
    formatter->format(moment, name);
    std::string result;
    name.toUTF8String(result);
    return result;
}

} // namespace brind
