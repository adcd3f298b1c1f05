#include "vantaquill/panel/widgets/WeatherCard.hpp"

#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/widgets/WidgetOpenMeteo.hpp"
#include "BrindKit/widgets/WidgetPlace.hpp"
#include "BrindKit/widgets/WidgetWeatherCode.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/ElidedLabel.hpp"
#include "vantaquill/providers/WeatherForecastFile.hpp"
#include "vantaquill/providers/WeatherProvider.hpp"
#include "vantaquill/qt/Preferences.hpp"

#include <QDateTime>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <cmath>
#include <utility>

namespace vq {

namespace {

QString fromView(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// "widgets.weather.city" holds the chosen place as JSON; a name typed there by hand is taken as it is.
QString placeName(const std::string& preference) {
    const auto parsed = brind::JSONText::parse(preference);
    if (parsed && parsed->is_object()) {
        if (const auto place = brind::WidgetPlace::fromJSON(*parsed))
            return QString::fromStdString(place->displayName());
    }
    return QString::fromStdString(preference).trimmed();
}

QString degrees(double value) {
    return QString::number(std::lround(value)) + "°";
}

} // namespace

WeatherCard::WeatherCard(Preferences& preferences, std::filesystem::path forecastFile, WeatherProvider* weather,
                         QWidget* parent)
    : WidgetCard("Weather", parent), preferences_(preferences), forecastFile_(std::move(forecastFile)),
      weather_(weather) {
    now_ = new QLabel(this);
    now_->setStyleSheet(QStringLiteral("font-size: %1px; font-weight: 600;").arg(PanelStyle::bodySize * 1.6));
    detail_ = new ElidedLabel({}, this);
    detail_->setProperty("secondary", true);
    hint_ = new QLabel(this);
    hint_->setProperty("secondary", true);
    hint_->setWordWrap(true);
    body()->addWidget(now_);
    body()->addWidget(detail_);
    body()->addWidget(hint_);
    days_ = addRow();
    days_->setSpacing(PanelStyle::spacing * 2);
    if (weather_) {
        error_ = new QLabel(this);
        error_->setProperty("secondary", true);
        error_->setWordWrap(true);
        body()->addWidget(error_);
        search_ = new QLineEdit(this);
        search_->setPlaceholderText(QStringLiteral("Search a city"));
        search_->setAccessibleName(QStringLiteral("City search"));
        addRow()->addWidget(search_);
        connect(search_, &QLineEdit::returnPressed, this, [this] {
            if (!search_->text().trimmed().isEmpty())
                weather_->search(search_->text().toStdString());
        });
        results_ = addRow();
    }
    refresh();
}

void WeatherCard::refresh() {
    for (QHBoxLayout* row : {days_, results_}) {
        while (row && row->count() > 0) {
            QLayoutItem* item = row->takeAt(0);
            // A result button is pressed when this runs: it goes once its click is over.
            if (QWidget* widget = item->widget(); widget && row == results_) {
                widget->hide();
                widget->setParent(nullptr);
                widget->deleteLater();
            } else {
                delete widget;
            }
            delete item;
        }
    }
    if (weather_) {
        error_->setText(QString::fromStdString(weather_->error()));
        error_->setVisible(!weather_->error().empty());
        for (const brind::WidgetPlace& place : weather_->searchResults()) {
            auto* choice = new QPushButton(QString::fromStdString(place.displayName()), this);
            connect(choice, &QPushButton::clicked, this, [this, place] {
                search_->clear();
                weather_->choose(place);
            });
            results_->addWidget(choice);
        }
        results_->addStretch();
    }
    const QString city = placeName(preferences_.text("widgets.weather.city"));
    const auto stored = WeatherForecastFile::load(forecastFile_);
    now_->setVisible(stored.has_value());
    detail_->setVisible(stored.has_value());
    hint_->setVisible(!stored);
    if (!stored) {
        setStatus({});
        hint_->setText(city.isEmpty()
                           ? QString(weather_ ? "The current weather and the next days' forecast show here once a place is chosen: "
                                       "search a city below, or set \"widgets.weather.city\" in the settings."
                                     : "The current weather and the next days' forecast show here once a place is "
                                       "chosen: set \"widgets.weather.city\" in the settings.")
                           : "The weather for " + city + " shows here once its forecast has been fetched.");
        return;
    }
    const brind::WidgetForecast& forecast = stored->forecast;
    const QString fetched = QDateTime::fromMSecsSinceEpoch(
                                static_cast<qint64>(forecast.fetchedAt.secondsSince1970 * 1000))
                                .toString("HH:mm");
    setStatus(QString::fromStdString(stored->place) + " · " + fetched);
    now_->setText(QString::number(std::lround(forecast.temperature)) + fromView(brind::symbol(stored->unit)) + "  " +
                  fromView(brind::WidgetWeatherCode::label(forecast.code)));
    QStringList details;
    if (forecast.apparent)
        details << "Feels like " + degrees(*forecast.apparent);
    if (const auto today = forecast.today())
        details << "High " + degrees(today->high) + ", low " + degrees(today->low);
    if (forecast.windSpeed)
        details << "Wind " + QString::number(std::lround(*forecast.windSpeed)) + " km/h";
    detail_->setText(details.join(" · "));
    for (const auto& day : forecast.days) {
        auto* label = new QLabel(this);
        label->setProperty("secondary", true);
        label->setText(QString::fromStdString(brind::WidgetOpenMeteo::weekday(day.date)) + "\n" + degrees(day.high) +
                       " / " + degrees(day.low) + "\n" + fromView(brind::WidgetWeatherCode::label(day.code)));
        days_->addWidget(label);
    }
    days_->addStretch();
}

} // namespace vq
