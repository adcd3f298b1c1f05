#pragma once

#include "BrindKit/island/LiveActivity.hpp"

#include <QFrame>

#include <functional>
#include <string>
#include <vector>

class QHBoxLayout;
class QProgressBar;
class QPushButton;

namespace vq {

class ElidedLabel;
class GlyphView;

/// One live activity in the panel: its leading and trailing glyphs, title, subtitle, progress, its
/// action buttons and, where the user may, a dismiss button. Presses are reported, not acted on:
/// the section routes them through the activity centre.
class ActivityCard : public QFrame {
public:
    explicit ActivityCard(QWidget* parent = nullptr);

    /// Shows `activity`, updating in place so that a button keeps the keyboard focus while the
    /// activity's progress or texts change.
    void setActivity(const brind::LiveActivity& activity);
    const brind::LiveActivity& activity() const { return activity_; }

    /// The buttons in the order Tab visits them (actions, then dismiss).
    std::vector<QPushButton*> buttons() const;

    /// An action button was pressed, or the card itself for an activity with a tap action.
    std::function<void(const std::string& actionID)> onAction;
    std::function<void()> onDismiss;

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void rebuildButtons();

    brind::LiveActivity activity_;
    GlyphView* leading;
    GlyphView* trailing;
    ElidedLabel* title;
    ElidedLabel* subtitle;
    QProgressBar* progress;
    QHBoxLayout* buttonRow;
    std::vector<QPushButton*> actionButtons;
    QPushButton* dismiss = nullptr;
    bool buttonsBuilt = false;
};

} // namespace vq
