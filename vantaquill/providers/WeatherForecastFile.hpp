#pragma once

#include "BrindKit/widgets/WidgetForecast.hpp"
#include "BrindKit/widgets/WidgetTemperatureUnit.hpp"

#include <expected>
#include <filesystem>
#include <optional>
#include <string>

namespace vq {

/// The last good forecast, kept in the data folder so that the widget has something to show
/// offline and right after a start. It records the place's name and the unit the temperatures were
/// asked in, since either may have changed in the settings since.
struct WeatherForecastFile {
    std::string place{};
    brind::WidgetTemperatureUnit unit = brind::WidgetTemperatureUnit::celsius;
    brind::WidgetForecast forecast{};

    /// "weather.json" in the data folder.
    static std::filesystem::path path(const std::filesystem::path& dataFolder);

    /// Nothing when there is no file or it holds no readable forecast.
    static std::optional<WeatherForecastFile> load(const std::filesystem::path& file);
    /// Replaces the file atomically; the error is a sentence.
    std::expected<void, std::string> save(const std::filesystem::path& file) const;

    friend bool operator==(const WeatherForecastFile&, const WeatherForecastFile&) = default;
};

} // namespace vq
