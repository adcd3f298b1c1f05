#pragma once

#include "vantaquill/panel/widgets/WidgetCard.hpp"

#include <filesystem>

class QHBoxLayout;
class QLabel;
class QLineEdit;

namespace vq {

class ElidedLabel;
class Preferences;
class WeatherProvider;

/// The last good forecast: the current conditions and the next days. Without one it says what
/// would appear and where the place is set.
class WeatherCard : public WidgetCard {
public:
    /// The forecast comes from `forecastFile` (see `WeatherForecastFile`), the place from the
    /// "widgets.weather.city" preference. With a `weather` provider the card also searches places
    /// by name and shows its last failure.
    WeatherCard(Preferences& preferences, std::filesystem::path forecastFile, WeatherProvider* weather = nullptr,
                QWidget* parent = nullptr);

    /// Reads the file, the preference and the provider again.
    void refresh();

private:
    Preferences& preferences_;
    std::filesystem::path forecastFile_;
    QLabel* now_;
    ElidedLabel* detail_;
    QLabel* hint_;
    QHBoxLayout* days_;
    WeatherProvider* weather_;
    QLineEdit* search_ = nullptr;
    QLabel* error_ = nullptr;
    /// One button per place the search found; pressing one chooses it.
    QHBoxLayout* results_ = nullptr;
};

} // namespace vq
