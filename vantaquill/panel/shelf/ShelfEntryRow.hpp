#pragma once

#include "vantaquill/clipboard/ClipFlavour.hpp"

#include "BrindKit/shelf/ShelfEntry.hpp"

#include <QFrame>
#include <QPoint>

#include <functional>

class QLineEdit;
class QMenu;
class QPushButton;

namespace vq {

class ElidedLabel;

/// One shelf entry as a card: its icon, name and where it is (after "Pinned" for a pinned entry),
/// with Open (files and links), Copy and Remove; its context menu adds Rename and Pin or Unpin. Dragging the card takes the entry out of the island, as a file, a link or text, into
/// whatever accepts drops. F2 or "Rename" in the card's context menu turns the name into a field:
/// Enter (or moving on elsewhere in the panel) renames, Escape leaves the name as it was.
class ShelfEntryRow : public QFrame {
public:
    static constexpr int height = 48;

    ShelfEntryRow(brind::ShelfEntry entry, QWidget* parent = nullptr);

    const brind::ShelfEntry& entry() const { return entry_; }

    std::function<void()> onOpen;
    std::function<void()> onCopy;
    std::function<void()> onRemove;
    /// Pin (true) or Unpin (false), from the card's menu.
    std::function<void(bool)> onPin;
    /// The name typed into the rename field, as the user left it (`ShelfStore::rename` decides).
    std::function<void(const QString&)> onRename;
    /// Called with true when the name becomes a field and with false once it is a name again (after
    /// `onRename`): the shelf must not rebuild this row under the user's typing.
    std::function<void(bool)> onEditing;
    /// Called with true as a drag of the entry starts and false when it has ended: the shelf must
    /// not rebuild this row while its drag runs.
    std::function<void(bool)> onDragging;
    /// Starts the drag on the island's surface when it has to start drags itself (a layer-shell
    /// surface); false leaves it to QDrag. Calls its second argument once the drag has ended.
    using NativeDrag = std::function<bool(const ClipFlavours&, std::function<void()>)>;
    NativeDrag startNativeDrag;

    ElidedLabel* nameLabel() const { return name; }
    QPushButton* openButton() const { return open; }
    QPushButton* copyButton() const { return copy; }
    QPushButton* removeButton() const { return remove; }
    QLineEdit* renameField() const { return renameField_; }
    /// The context menu, once it was asked for.
    QMenu* contextMenu() const { return menu; }

    /// Turns the name into a field holding it, its base selected and the keyboard in it.
    void beginRename();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showMenu(QPoint at);
    void finishRename(bool commit);

    brind::ShelfEntry entry_;
    QIcon icon;
    ElidedLabel* name;
    QPushButton* open;
    QPushButton* copy;
    QPushButton* remove;
    QLineEdit* renameField_;
    QMenu* menu = nullptr;
    bool renaming = false;
    QPoint pressedAt;
    bool pressed = false;
};

} // namespace vq
