#pragma once

#include "vantaquill/panel/widgets/WidgetCard.hpp"

#include <filesystem>

class QHBoxLayout;
class QLabel;

namespace vq {

class ElidedLabel;
class Preferences;

/// The last good forecast: the current conditions and the next days. Without one it says what
/// would appear and where the place is set.
class WeatherCard : public WidgetCard {
public:
    /// The forecast comes from `forecastFile` (see `WeatherForecastFile`), the place from the
    /// "widgets.weather.city" preference.
    WeatherCard(Preferences& preferences, std::filesystem::path forecastFile, QWidget* parent = nullptr);

    /// Reads the file and the preference again.
    void refresh();

private:
    Preferences& preferences_;
    std::filesystem::path forecastFile_;
    QLabel* now_;
    ElidedLabel* detail_;
    QLabel* hint_;
    QHBoxLayout* days_;
};

} // namespace vq
