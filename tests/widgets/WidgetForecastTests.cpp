#include "BrindKit/widgets/WidgetForecast.hpp"

#include <gtest/gtest.h>

using namespace brind;

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
