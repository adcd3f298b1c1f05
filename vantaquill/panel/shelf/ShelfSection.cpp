#include "vantaquill/panel/shelf/ShelfSection.hpp"

#include "BrindKit/shelf/ShelfExpiry.hpp"

#include "vantaquill/Scheduler.hpp"
#include "vantaquill/ShelfStore.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/shelf/ShelfEntryFlavours.hpp"
#include "vantaquill/panel/shelf/ShelfEntryRow.hpp"

#include <QDesktopServices>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QPushButton>
#include <QScrollArea>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <optional>
#include <utility>

namespace vq {

namespace {

constexpr int rowSpacing = 6;

// The local files among dropped URLs; the shelf holds files that exist, by absolute path.
std::vector<std::string> droppedFiles(const QMimeData& data) {
    std::vector<std::string> paths;
    for (const QUrl& url : data.urls()) {
        if (!url.isLocalFile())
            continue;
        const QFileInfo file(url.toLocalFile());
        if (file.exists())
            paths.push_back(file.absoluteFilePath().toStdString());
    }
    return paths;
}

} // namespace

ShelfSection::ShelfSection(ShelfStore& store, Scheduler& scheduler, ClipboardWriter writer, QWidget* parent)
    : PanelSection(parent), opener([](const QUrl& url) { return QDesktopServices::openUrl(url); }),
      store(store), scheduler(scheduler), writer(std::move(writer)), scroll(new QScrollArea(this)),
      list(nullptr), hint(new QLabel(this)), footer(new QWidget(this)),
      clear(new QPushButton(QStringLiteral("Clear shelf (keeps pinned)"), footer)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(PanelStyle::margin, PanelStyle::margin, PanelStyle::margin, PanelStyle::margin);
    layout->setSpacing(PanelStyle::spacing);

    auto* content = new QWidget;
    list = new QVBoxLayout(content);
    list->setContentsMargins(0, 0, 0, 0);
    list->setSpacing(rowSpacing);
    list->addStretch();
    scroll->setWidget(content);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    hint->setProperty("secondary", true);
    hint->setWordWrap(true);
    hint->setTextFormat(Qt::PlainText);
    hint->setAlignment(Qt::AlignCenter);
    hint->setText(QStringLiteral("Files you put on the shelf wait here until you drag them out again. Drop files "
                                 "on this view while the island is open, or run \u201Cvantaquill shelf add FILE\u201D."));

    auto* footerRow = new QHBoxLayout(footer);
    footerRow->setContentsMargins(0, 0, 0, 0);
    footerRow->addStretch();
    footerRow->addWidget(clear);
    clear->setFocusPolicy(Qt::StrongFocus);
    connect(clear, &QPushButton::clicked, this, [this] { this->store.clearUnpinned(); });

    layout->addWidget(scroll, 1);
    layout->addWidget(hint, 1);
    layout->addWidget(footer);
    setAcceptDrops(true);
    rebuild();
}

QString ShelfSection::title() const {
    return QStringLiteral("Shelf");
}

QString ShelfSection::badge() const {
    const auto count = brind::ShelfExpiry::badge(static_cast<int>(store.library().entries.size()));
    return count ? QString::fromStdString(*count) : QString();
}

bool ShelfSection::needsUser() const {
    return false;
}

int ShelfSection::contentHeight(int width) const {
    const int count = static_cast<int>(rows_.size());
    const int body = count > 0
                         ? count * ShelfEntryRow::height + (count - 1) * rowSpacing + PanelStyle::spacing +
                               clear->sizeHint().height()
                         : hint->heightForWidth(width - 2 * PanelStyle::margin) + 2 * PanelStyle::spacing;
    return 2 * PanelStyle::margin + body;
}

void ShelfSection::refresh() {
    if (dragRunning || renaming) {
        refreshPending = true;
        return;
    }
    rebuild();
}

void ShelfSection::rebuild() {
    // The selected card stays selected: the keyboard waits on the section while the cards are
    // replaced, since a hidden card would take it out of the panel, and goes to the new card.
    const auto selectedAt = selectedIndex();
    std::optional<brind::UUID> selected;
    if (selectedAt)
        selected = rows_[*selectedAt]->entry().id;
    // Nothing of the section had the keyboard: a shelf that was empty while shown gets its first
    // card selected, as when it is shown with cards.
    const bool unselected = !focusWidget() || focusWidget() == this;
    if (selected)
        setFocus(Qt::OtherFocusReason);
    for (ShelfEntryRow* row : rows_) {
        list->removeWidget(row);
        row->hide();
        row->deleteLater();
    }
    rows_.clear();
    for (const brind::ShelfEntry& entry : store.library().entries) {
        auto* row = new ShelfEntryRow(entry);
        const brind::UUID id = entry.id;
        row->onOpen = [this, id] { open(id); };
        row->onCopy = [this, flavours = ShelfEntryFlavours::of(entry)] { writer(flavours); };
        row->onRemove = [this, id] { store.remove(id); };
        row->onPin = [this, id](bool pinned) { store.setPinned(id, pinned); };
        row->onRename = [this, id](const QString& name) { store.rename(id, name.toStdString()); };
        row->onEditing = [this](bool running) { editing(running); };
        row->onDragging = [this](bool running) { dragging(running); };
        row->startNativeDrag = [this](const ClipFlavours& flavours, std::function<void()> finished) {
            return startNativeDrag && startNativeDrag(flavours, std::move(finished));
        };
        row->installEventFilter(this);
        list->insertWidget(list->count() - 1, row);
        // Now rather than on the layout's next turn, so that a card can take the keyboard at once.
        row->show();
        rows_.push_back(row);
    }
    scroll->setVisible(!rows_.empty());
    hint->setVisible(rows_.empty());
    footer->setVisible(!rows_.empty());
    // The cards come first to the keyboard: the island gives it to the section's first control, on
    // which Enter presses, and that must never be Clear.
    if (!rows_.empty())
        setTabOrder(rows_.back()->removeButton(), clear);
    if (selected) {
        const auto row =
            std::ranges::find(rows_, *selected, [](const ShelfEntryRow* card) { return card->entry().id; });
        // Its entry left: the card that took its place, or the one above when it was the last.
        if (row != rows_.end())
            (*row)->setFocus(Qt::OtherFocusReason);
        else if (!rows_.empty())
            select(std::min(*selectedAt, rows_.size() - 1));
    } else if (unselected && isVisible() && !rows_.empty()) {
        select(0);
    }
    clear->setEnabled(
        std::ranges::any_of(store.library().entries, [](const auto& entry) { return !entry.pinned; }));
    changed();
}

void ShelfSection::open(const brind::UUID& id) {
    const auto url = store.openURL(id);
    if (!url)
        return;
    // A link may be written without its scheme ("example.com/page"), as people type them.
    opener(QUrl::fromUserInput(QString::fromStdString(*url)));
    requestClose();
}

void ShelfSection::dragging(bool running) {
    dragRunning = running;
    if (running)
        return;
    // After the row that ran the drag has returned from its event. The entry went where the user
    // took it, so the island, kept open through the drag, closes.
    QTimer::singleShot(0, this, [this] {
        if (std::exchange(refreshPending, false))
            refresh();
        requestClose();
    });
}

void ShelfSection::editing(bool running) {
    renaming = running;
    if (running)
        return;
    if (std::exchange(refreshPending, false))
        refresh();
}

void ShelfSection::dragEnterEvent(QDragEnterEvent* event) {
    if (!droppedFiles(*event->mimeData()).empty())
        event->acceptProposedAction();
}

void ShelfSection::dragMoveEvent(QDragMoveEvent* event) {
    if (!droppedFiles(*event->mimeData()).empty())
        event->acceptProposedAction();
}

void ShelfSection::dropEvent(QDropEvent* event) {
    const auto paths = droppedFiles(*event->mimeData());
    if (paths.empty())
        return;
    store.addFiles(paths, scheduler.now());
    event->acceptProposedAction();
}

std::optional<std::size_t> ShelfSection::selectedIndex() const {
    QWidget* focused = focusWidget();
    if (!focused)
        return std::nullopt;
    for (std::size_t index = 0; index < rows_.size(); ++index) {
        if (rows_[index] == focused || rows_[index]->isAncestorOf(focused))
            return index;
    }
    return std::nullopt;
}

void ShelfSection::select(std::size_t index) {
    if (index >= rows_.size())
        return;
    rows_[index]->setFocus(Qt::OtherFocusReason);
    scroll->ensureWidgetVisible(rows_[index], 0, 0);
}

void ShelfSection::showEvent(QShowEvent* event) {
    PanelSection::showEvent(event);
    // However the island opened on the shelf (a drag, a shake, a link, the button), the keys act on
    // a card at once: the one the user chose before, or the newest.
    if (!rows_.empty())
        select(selectedIndex().value_or(0));
}

bool ShelfSection::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        // The card's own keys, not those its buttons or rename field let through.
        const auto row = std::ranges::find(rows_, watched);
        if (row != rows_.end() && (*row)->hasFocus() && cardKey(**row, static_cast<const QKeyEvent&>(*event)))
            return true;
    }
    return PanelSection::eventFilter(watched, event);
}

