#include "vantaquill/panel/widgets/StayAwakeCard.hpp"

#include "BrindKit/widgets/WidgetStayAwakeMode.hpp"
#include "vantaquill/settings/StayAwake.hpp"

#include <QHBoxLayout>
#include <QPushButton>
#include <QStyle>

#include <variant>

namespace vq {

namespace {

/// The time left is shown to the second in its last minute.
constexpr double clockInterval = 1;

} // namespace

StayAwakeCard::StayAwakeCard(StayAwake& stayAwake, Scheduler& scheduler, QWidget* parent)
    : WidgetCard("Stay awake", parent), stayAwake_(stayAwake), scheduler_(scheduler) {
    auto* row = addRow();
    row->setSpacing(4);
    for (const auto& preset : brind::WidgetStayAwakeMode::presets()) {
        auto* button = new QPushButton(QString::fromStdString(preset.label), this);
        connect(button, &QPushButton::clicked, this, [this, minutes = preset.minutes] {
            stayAwake_.setMode(brind::WidgetStayAwakeMode::preset(minutes, scheduler_.now()));
            refresh();
        });
        row->addWidget(button);
        presets_.push_back(button);
    }
    off_ = new QPushButton("Off", this);
    off_->setProperty("role", "cancel");
    connect(off_, &QPushButton::clicked, this, [this] {
        stayAwake_.setMode(brind::WidgetStayAwakeMode::off());
        refresh();
    });
    row->addWidget(off_);
    row->addStretch();
    refresh();
}

void StayAwakeCard::refresh() {
    const brind::Date now = scheduler_.now();
    const auto mode = stayAwake_.mode();
    setStatus(QString::fromStdString(mode.statusLabel(now)));
    off_->setEnabled(mode.isActive(now));
    // "Indefinitely" is the one preset a mode can be seen to match; a timed mode shows its time left.
    const bool indefinite = std::holds_alternative<brind::WidgetStayAwakeMode::Indefinite>(mode.value);
    for (std::size_t index = 0; index < presets_.size(); ++index) {
        const bool chosen = indefinite && !brind::WidgetStayAwakeMode::presets()[index].minutes;
        presets_[index]->setProperty("role", chosen ? "primary" : "");
        style()->unpolish(presets_[index]);
        style()->polish(presets_[index]);
    }
    clock_.reset();
    if (isVisible() && mode.remaining(now))
        clock_ = scheduler_.schedule(clockInterval, [this] { refresh(); });
}

void StayAwakeCard::showEvent(QShowEvent* event) {
    WidgetCard::showEvent(event);
    refresh();
}

void StayAwakeCard::hideEvent(QHideEvent* event) {
    WidgetCard::hideEvent(event);
    clock_.reset();
}

} // namespace vq
