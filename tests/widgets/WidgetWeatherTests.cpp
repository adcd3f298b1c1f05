#include "BrindKit/foundation/URL.hpp"
#include "BrindKit/widgets/WidgetForecast.hpp"
#include "BrindKit/widgets/WidgetOpenMeteo.hpp"
#include "BrindKit/widgets/WidgetPlace.hpp"
#include "BrindKit/widgets/WidgetTemperatureUnit.hpp"
#include "BrindKit/widgets/WidgetWeatherCode.hpp"
#include "tests/support/DecimalCommaLocale.hpp"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <unordered_set>

using namespace brind;
using Day = WidgetForecast::Day;
using ErrorKind = WidgetOpenMeteo::DecodeError::Kind;
namespace WeatherCode = brind::WidgetWeatherCode;

namespace {

const std::filesystem::path fixtures = std::filesystem::path(BRIND_TEST_DATA) / "weather";
const std::filesystem::path realWorld = "/work/shared/realworld/weather";

std::string contents(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// What a decode failed with; nothing when it succeeded.
template <typename Result>
std::optional<ErrorKind> failure(const Result& result) {
    if (result)
        return std::nullopt;
    return result.error().kind;
}

/// Decodes the forecast in `path` and checks it against `expected` in its stored form, which names
/// every field when they differ.
void expectForecast(const std::filesystem::path& path, const WidgetForecast& expected) {
    const auto forecast = WidgetOpenMeteo::decodeForecast(contents(path), expected.fetchedAt);
    ASSERT_TRUE(forecast) << path << ": " << forecast.error().description();
    EXPECT_EQ(forecast->json(), expected.json()) << path;
}

} // namespace

TEST(WidgetOpenMeteo, BuildsTheForecastRequestWithItsItemsInOrder) {
    const std::string text =
        WidgetOpenMeteo{}.forecastURL(52.520008, -13.40496, WidgetTemperatureUnit::fahrenheit);
    EXPECT_TRUE(text.starts_with("https://api.open-meteo.com/v1/forecast?")) << text;
    const auto url = URL::parse(text);
    ASSERT_TRUE(url);
    EXPECT_EQ(
        url->queryItems(),
        (std::vector<URL::QueryItem>{
            {"latitude", "52.5200"},
            {"longitude", "-13.4050"},
            {"current", "temperature_2m,apparent_temperature,weather_code,is_day,wind_speed_10m"},
            {"daily", "weather_code,temperature_2m_max,temperature_2m_min,precipitation_probability_max"},
            {"timezone", "auto"},
            {"forecast_days", "5"},
            {"temperature_unit", "fahrenheit"},
        }));

    EXPECT_EQ(widgetTemperatureUnitNamed("kelvin"), std::nullopt);

    WidgetOpenMeteo mirror;
    mirror.forecastHost = "weather.example.net";
    EXPECT_TRUE(
        mirror.forecastURL(0, 0, WidgetTemperatureUnit::celsius)
            .starts_with("https://weather.example.net/v1/forecast?latitude=0.0000&longitude=0.0000&"));
}

// The C library writes "52,5200" in many of the locales the application runs in.
TEST(WidgetOpenMeteo, CoordinatesKeepTheirDecimalPointInEveryLocale) {
    brindtest::DecimalCommaLocale locale;
    if (!locale.active())
        GTEST_SKIP() << "this machine cannot make a locale with a decimal comma";
    const auto url =
        URL::parse(WidgetOpenMeteo{}.forecastURL(52.520008, -13.40496, WidgetTemperatureUnit::celsius));
    ASSERT_TRUE(url);
    EXPECT_EQ(url->queryItems().at(0), (URL::QueryItem{"latitude", "52.5200"}));
    EXPECT_EQ(url->queryItems().at(1), (URL::QueryItem{"longitude", "-13.4050"}));
}

TEST(WidgetOpenMeteo, BuildsThePlaceSearchForATrimmedCity) {
    const WidgetOpenMeteo service;
    const auto text = service.geocodeURL("  São Paulo & Co\n", "pt");
    ASSERT_TRUE(text);
    EXPECT_TRUE(text->starts_with("https://geocoding-api.open-meteo.com/v1/search?")) << *text;
    const auto url = URL::parse(*text);
    ASSERT_TRUE(url);
    EXPECT_EQ(url->queryItems(),
              (std::vector<URL::QueryItem>{
                  {"name", "São Paulo & Co"}, {"count", "5"}, {"language", "pt"}, {"format", "json"}}));
    EXPECT_EQ(service.geocodeURL(" \t\n ", "en"), std::nullopt);
}

TEST(WidgetOpenMeteo, DecodesForecastsLeavingOutDaysWithoutTemperatures) {
    const std::vector<Day> full = {{"2026-01-14", 71, 0.4, -4.0, 70},
                                   {"2026-01-15", 73, -1.2, -6.5, 95},
                                   {"2026-01-16", 3, 2.0, -3.3, 10},
                                   {"2026-01-17", 0, 3.5, -2.0, 0},
                                   {"2026-01-18", 45, 1.1, -1.8, 5}};
    expectForecast(fixtures / "forecast_full.json", {-2.5, -6.1, 71, true, 11.0, full, Date{1768378500}});
    // Day 3 has no high and day 5 no low; a null code is 0; the chance array ends after day 3.
    const std::vector<Day> nulls = {{"2026-02-02", 2, 28.1, 20.3, 12},
                                    {"2026-02-03", 0, 27.4, 19.8, std::nullopt},
                                    {"2026-02-05", 95, 30.2, 22.5, std::nullopt}};
    expectForecast(fixtures / "forecast_nulls.json",
                   {23.9, std::nullopt, 2, false, std::nullopt, nulls, Date{0}});
    // No "is_day" means day.
    expectForecast(fixtures / "forecast_sparse.json",
                   {31.5, std::nullopt, 3, true, std::nullopt, {}, Date{5}});
}

TEST(WidgetOpenMeteo, RefusesAnswersWithoutCurrentConditions) {
    const std::vector<std::tuple<std::string, ErrorKind, std::string>> cases = {
        {contents(fixtures / "forecast_no_current.json"), ErrorKind::missingField, "\"current\""},
        {R"({"current": {"temperature_2m": "warm", "weather_code": 1}})", ErrorKind::missingField,
         "\"current.temperature_2m\""},
        {R"({"current": {"temperature_2m": 1, "weather_code": 1.5}})", ErrorKind::missingField,
         "\"current.weather_code\""},
        {R"([1, 2])", ErrorKind::missingField, "top-level object"},
        // A connection dropped part-way delivers a prefix of the answer.
        {contents(fixtures / "forecast_full.json").substr(0, 200), ErrorKind::notJSON, ""},
        {contents(fixtures / "error_body.json"), ErrorKind::serviceError,
         "Longitude must be in range of -180 to 180°. Given: 512.0."},
    };
    for (const auto& [data, kind, detail] : cases) {
        const auto forecast = WidgetOpenMeteo::decodeForecast(data, Date{0});
        ASSERT_FALSE(forecast) << data;
        EXPECT_EQ(forecast.error().kind, kind) << data;
        EXPECT_EQ(forecast.error().detail, detail) << data;
    }
}

TEST(WidgetOpenMeteo, DecodesPlacesAndLeavesOutIncompleteOnes) {
    const auto places = WidgetOpenMeteo::decodePlaces(contents(fixtures / "places_results.json"));
    ASSERT_TRUE(places) << places.error().description();
    EXPECT_EQ(*places,
              (std::vector<WidgetPlace>{{"Lisboa", "Lisboa", "Portugal", 38.72, -9.14},
                                        {"Lisbon", "Maine", "United States", 44.03, -70.10},
                                        {"Lisbon Falls Reef", std::nullopt, std::nullopt, 12.5, 140.25}}));
    const auto none = WidgetOpenMeteo::decodePlaces(contents(fixtures / "places_empty.json"));
    ASSERT_TRUE(none);
    EXPECT_TRUE(none->empty());

    EXPECT_EQ(failure(WidgetOpenMeteo::decodePlaces(contents(fixtures / "error_body.json"))),
              ErrorKind::serviceError);
    EXPECT_EQ(failure(WidgetOpenMeteo::decodePlaces("{\"results\": 3}")), ErrorKind::missingField);
    EXPECT_EQ(
        failure(WidgetOpenMeteo::decodePlaces(contents(fixtures / "places_results.json").substr(0, 120))),
        ErrorKind::notJSON);
}

TEST(WidgetOpenMeteo, NamesWeekdaysByLocale) {
    // 2026-01-14 is a Wednesday.
    EXPECT_EQ(WidgetOpenMeteo::weekday("2026-01-14", std::string("de_DE")), "Mi.");
    EXPECT_EQ(WidgetOpenMeteo::weekday("2024-02-29", std::string("fr_FR")), "jeu.");
    for (const char* text : {"tomorrow", "2026-13-01", "2026-02-30", "2026-01-14T00:00", "", "14/01/2026"})
        EXPECT_EQ(WidgetOpenMeteo::weekday(text, std::string("en_US")), text) << text;
}

TEST(WidgetOpenMeteo, AgreesWithRecordedServiceAnswers) {
    if (!std::filesystem::exists(realWorld))
        GTEST_SKIP() << "no recorded answers on this machine";

    // Real answers carry more variables, units and nulls than the widget asks for, and leave out
    // the fields a place lacks; the fixtures above only imitate them.
    const std::vector<Day> days = {
        {"2026-10-03", 3, 20.6, 8.4, 0}, {"2026-10-04", 45, 20.2, 10.8, 8}, {"2026-10-05", 3, 22.2, 11.6, 0}};
    expectForecast(realWorld / "forecast_all_variables_enschede.json",
                   {17.7, 17.6, 2, true, 3.6, days, Date{0}});
    EXPECT_EQ(
        failure(WidgetOpenMeteo::decodeForecast(contents(realWorld / "error_400_latitude.json"), Date{0})),
        ErrorKind::serviceError);
    const auto places = WidgetOpenMeteo::decodePlaces(contents(realWorld / "geocoding_missing_fields.json"));
    ASSERT_TRUE(places) << places.error().description();
    EXPECT_EQ(*places, (std::vector<WidgetPlace>{
                           {"Antarctica", std::nullopt, std::nullopt, -78.15856, 16.40626},
                           {"\xC3\x8Ele MacMurdo", std::nullopt, std::nullopt, -48.89824, 69.41539},
                           {"Atlantic Point", "Maine", "United States", 44.09647, -69.10087}}));
}

TEST(WidgetForecast, IsFreshForLessThanItsMaximumAgeAndNotFromTheFuture) {
    WidgetForecast forecast;
    forecast.fetchedAt = Date{10000};
    const std::vector<std::pair<double, bool>> ages = {
        {0, true}, {1799.999, true}, {1800, false}, {-60, true}, {-60.001, false},
    };
    for (const auto& [age, fresh] : ages)
        EXPECT_EQ(forecast.isFresh(Date{10000 + age}, 1800), fresh) << age;
}

TEST(WidgetForecast, RoundTripsThroughItsStoredForm) {
    WidgetForecast forecast;
    forecast.temperature = 12.5;
    forecast.apparent = 11;
    forecast.code = 61;
    forecast.isDay = false;
    forecast.days = {{"2026-04-01", 61, 14, 7, 80}, {"2026-04-02", 3, 15.5, 6.25, std::nullopt}};
    forecast.fetchedAt = Date{1775000000.25};
    const JSON json = forecast.json();
    EXPECT_FALSE(json.contains("windSpeed"));
    EXPECT_FALSE(json["days"][1].contains("precipitationChance"));
    EXPECT_EQ(json["fetchedAt"], 1775000000.25);
    EXPECT_EQ(WidgetForecast::fromJSON(json), forecast);
    EXPECT_EQ(forecast.today(), forecast.days[0]);

    EXPECT_EQ(WidgetForecast::fromJSON(JSON::parse(R"({"temperature": 1, "code": 2})")), std::nullopt);
    const auto partial = WidgetForecast::fromJSON(
        JSON::parse(R"({"temperature": 1, "code": 2, "fetchedAt": 3, "days": [{"date": "2026-01-01"}, 7]})"));
    ASSERT_TRUE(partial);
    EXPECT_TRUE(partial->isDay);
    EXPECT_TRUE(partial->days.empty());
    EXPECT_EQ(partial->today(), std::nullopt);
}

TEST(WidgetPlace, DisplayNameLeavesOutEmptyAndRepeatedParts) {
    const std::vector<std::pair<WidgetPlace, std::string>> cases = {
        {{"Zürich", "Zurich", "Switzerland", 0, 0}, "Zürich, Zurich, Switzerland"},
        {{"Monaco", std::nullopt, "Monaco", 0, 0}, "Monaco"},
        {{"Springfield", "", "United States", 0, 0}, "Springfield, United States"},
        {{"Reykjavík", "Capital Region", std::nullopt, 0, 0}, "Reykjavík, Capital Region"},
        {{"", "Utrecht", "Netherlands", 0, 0}, "Utrecht, Netherlands"},
        {{"Paris", "Texas", "Texas", 0, 0}, "Paris, Texas"},
    };
    for (const auto& [place, name] : cases)
        EXPECT_EQ(place.displayName(), name) << name;
}

TEST(WidgetPlace, RoundTripsAndHashesOverAllFields) {
    const WidgetPlace place{"Tórshavn", "Streymoy", "Faroe Islands", 62.01, -6.77};
    const WidgetPlace bare{"Null Island", std::nullopt, std::nullopt, 0, 0};
    EXPECT_FALSE(bare.json().contains("region"));
    EXPECT_EQ(WidgetPlace::fromJSON(bare.json()), bare);
    EXPECT_EQ(WidgetPlace::fromJSON(JSON::parse(R"({"name": "x", "latitude": 1})")), std::nullopt);
    EXPECT_EQ(WidgetPlace::fromJSON(JSON::parse(R"({"name": 5, "latitude": 1, "longitude": 2})")),
              std::nullopt);

    EXPECT_EQ((std::unordered_set<WidgetPlace>{place, bare, place}.size()), 2u);
    WidgetPlace moved = place;
    moved.longitude = -6.78;
    EXPECT_NE(std::hash<WidgetPlace>{}(moved), std::hash<WidgetPlace>{}(place));
}

TEST(WidgetWeatherCode, LabelsAndSymbolsFollowTheWMOTable) {
    // The table is data: a day/night pair, a label shared by codes of different weather, and codes outside
    // it.
    const std::vector<std::tuple<int, std::string, std::string, std::string>> cases = {
        {0, "Clear", "sun.max.fill", "moon.stars.fill"},
        {66, "Freezing rain", "cloud.rain.fill", "cloud.rain.fill"},
        {67, "Freezing rain", "cloud.heavyrain.fill", "cloud.heavyrain.fill"},
        {100, "\u2014", "questionmark.circle", "questionmark.circle"},
        {4, "\u2014", "questionmark.circle", "questionmark.circle"},
    };
    for (const auto& [code, label, day, night] : cases) {
        EXPECT_EQ(WeatherCode::label(code), label) << code;
        EXPECT_EQ(WeatherCode::symbol(code, true), day) << code;
        EXPECT_EQ(WeatherCode::symbol(code, false), night) << code;
    }
}

TEST(WidgetWeatherCode, TintsTellDayFromNightAndWeatherFromWeather) {
    EXPECT_NE(WeatherCode::tint(0, true), WeatherCode::tint(0, false));
    EXPECT_NE(WeatherCode::tint(0, true), WeatherCode::tint(63, true));
    EXPECT_NE(WeatherCode::tint(73, true), WeatherCode::tint(95, true));
    EXPECT_EQ(WeatherCode::tint(100, true), WeatherCode::tint(-1, false)) << "unknown codes share one colour";
}
