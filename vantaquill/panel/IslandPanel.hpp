#pragma once

#include "vantaquill/panel/PanelSection.hpp"

#include <QWidget>

#include <functional>
#include <vector>

class QButtonGroup;
class QHBoxLayout;
class QPushButton;
class QStackedWidget;

namespace vq {

/// The expanded island's panel: a row of section buttons over the shown section. It opens on the
/// section that needs the user (an open approval or question first), otherwise on the last one used.
class IslandPanel final : public QWidget {
public:
    /// Height of the row of section buttons, and the gap below it.
    static constexpr int tabsHeight = 26;
    static constexpr int tabsGap = 8;

    explicit IslandPanel(QWidget* parent = nullptr);

    /// Adds a section after the others; the panel owns it.
    void addSection(PanelSection* section);
    const std::vector<PanelSection*>& sections() const { return sections_; }
    PanelSection* current() const;
    void showSection(PanelSection* section);
    /// Shows the next or previous section, wrapping around.
    void step(int delta);

    /// The island is opening: shows the first section that needs the user, else the last one used.
    void chooseOnOpening();
    /// Gives the keyboard to the shown section's first control.
    void focusCurrent();

    /// The height the panel wants at `width`: the section row and the shown section's content.
    int contentHeight(int width) const;

    /// A section's height or title changed, or another section is shown.
    std::function<void()> onChanged;
    std::function<void()> onOpenRequested;
    std::function<void()> onCloseRequested;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void updateTabs();
    void changed();

    std::vector<PanelSection*> sections_;
    std::vector<QPushButton*> tabs_;
    QHBoxLayout* tabRow_;
    QButtonGroup* group_;
    QStackedWidget* stack_;
    /// The section the user chose last, shown again when nothing needs them.
    PanelSection* lastUsed_ = nullptr;
};

} // namespace vq
