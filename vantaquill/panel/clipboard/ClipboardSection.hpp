#pragma once

#include "vantaquill/panel/PanelSection.hpp"
#include "vantaquill/panel/clipboard/ClipItemDelegate.hpp"
#include "vantaquill/panel/clipboard/QtClipboard.hpp"

class QLabel;
class QLineEdit;
class QListView;

#include <functional>

namespace vq {

class ClipListModel;
class ClipboardStore;
class LiveActivityCenter;

/// The panel's clipboard history: a search field over the list (pinned items first, or the best
/// matches first while a query is typed). Enter or a click copies an item back to the clipboard,
/// flashes "Copied" and closes the island; each row pins, unpins and deletes. Items from password
/// managers or excluded applications are listed masked and never found by their content.
///
/// Keys: typing filters at once; Ctrl+1 to Ctrl+9 copy the first nine rows back at once (each row
/// shows its combination); Down moves from the field into the list, Up from the first row back, and
/// the selection stops at the ends; Delete removes the selected item and Ctrl+P pins or unpins it
/// (from the field too); Escape clears the search first and closes the island when there is none.
class ClipboardSection : public PanelSection {
public:
    ClipboardSection(ClipboardStore& store, LiveActivityCenter& center, ClipboardWriter writer = QtClipboard::write,
                     QWidget* parent = nullptr);

    QString title() const override;
    bool needsUser() const override;
    int contentHeight(int width) const override;

    /// Reads the history again; call after every change of the store (its `onChange`).
    void refresh();

    /// A clip went back on the clipboard and the island is closing: where the desktop allows it, the
    /// application pastes it into the window the user came from.
    std::function<void()> onCopiedBack;

    /// Copies the item back, flashes "Copied" and closes the island; false when the item is gone
    /// (or its image or rich text has left the disk), which leaves the clipboard as it was.
    bool copyBack(const brind::UUID& id);

    QLineEdit* searchField() const { return search; }
    QListView* list() const { return view; }
    /// The line shown instead of the list when it has no rows.
    QLabel* emptyHint() const { return hint; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    bool searchKey(const QKeyEvent& key);
    bool listKey(const QKeyEvent& key);
    /// Ctrl and a digit: copies that row back; true when the key was one.
    bool quickKey(const QKeyEvent& key);
    void togglePin();
    void escape();
    void clicked(const ClipRow& row, ClipItemDelegate::Part part);
    std::optional<brind::UUID> currentID() const;
    void select(int row);

    ClipboardStore& store;
    LiveActivityCenter& center;
    ClipboardWriter writer;
    ClipListModel* model;
    QLineEdit* search;
    QListView* view;
    QLabel* hint;
};

} // namespace vq
