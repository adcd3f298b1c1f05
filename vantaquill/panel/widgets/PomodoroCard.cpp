#include "vantaquill/panel/widgets/PomodoroCard.hpp"

#include "BrindKit/widgets/WidgetPomodoroActivity.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/providers/PomodoroController.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <cmath>
#include <string_view>

namespace vq {

namespace {

/// The progress bar's steps: fine enough that a 25-minute session moves it every second or two.
constexpr int progressSteps = 1000;

} // namespace

PomodoroCard::PomodoroCard(PomodoroController& pomodoro, QWidget* parent)
    : WidgetCard("Pomodoro", parent), pomodoro_(pomodoro) {
    auto* top = addRow();
    clock_ = new QLabel(this);
    // The clock is the card's one large figure, read at a glance.
    clock_->setStyleSheet(QStringLiteral("font-size: %1px; font-weight: 600;").arg(PanelStyle::bodySize * 2));
    sessions_ = new QLabel(this);
    sessions_->setProperty("secondary", true);
    top->addWidget(clock_);
    top->addStretch();
    top->addWidget(sessions_, 0, Qt::AlignBottom);
    progress_ = new QProgressBar(this);
    progress_->setRange(0, progressSteps);
    progress_->setTextVisible(false);
    body()->addWidget(progress_);
    auto* row = addRow();
    toggle_ = new QPushButton(this);
    toggle_->setProperty("role", "primary");
    skip_ = new QPushButton("Skip", this);
    reset_ = new QPushButton("Reset", this);
    reset_->setProperty("role", "cancel");
    row->addWidget(toggle_);
    row->addWidget(skip_);
    row->addWidget(reset_);
    row->addStretch();
    connect(toggle_, &QPushButton::clicked, this, [this] { pomodoro_.toggle(); });
    connect(skip_, &QPushButton::clicked, this, [this] { pomodoro_.skip(); });
    connect(reset_, &QPushButton::clicked, this, [this] { pomodoro_.reset(); });
    refresh();
}

void PomodoroCard::refresh() {
    const auto& timer = pomodoro_.pomodoro();
    const brind::Date now = pomodoro_.now();
    const std::string_view phase = brind::label(timer.phase);
    setStatus(QString::fromUtf8(phase.data(), static_cast<qsizetype>(phase.size())));
    clock_->setText(QString::fromStdString(brind::WidgetPomodoro::clock(timer.remaining(now))));
    sessions_->setText(QString::fromStdString(brind::WidgetPomodoroActivity::subtitle(timer.totalCompleted)));
    progress_->setValue(static_cast<int>(std::lround(timer.progress(now) * progressSteps)));
    toggle_->setText(QString::fromStdString(brind::WidgetPomodoroActivity::toggleLabel(timer)));
    reset_->setEnabled(timer.isRunning() || !timer.hasNotBegun() || timer.phase != brind::WidgetPomodoro::Phase::work ||
                       timer.completedWork > 0);
}

} // namespace vq
