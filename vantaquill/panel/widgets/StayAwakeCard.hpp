#pragma once

#include "vantaquill/Scheduler.hpp"
#include "vantaquill/panel/widgets/WidgetCard.hpp"

#include <memory>
#include <vector>

class QPushButton;

namespace vq {

class StayAwake;

/// Keeps the computer awake for a chosen time or until turned off, and shows the time left.
class StayAwakeCard : public WidgetCard {
public:
    StayAwakeCard(StayAwake& stayAwake, Scheduler& scheduler, QWidget* parent = nullptr);

    void refresh();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    StayAwake& stayAwake_;
    Scheduler& scheduler_;
    std::vector<QPushButton*> presets_;
    QPushButton* off_;
    /// Moves the time left on while it shows; there is none while the card is hidden.
    std::unique_ptr<Scheduler::Timer> clock_;
};

} // namespace vq
