#pragma once

#include "vantaquill/ConsentQueue.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/panel/PanelSection.hpp"

#include <cstdint>
#include <vector>

class QLabel;
class QPushButton;
class QScrollArea;
class QVBoxLayout;

namespace vq {

class ActivityCard;
class ConsentCard;

/// The panel's Activities section: the consent prompts of SDK clients waiting to connect, on top,
/// then every live activity in the queue's order with its glyphs, texts, progress, action buttons
/// and dismiss. Presses go through the activity centre, which routes an SDK client's actions to its
/// event stream; answers go to the consent queue.
///
/// The prompts live here rather than in a section of their own: a client that connects is about to
/// show activities, and the user answering it sees where they will appear. A new prompt opens the
/// island on this section, with the focus on Don't allow.
///
/// Keyboard: Tab and Shift+Tab visit every button; Up and Down move between cards, Left and Right
/// between the buttons of one card; Space (and Enter, through the panel) presses the focused button;
/// Escape closes the island.
class ActivitiesSection : public PanelSection {
public:
    ActivitiesSection(LiveActivityCenter& center, ConsentQueue& consents, QWidget* parent = nullptr);

    QString title() const override;
    bool needsUser() const override;
    int contentHeight(int width) const override;

    /// Shows the centre's activities and the waiting prompts as they are now. Call it after the
    /// centre published a change of its activities and after the consent queue changed.
    void refresh();

protected:
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void refreshConsents(bool& arrived);
    void refreshActivities();
    void relayout();
    /// Every card, top to bottom, and the buttons of each.
    std::vector<std::vector<QPushButton*>> buttonRows() const;
    /// The button the focus starts on: the first prompt's Don't allow, else the first button.
    QPushButton* preferredFocus() const;
    void focusButton(QPushButton* button);
    /// Moves the focus by `cards` cards (Up, Down) or `buttons` buttons within a card (Left, Right).
    bool moveFocus(QPushButton* from, int cards, int buttons);
    void watchKeys(const std::vector<QPushButton*>& buttons);

    LiveActivityCenter& center;
    ConsentQueue& consents;
    QScrollArea* scroll;
    QWidget* list;
    QVBoxLayout* listLayout;
    QLabel* empty;
    std::vector<ConsentCard*> consentCards;
    std::vector<ActivityCard*> activityCards;
    std::uint64_t newestSerialSeen = 0;
};

} // namespace vq
