#include "BrindKit/widgets/WidgetForecast.hpp"

namespace brind {

std::optional<WidgetForecast::Day> WidgetForecast::today() const {
    if (days.empty())
        return std::nullopt;
    return days.front();
}

bool WidgetForecast::isFresh(Date at, double maxAge) const {
    return at - fetchedAt < maxAge && fetchedAt - at <= clockAllowance;
}

JSON WidgetForecast::json() const {
    JSON dayList = JSON::array();
    for (const auto& day : days) {
        JSON object{{"date", day.date}, {"code", day.code}, {"high", day.high}, {"low", day.low}};
        if (day.precipitationChance)
            object["precipitationChance"] = *day.precipitationChance;
        dayList.push_back(std::move(object));
    }
    JSON object{{"temperature", temperature},
                {"code", code},
                {"isDay", isDay},
                {"days", std::move(dayList)},
                {"fetchedAt", fetchedAt.secondsSince1970}};
    if (apparent)
        object["apparent"] = *apparent;
    if (windSpeed)
        object["windSpeed"] = *windSpeed;
    return object;
}

std::optional<WidgetForecast> WidgetForecast::fromJSON(const JSON& value) {
    const auto temperature = JSONRead::number(value, "temperature");
    const auto code = JSONRead::wholeInt(value, "code");
    const auto fetchedAt = JSONRead::number(value, "fetchedAt");
    if (!temperature || !code || !fetchedAt)
        return std::nullopt;
    WidgetForecast forecast;
    forecast.temperature = *temperature;
    forecast.apparent = JSONRead::number(value, "apparent");
    forecast.code = *code;
    forecast.isDay = JSONRead::boolean(value, "isDay").value_or(true);
    forecast.windSpeed = JSONRead::number(value, "windSpeed");
    forecast.fetchedAt = Date{*fetchedAt};
    if (const JSON* dayList = JSONRead::member(value, "days"); dayList && dayList->is_array()) {
        for (const auto& item : *dayList) {
            const auto date = JSONRead::string(item, "date");
            const auto high = JSONRead::number(item, "high");
            const auto low = JSONRead::number(item, "low");
            if (!date || !high || !low)
                continue;
            forecast.days.push_back(Day{*date, JSONRead::wholeInt(item, "code").value_or(0), *high, *low,
                                        JSONRead::wholeInt(item, "precipitationChance")});
        }
    }
    return forecast;
}

} // namespace brind
