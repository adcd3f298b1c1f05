#pragma once

#include "vantaquill/Scheduler.hpp"
#include "vantaquill/panel/PanelSection.hpp"

#include <filesystem>
#include <vector>

class QScrollArea;
class QVBoxLayout;

namespace vq {

class MediaController;
class NowPlayingCard;
class PomodoroCard;
class PomodoroController;
class Preferences;
class StatisticsCard;
class StatsSampler;
class StayAwake;
class StayAwakeCard;
class TeleprompterCard;
class WeatherCard;
class WeatherProvider;

/// The panel's Widgets: a scrolling column of small cards (now playing, pomodoro, stay awake,
/// statistics, teleprompter, weather). The statistics are sampled only while the section shows.
class WidgetsSection : public PanelSection {
public:
    /// What the cards show and drive; all outlive the section.
    struct Sources {
        Scheduler& scheduler;
        Preferences& preferences;
        PomodoroController& pomodoro;
        StayAwake& stayAwake;
        StatsSampler& stats;
        /// Null while now playing is switched off.
        MediaController* media = nullptr;
        /// The last good forecast (`WeatherForecastFile::path` of the data folder).
        std::filesystem::path forecastFile;
        /// Searches and chooses the place; null without one (the card then only shows the file).
        WeatherProvider* weather = nullptr;
    };

    explicit WidgetsSection(Sources sources, QWidget* parent = nullptr);
    ~WidgetsSection() override;

    QString title() const override { return QStringLiteral("Widgets"); }
    bool needsUser() const override { return false; }
    int contentHeight(int width) const override;

    /// Reads the forecast file and the weather preferences again (after a fetch or a settings change).
    void refreshWeather();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    /// Buttons move the focus with every arrow themselves; Up and Down are taken from them here.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// Gives the keyboard to the first control of the card `step` cards away from the focused one.
    void focusCard(int step);

    Sources sources_;
    QScrollArea* scroll_;
    QVBoxLayout* column_;
    NowPlayingCard* nowPlaying_;
    PomodoroCard* pomodoroCard_;
    StayAwakeCard* stayAwakeCard_;
    StatisticsCard* statistics_;
    TeleprompterCard* teleprompter_;
    WeatherCard* weather_;
    /// In the column's order.
    std::vector<QWidget*> cards_;
};

} // namespace vq
