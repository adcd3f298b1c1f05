#pragma once

#include "vantaquill/clipboard/ClipFlavour.hpp"

#include "BrindKit/shelf/ShelfEntry.hpp"

#include <QFrame>
#include <QPoint>

#include <functional>

class QPushButton;

namespace vq {

class ElidedLabel;

/// One shelf entry as a card: its icon, name and where it is, with Open (files and links), Copy and
/// Remove. Dragging the card takes the entry out of the island, as a file, a link or text, into
/// whatever accepts drops.
class ShelfEntryRow : public QFrame {
public:
    static constexpr int height = 48;

    ShelfEntryRow(brind::ShelfEntry entry, QWidget* parent = nullptr);

    const brind::ShelfEntry& entry() const { return entry_; }

    std::function<void()> onOpen;
    std::function<void()> onCopy;
    std::function<void()> onRemove;
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

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    brind::ShelfEntry entry_;
    QIcon icon;
    ElidedLabel* name;
    QPushButton* open;
    QPushButton* copy;
    QPushButton* remove;
    QPoint pressedAt;
    bool pressed = false;
};

} // namespace vq
