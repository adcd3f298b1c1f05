#pragma once

#include "BrindKit/foundation/UUID.hpp"
#include "vantaquill/panel/PanelSection.hpp"
#include "vantaquill/panel/clipboard/QtClipboard.hpp"

#include <QUrl>

#include <functional>
#include <optional>
#include <vector>

class QLabel;
class QPushButton;
class QScrollArea;
class QVBoxLayout;

namespace vq {

class Scheduler;
class ShelfEntryRow;
class ShelfStore;

/// The panel's shelf: the entries of the shelf as cards, newest first, each with Open, Copy and
/// Remove, renamed in place, and dragged out of the island by the card itself. Under them "Clear
/// shelf (keeps pinned)" takes off everything not pinned. Files dropped on the section join the
/// shelf. Empty, it says how things get there.
///
/// Keys: shown with cards, the newest card is selected, unless the user chose one that is still
/// there; the selection stays on its entry as the shelf changes, and goes to a neighbour when its
/// entry leaves. Up and Down move it, stopping at the ends; Enter opens the entry (copies a
/// snippet), Delete or Backspace removes it, Ctrl+P pins or unpins it, F2 renames it and the menu
/// key shows its menu; Escape closes the island.
class ShelfSection : public PanelSection {
public:
    ShelfSection(ShelfStore& store, Scheduler& scheduler, ClipboardWriter writer = QtClipboard::write,
                 QWidget* parent = nullptr);

    QString title() const override;
    /// How many entries the shelf holds ("99+" past 99), so the button tells it without opening.
    QString badge() const override;
    bool needsUser() const override;
    int contentHeight(int width) const override;

    /// Reads the shelf again; call after every change of the store (its `onChange`).
    void refresh();

    /// Opens a file or link with the desktop's application for it (`QDesktopServices::openUrl`).
    std::function<bool(const QUrl&)> opener;
    /// Given to every card: starts a drag out on the island's surface itself where Qt cannot.
    std::function<bool(const ClipFlavours&, std::function<void()>)> startNativeDrag;

    const std::vector<ShelfEntryRow*>& rows() const { return rows_; }
    QLabel* emptyHint() const { return hint; }
    QPushButton* clearButton() const { return clear; }

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void rebuild();
    /// The card holding the keyboard, itself or through one of its buttons.
    std::optional<std::size_t> selectedIndex() const;
    void select(std::size_t index);
    bool cardKey(ShelfEntryRow& row, const QKeyEvent& key);
    void open(const brind::UUID& id);
    void dragging(bool running);
    void editing(bool running);

    ShelfStore& store;
    Scheduler& scheduler;
    ClipboardWriter writer;
    QScrollArea* scroll;
    QVBoxLayout* list;
    QLabel* hint;
    QWidget* footer;
    QPushButton* clear;
    std::vector<ShelfEntryRow*> rows_;
    bool dragRunning = false;
    bool renaming = false;
    bool refreshPending = false;
};

} // namespace vq