bool ShelfSection::cardKey(ShelfEntryRow& row, const QKeyEvent& key) {
    const auto at = std::ranges::find(rows_, &row);
    if (at == rows_.end())
        return false;
    const auto index = static_cast<std::size_t>(at - rows_.begin());
    const brind::ShelfEntry& entry = row.entry();
    // The selection stops at the ends rather than wrapping round, as in the clipboard's list.
    if (key.key() == Qt::Key_Up && key.modifiers() == Qt::NoModifier) {
        select(index == 0 ? 0 : index - 1);
        return true;
    }
    if (key.key() == Qt::Key_Down && key.modifiers() == Qt::NoModifier) {
        select(std::min(index + 1, rows_.size() - 1));
        return true;
    }
    if (key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter) {
        if (entry.kind == brind::ShelfEntry::Kind::text)
            row.copyButton()->click();
        else
            row.openButton()->click();
        return true;
    }
    if (key.key() == Qt::Key_Delete || key.key() == Qt::Key_Backspace) {
        store.remove(entry.id);
        return true;
    }
    if (key.key() == Qt::Key_P && key.modifiers() == Qt::ControlModifier) {
        store.setPinned(entry.id, !entry.pinned);
        return true;
    }
    return false;
}

void ShelfSection::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        requestClose();
        return;
    }
    PanelSection::keyPressEvent(event);
}

} // namespace vq
