#include "vantaquill/panel/shelf/ShelfEntryRow.hpp"

#include "BrindKit/shelf/ShelfNaming.hpp"

#include "vantaquill/panel/ElidedLabel.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/clipboard/QtClipboard.hpp"
#include "vantaquill/panel/shelf/DragPointerGuard.hpp"
#include "vantaquill/panel/shelf/ShelfEntryFlavours.hpp"
#include "vantaquill/panel/shelf/ShelfEntryIcon.hpp"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QDrag>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include <filesystem>

namespace vq {

namespace {

constexpr int iconSide = 28;

// Where the entry is, under its name: a file's folder (the home folder as "~"), a link's address,
// or what a snippet is.
QString location(const brind::ShelfEntry& entry) {
    switch (entry.kind) {
    case brind::ShelfEntry::Kind::file: {
        const QString folder =
            QString::fromStdString(std::filesystem::path(entry.path.value_or("")).parent_path().string());
        const QString home = QDir::homePath();
        if (folder == home || folder.startsWith(home + u'/'))
            return u'~' + folder.mid(home.size());
        return folder;
    }
    case brind::ShelfEntry::Kind::link:
        return QString::fromStdString(entry.text.value_or(""));
    case brind::ShelfEntry::Kind::text:
        return QStringLiteral("Text snippet");
    }
    std::unreachable();
}

QPushButton* button(const QString& text, QWidget* parent) {
    auto* result = new QPushButton(text, parent);
    result->setFocusPolicy(Qt::StrongFocus);
    return result;
}

} // namespace

ShelfEntryRow::ShelfEntryRow(brind::ShelfEntry entry, QWidget* parent)
    : QFrame(parent), entry_(std::move(entry)), icon(ShelfEntryIcon::of(entry_)),
      name(new ElidedLabel({}, this)), open(button(QStringLiteral("Open"), this)),
      copy(button(QStringLiteral("Copy"), this)), remove(button(QStringLiteral("Remove"), this)),
      renameField_(new QLineEdit(this)) {
    setProperty("card", true);
    setFixedHeight(height);
    // A click on the card selects it, for F2 and the menu key; the panel's ring shows which card.
    setProperty("selectable", true);
    setFocusPolicy(Qt::ClickFocus);

    auto* iconLabel = new QLabel(this);
    iconLabel->setFixedSize(iconSide, iconSide);
    iconLabel->setPixmap(icon.pixmap(iconSide, iconSide));

    name->setText(QString::fromStdString(entry_.title));
    // A file's extension says what it is: long names lose their middle.
    name->setElideMode(Qt::ElideMiddle);
    auto* where = new ElidedLabel({}, this);
    where->setProperty("secondary", true);
    where->setText(entry_.pinned ? QStringLiteral("Pinned · ") + location(entry_) : location(entry_));
    auto* text = new QVBoxLayout;
    text->setSpacing(1);
    text->addStretch();
    text->addWidget(name);
    text->addWidget(renameField_);
    text->addWidget(where);
    renameField_->hide();
    renameField_->installEventFilter(this);
    text->addStretch();

    auto* layout = new QHBoxLayout(this);
    // Less the selection ring's pixel, which the card keeps transparent while it is not selected.
    layout->setContentsMargins(PanelStyle::spacing - 1, 0, PanelStyle::spacing - 1, 0);
    layout->setSpacing(PanelStyle::spacing);
    layout->addWidget(iconLabel);
    layout->addLayout(text, 1);
    layout->addWidget(open);
    layout->addWidget(copy);
    layout->addWidget(remove);
    // A snippet is only text: there is nothing to open it in.
    open->setVisible(entry_.kind != brind::ShelfEntry::Kind::text);

    connect(open, &QPushButton::clicked, this, [this] { if (onOpen) onOpen(); });
    connect(copy, &QPushButton::clicked, this, [this] { if (onCopy) onCopy(); });
    connect(remove, &QPushButton::clicked, this, [this] { if (onRemove) onRemove(); });
}

void ShelfEntryRow::mousePressEvent(QMouseEvent* event) {
    // The island hands the panel bare presses, with no context menu event after them.
    if (event->button() == Qt::RightButton) {
        pressed = false;
        showMenu(event->position().toPoint());
        event->accept();
        return;
    }
    pressed = event->button() == Qt::LeftButton;
    if (!pressed) {
        QFrame::mousePressEvent(event);
        return;
    }
    // Accepted, so that the moves of this press come here: inside the panel's scene an ignored
    // press leaves the card without them.
    pressedAt = event->position().toPoint();
    event->accept();
}

void ShelfEntryRow::mouseMoveEvent(QMouseEvent* event) {
    if (!pressed || !(event->buttons() & Qt::LeftButton) ||
        (event->position().toPoint() - pressedAt).manhattanLength() < QApplication::startDragDistance())
        return;
    pressed = false;
    if (startNativeDrag) {
        QPointer<ShelfEntryRow> row(this);
        if (startNativeDrag(ShelfEntryFlavours::of(entry_), [row] {
                if (row && row->onDragging)
                    row->onDragging(false);
            })) {
            if (onDragging)
                onDragging(true);
            return;
        }
    }
    auto* drag = new QDrag(this);
    drag->setMimeData(QtClipboard::mimeData(ShelfEntryFlavours::of(entry_)));
    drag->setPixmap(icon.pixmap(iconSide, iconSide));
    // The drag runs its own event loop until the drop, while this row is on the stack.
    if (onDragging)
        onDragging(true);
    const DragPointerGuard guard;
    drag->exec(Qt::CopyAction | Qt::LinkAction, Qt::CopyAction);
    if (onDragging)
        onDragging(false);
}

void ShelfEntryRow::contextMenuEvent(QContextMenuEvent* event) {
    // A window of its own sends this after the right press that showed the menu already.
    if (!menu || !menu->isVisible())
        showMenu(event->pos());
    event->accept();
}

void ShelfEntryRow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_F2 && event->modifiers() == Qt::NoModifier) {
        beginRename();
        return;
    }
    if (event->key() == Qt::Key_Menu) {
        showMenu(QPoint(name->geometry().left(), height / 2));
        return;
    }
    QFrame::keyPressEvent(event);
}

