#include "BrindKit/widgets/WidgetOpenMeteo.hpp"

#include "BrindKit/foundation/URL.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

using brind::Date;
using brind::URL;
using brind::WidgetForecast;
using brind::WidgetOpenMeteo;
using brind::WidgetPlace;
using brind::WidgetTemperatureUnit;
using Day = WidgetForecast::Day;
using ErrorKind = WidgetOpenMeteo::DecodeError::Kind;

namespace {

const std::filesystem::path fixtures = std::filesystem::path(BRIND_TEST_DATA) / "weather";
const std::filesystem::path realWorld = "/work/shared/realworld/weather";

std::string contents(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> displayNames(const std::vector<WidgetPlace>& places) {
    std::vector<std::string> names;
    for (const auto& place : places)
        names.push_back(place.displayName());
    return names;
}

} // namespace

TEST(WidgetOpenMeteo, BuildsTheForecastRequestWithItsItemsInOrder) {
    const WidgetOpenMeteo service;
    const auto url = URL::parse(service.forecastURL(52.520008, -13.40496, WidgetTemperatureUnit::fahrenheit));
    ASSERT_TRUE(url);
    EXPECT_EQ(url->scheme, "https");
    EXPECT_EQ(url->host, "api.open-meteo.com");
    EXPECT_EQ(url->path, "/v1/forecast");
    EXPECT_EQ(url->queryItems(), (std::vector<URL::QueryItem>{
                                     {"latitude", "52.5200"},
                                     {"longitude", "-13.4050"},
                                     {"current", "temperature_2m,apparent_temperature,weather_code,is_day,wind_speed_10m"},
                                     {"daily", "weather_code,temperature_2m_max,temperature_2m_min,precipitation_probability_max"},
                                     {"timezone", "auto"},
                                     {"forecast_days", "5"},
                                     {"temperature_unit", "fahrenheit"},
                                 }));

    WidgetOpenMeteo mirror;
    mirror.forecastHost = "weather.example.net";
    EXPECT_TRUE(mirror.forecastURL(0, 0, WidgetTemperatureUnit::celsius)
                    .starts_with("https://weather.example.net/v1/forecast?latitude=0.0000&longitude=0.0000&"));
    EXPECT_TRUE(mirror.forecastURL(0, 0, WidgetTemperatureUnit::celsius).ends_with("&temperature_unit=celsius"));
}

TEST(WidgetOpenMeteo, BuildsThePlaceSearchForATrimmedCity) {
    const WidgetOpenMeteo service;
    const auto text = service.geocodeURL("  São Paulo & Co\n", "pt");
    ASSERT_TRUE(text);
    const auto url = URL::parse(*text);
    ASSERT_TRUE(url);
    EXPECT_EQ(url->host, "geocoding-api.open-meteo.com");
    EXPECT_EQ(url->path, "/v1/search");
    EXPECT_EQ(url->queryItems(), (std::vector<URL::QueryItem>{
                                     {"name", "São Paulo & Co"}, {"count", "5"}, {"language", "pt"}, {"format", "json"}}));
    EXPECT_EQ(service.geocodeURL(" \t\n ", "en"), std::nullopt);
    EXPECT_EQ(service.geocodeURL("", "en"), std::nullopt);
}

TEST(WidgetOpenMeteo, DecodesAFullForecast) {
    const auto forecast = WidgetOpenMeteo::decodeForecast(contents(fixtures / "forecast_full.json"), Date{1768378500});
    ASSERT_TRUE(forecast) << forecast.error().description();
    EXPECT_EQ(forecast->temperature, -2.5);
    EXPECT_EQ(forecast->apparent, -6.1);
    EXPECT_EQ(forecast->code, 71);
    EXPECT_TRUE(forecast->isDay);
    EXPECT_EQ(forecast->windSpeed, 11.0);
    EXPECT_EQ(forecast->fetchedAt, Date{1768378500});
    ASSERT_EQ(forecast->days.size(), 5u);
    EXPECT_EQ(forecast->days[0], (Day{"2026-01-14", 71, 0.4, -4.0, 70}));
    EXPECT_EQ(forecast->days[4], (Day{"2026-01-18", 45, 1.1, -1.8, 5}));
    EXPECT_EQ(forecast->today(), forecast->days[0]);
}

TEST(WidgetOpenMeteo, SkipsDaysWithoutTemperaturesAndToleratesNulls) {
    const auto forecast = WidgetOpenMeteo::decodeForecast(contents(fixtures / "forecast_nulls.json"), Date{0});
    ASSERT_TRUE(forecast) << forecast.error().description();
    EXPECT_FALSE(forecast->isDay);
    EXPECT_EQ(forecast->apparent, std::nullopt);
    EXPECT_EQ(forecast->windSpeed, std::nullopt);
    // Day 3 has no high and day 5 no low; a null code is 0; the chance array ends after day 3.
    EXPECT_EQ(forecast->days, (std::vector<Day>{{"2026-02-02", 2, 28.1, 20.3, 12},
                                                {"2026-02-03", 0, 27.4, 19.8, std::nullopt},
                                                {"2026-02-05", 95, 30.2, 22.5, std::nullopt}}));
}

TEST(WidgetOpenMeteo, ReadsMissingOptionalFieldsAsAbsent) {
    const auto forecast = WidgetOpenMeteo::decodeForecast(contents(fixtures / "forecast_sparse.json"), Date{5});
    ASSERT_TRUE(forecast) << forecast.error().description();
    EXPECT_EQ(forecast->temperature, 31.5);
    EXPECT_EQ(forecast->code, 3);
    EXPECT_TRUE(forecast->isDay) << "no is_day means day";
    EXPECT_EQ(forecast->apparent, std::nullopt);
    EXPECT_TRUE(forecast->days.empty());
    EXPECT_EQ(forecast->today(), std::nullopt);
}

TEST(WidgetOpenMeteo, RefusesForecastsWithoutCurrentConditions) {
    struct Case {
        std::string data;
        ErrorKind kind;
        std::string detail;
    };
    const std::vector<Case> cases = {
        {contents(fixtures / "forecast_no_current.json"), ErrorKind::missingField, "\"current\""},
        {R"({"current": {"weather_code": 1}})", ErrorKind::missingField, "\"current.temperature_2m\""},
        {R"({"current": {"temperature_2m": "warm", "weather_code": 1}})", ErrorKind::missingField,
         "\"current.temperature_2m\""},
        {R"({"current": {"temperature_2m": 1, "weather_code": 1.5}})", ErrorKind::missingField,
         "\"current.weather_code\""},
        {R"([1, 2])", ErrorKind::missingField, "top-level object"},
        {"<html>Bad gateway</html>", ErrorKind::notJSON, ""},
        {"", ErrorKind::notJSON, ""},
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

TEST(WidgetOpenMeteo, CutOffAnswersAreErrorsNotCrashes) {
    // A connection dropped part-way delivers a prefix of the answer.
    for (const char* name : {"forecast_full.json", "places_results.json"}) {
        const std::string whole = contents(fixtures / name);
        for (std::size_t length = 0; length + 2 < whole.size(); ++length) {
            const std::string_view prefix = std::string_view(whole).substr(0, length);
            ASSERT_EQ(WidgetOpenMeteo::decodeForecast(prefix, Date{0}).error().kind, ErrorKind::notJSON) << length;
            ASSERT_EQ(WidgetOpenMeteo::decodePlaces(prefix).error().kind, ErrorKind::notJSON) << length;
        }
    }
}

TEST(WidgetOpenMeteo, DecodesPlacesAndLeavesOutIncompleteOnes) {
    const auto places = WidgetOpenMeteo::decodePlaces(contents(fixtures / "places_results.json"));
    ASSERT_TRUE(places) << places.error().description();
    ASSERT_EQ(places->size(), 3u);
    EXPECT_EQ((*places)[0], (WidgetPlace{"Lisboa", "Lisboa", "Portugal", 38.72, -9.14}));
    EXPECT_EQ((*places)[2], (WidgetPlace{"Lisbon Falls Reef", std::nullopt, std::nullopt, 12.5, 140.25}));
    EXPECT_EQ(displayNames(*places),
              (std::vector<std::string>{"Lisboa, Portugal", "Lisbon, Maine, United States", "Lisbon Falls Reef"}));

    const auto none = WidgetOpenMeteo::decodePlaces(contents(fixtures / "places_empty.json"));
    ASSERT_TRUE(none);
    EXPECT_TRUE(none->empty());

    const auto refused = WidgetOpenMeteo::decodePlaces(contents(fixtures / "error_body.json"));
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().kind, ErrorKind::serviceError);
    EXPECT_EQ(WidgetOpenMeteo::decodePlaces("{\"results\": 3}").error().kind, ErrorKind::missingField);
    EXPECT_EQ(WidgetOpenMeteo::decodePlaces("nope").error().kind, ErrorKind::notJSON);
}

TEST(WidgetOpenMeteo, NamesWeekdaysByLocale) {
    // 2026-01-14 is a Wednesday.
    EXPECT_EQ(WidgetOpenMeteo::weekday("2026-01-14", std::string("en_US")), "Wed");
    EXPECT_EQ(WidgetOpenMeteo::weekday("2026-01-18", std::string("en_GB")), "Sun");
    EXPECT_EQ(WidgetOpenMeteo::weekday("2026-01-14", std::string("de_DE")), "Mi.");
    EXPECT_EQ(WidgetOpenMeteo::weekday("2024-02-29", std::string("fr_FR")), "jeu.");
    EXPECT_FALSE(WidgetOpenMeteo::weekday("2026-01-14").empty());
    for (const char* text : {"tomorrow", "2026-13-01", "2026-02-30", "2026-01-14T00:00", "", "14/01/2026"})
        EXPECT_EQ(WidgetOpenMeteo::weekday(text, std::string("en_US")), text) << text;
}

TEST(WidgetOpenMeteo, AgreesWithRecordedServiceAnswers) {
    if (!std::filesystem::exists(realWorld))
        GTEST_SKIP() << "no recorded answers on this machine";

    const auto full = WidgetOpenMeteo::decodeForecast(contents(realWorld / "forecast_all_variables_enschede.json"), Date{0});
    ASSERT_TRUE(full) << full.error().description();
    EXPECT_EQ(full->temperature, 17.7);
    EXPECT_EQ(full->apparent, 17.6);
    EXPECT_EQ(full->code, 2);
    EXPECT_TRUE(full->isDay);
    EXPECT_EQ(full->windSpeed, 3.6);
    EXPECT_EQ(full->days, (std::vector<Day>{{"2026-10-03", 3, 20.6, 8.4, 0},
                                            {"2026-10-04", 45, 20.2, 10.8, 8},
                                            {"2026-10-05", 3, 22.2, 11.6, 0}}));

    const auto shaped = WidgetOpenMeteo::decodeForecast(contents(realWorld / "forecast_exact_shape_CONSTRUCTED.json"), Date{0});
    ASSERT_TRUE(shaped);
    EXPECT_EQ(shaped->days.size(), 5u);
    EXPECT_EQ(shaped->days[4], (Day{"2025-06-14", 95, 27.9, 15.3, 45}));

    const auto nulls =
        WidgetOpenMeteo::decodeForecast(contents(realWorld / "forecast_exact_shape_nulls_CONSTRUCTED.json"), Date{0});
    ASSERT_TRUE(nulls);
    EXPECT_FALSE(nulls->isDay);
    ASSERT_EQ(nulls->days.size(), 4u);
    EXPECT_EQ(nulls->days[3], (Day{"2025-06-13", 2, 23.7, 10.4, std::nullopt}));

    // The tail of a long forecast has daily values but no current conditions.
    const auto tail = WidgetOpenMeteo::decodeForecast(contents(realWorld / "forecast_16_days_nulls.json"), Date{0});
    ASSERT_FALSE(tail);
    EXPECT_EQ(tail.error().kind, ErrorKind::missingField);

    for (const char* name : {"error_400_latitude.json", "error_400_invalid_variable.json"}) {
        const auto refused = WidgetOpenMeteo::decodeForecast(contents(realWorld / name), Date{0});
        ASSERT_FALSE(refused) << name;
        EXPECT_EQ(refused.error().kind, ErrorKind::serviceError) << name;
        EXPECT_FALSE(refused.error().detail.empty()) << name;
    }
    const auto countError = WidgetOpenMeteo::decodePlaces(contents(realWorld / "geocoding_error_400_count.json"));
    ASSERT_FALSE(countError);
    EXPECT_EQ(countError.error().detail, "Parameter count must be between 1 and 100.");

    const auto enschede = WidgetOpenMeteo::decodePlaces(contents(realWorld / "geocoding_enschede_count2.json"));
    ASSERT_TRUE(enschede);
    EXPECT_EQ(displayNames(*enschede), (std::vector<std::string>{"Enschede, Overijssel, The Netherlands",
                                                                 "Enschede Airport Twente, Overijssel, The Netherlands"}));
    EXPECT_EQ((*enschede)[0].latitude, 52.21833);

    const auto sparse = WidgetOpenMeteo::decodePlaces(contents(realWorld / "geocoding_missing_fields.json"));
    ASSERT_TRUE(sparse);
    EXPECT_EQ(displayNames(*sparse),
              (std::vector<std::string>{"Antarctica", "\xC3\x8Ele MacMurdo", "Atlantic Point, Maine, United States"}));

    const auto berlin = WidgetOpenMeteo::decodePlaces(contents(realWorld / "geocoding_berlin_docs_example_ADAPTED.json"));
    ASSERT_TRUE(berlin);
    EXPECT_EQ(displayNames(*berlin), std::vector<std::string>{"Berlin, Deutschland"});

    const auto empty = WidgetOpenMeteo::decodePlaces(contents(realWorld / "geocoding_empty.json"));
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->empty());
}
