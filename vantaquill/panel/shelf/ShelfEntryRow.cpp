#include "vantaquill/panel/shelf/ShelfEntryRow.hpp"

#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/clipboard/QtClipboard.hpp"
#include "vantaquill/panel/shelf/DragPointerGuard.hpp"
#include "vantaquill/panel/ElidedLabel.hpp"
#include "vantaquill/panel/shelf/ShelfEntryFlavours.hpp"
#include "vantaquill/panel/shelf/ShelfEntryIcon.hpp"

#include <QApplication>
#include <QDir>
#include <QDrag>
#include <QHBoxLayout>
#include <QLabel>
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
      copy(button(QStringLiteral("Copy"), this)), remove(button(QStringLiteral("Remove"), this)) {
    setProperty("card", true);
    setFixedHeight(height);

    auto* iconLabel = new QLabel(this);
    iconLabel->setFixedSize(iconSide, iconSide);
    iconLabel->setPixmap(icon.pixmap(iconSide, iconSide));

    name->setText(QString::fromStdString(entry_.title));
    // A file's extension says what it is: long names lose their middle.
    name->setElideMode(Qt::ElideMiddle);
    auto* where = new ElidedLabel({}, this);
    where->setProperty("secondary", true);
    where->setText(location(entry_));
    auto* text = new QVBoxLayout;
    text->setSpacing(1);
    text->addStretch();
    text->addWidget(name);
    text->addWidget(where);
    text->addStretch();

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(PanelStyle::spacing, 0, PanelStyle::spacing, 0);
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

} // namespace vq