void ShelfEntryRow::showMenu(QPoint at) {
    if (renaming)
        return;
    if (!menu) {
        // A child of the card, so that the panel shows it inside the island with the card's look.
        menu = new QMenu(this);
        menu->setStyleSheet(
            QStringLiteral("QMenu { background: %1; border: 1px solid #3A3A3C; padding: 4px; }"
                           "QMenu::item { padding: 4px 24px 4px 12px; }"
                           "QMenu::item:selected { background: %2; color: white; }"
                           "QMenu::separator { height: 1px; background: #3A3A3C; margin: 4px 6px; }")
                .arg(PanelStyle::control().name(), PanelStyle::accent().name()));
        // The card's own buttons act for the menu, so both do the same.
        if (entry_.kind != brind::ShelfEntry::Kind::text)
            menu->addAction(QStringLiteral("Open"), open, &QPushButton::click);
        menu->addAction(QStringLiteral("Copy"), copy, &QPushButton::click);
        // The key is written into the text: a real shortcut would also act while the menu is shut.
        menu->addAction(QStringLiteral("Rename\tF2"), this, [this] { beginRename(); });
        const bool pin = !entry_.pinned;
        menu->addAction(pin ? QStringLiteral("Pin") : QStringLiteral("Unpin"), this, [this, pin] {
            if (onPin)
                onPin(pin);
        });
        menu->addSeparator();
        menu->addAction(QStringLiteral("Remove"), remove, &QPushButton::click);
    }
    menu->popup(mapToGlobal(at));
}

void ShelfEntryRow::beginRename() {
    if (renaming)
        return;
    renaming = true;
    if (onEditing)
        onEditing(true);
    const QString title = QString::fromStdString(entry_.title);
    renameField_->setText(title);
    name->hide();
    renameField_->show();
    renameField_->setFocus(Qt::OtherFocusReason);
    // As file managers do: the base is selected, so typing keeps the extension.
    const auto base = brind::ShelfNaming::split(entry_.title).base;
    renameField_->setSelection(0, QString::fromStdString(std::string(base)).size());
}

void ShelfEntryRow::finishRename(bool commit) {
    if (!renaming)
        return;
    renaming = false;
    const QString typed = renameField_->text();
    // The card takes the keyboard back before the field goes, so it does not wander to another card.
    setFocus(Qt::OtherFocusReason);
    renameField_->hide();
    name->show();
    if (commit && onRename)
        onRename(typed);
    if (onEditing)
        onEditing(false);
}

bool ShelfEntryRow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == renameField_ && renaming) {
        const int key = event->type() == QEvent::KeyPress ? static_cast<QKeyEvent*>(event)->key() : 0;
        if (key == Qt::Key_Escape) {
            // Here, not in the section, where Escape closes the island.
            finishRename(false);
            return true;
        }
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            // Taken here: the field would let it on to the card, where Enter opens the entry.
            finishRename(true);
            return true;
        }
        if (event->type() == QEvent::FocusOut) {
            switch (static_cast<QFocusEvent*>(event)->reason()) {
            case Qt::PopupFocusReason: // the field's own menu
                break;
            case Qt::ActiveWindowFocusReason: // the island closed: nothing was confirmed
                finishRename(false);
                break;
            default: // the user moved on in the panel, as a file manager takes it
                finishRename(true);
                break;
            }
        }
    }
    return QFrame::eventFilter(watched, event);
}

} // namespace vq
