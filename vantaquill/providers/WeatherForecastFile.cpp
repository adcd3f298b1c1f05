#include "vantaquill/providers/WeatherForecastFile.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"

namespace vq {

std::filesystem::path WeatherForecastFile::path(const std::filesystem::path& dataFolder) {
    return dataFolder / "weather.json";
}

std::optional<WeatherForecastFile> WeatherForecastFile::load(const std::filesystem::path& file) {
    const auto text = brind::AtomicFile::read(file);
    if (!text)
        return std::nullopt;
    const auto parsed = brind::JSONText::parse(*text);
    if (!parsed || !parsed->is_object())
        return std::nullopt;
    const auto* forecastValue = brind::JSONRead::member(*parsed, "forecast");
    const auto forecast = forecastValue ? brind::WidgetForecast::fromJSON(*forecastValue) : std::nullopt;
    if (!forecast)
        return std::nullopt;
    WeatherForecastFile stored;
    stored.place = brind::JSONRead::string(*parsed, "place").value_or("");
    stored.unit = brind::widgetTemperatureUnitNamed(brind::JSONRead::string(*parsed, "unit").value_or(""))
                      .value_or(brind::WidgetTemperatureUnit::celsius);
    stored.forecast = *forecast;
    return stored;
}

std::expected<void, std::string> WeatherForecastFile::save(const std::filesystem::path& file) const {
    const brind::JSON value{{"place", place}, {"unit", brind::name(unit)}, {"forecast", forecast.json()}};
    return brind::AtomicFile::write(file, brind::JSONText::pretty(value));
}

} // namespace vq
