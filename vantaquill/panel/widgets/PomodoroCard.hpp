#pragma once

#include "vantaquill/panel/widgets/WidgetCard.hpp"

class QLabel;
class QProgressBar;
class QPushButton;

namespace vq {

class PomodoroController;

/// The focus timer: its phase, the time left, the sessions finished today, and start or pause,
/// skip and reset.
class PomodoroCard : public WidgetCard {
public:
    explicit PomodoroCard(PomodoroController& pomodoro, QWidget* parent = nullptr);

    void refresh();

private:
    PomodoroController& pomodoro_;
    QLabel* clock_;
    QLabel* sessions_;
    QProgressBar* progress_;
    QPushButton* toggle_;
    QPushButton* skip_;
    QPushButton* reset_;
};

} // namespace vq
