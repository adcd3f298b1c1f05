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
#include <QKeyEvent>
#include <QLabel>
#include <QMimeData>
#include <QScrollArea>
#include <QTimer>

#include <utility>
#include <QVBoxLayout>

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
    : PanelSection(parent), opener([](const QUrl& url) { return QDesktopServices::openUrl(url); }), store(store),
      scheduler(scheduler), writer(std::move(writer)), scroll(new QScrollArea(this)), list(nullptr),
      hint(new QLabel(this)) {
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

    layout->addWidget(scroll, 1);
    layout->addWidget(hint, 1);
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
    const int body = count > 0 ? count * ShelfEntryRow::height + (count - 1) * rowSpacing
                               : hint->heightForWidth(width - 2 * PanelStyle::margin) + 2 * PanelStyle::spacing;
    return 2 * PanelStyle::margin + body;
}

void ShelfSection::refresh() {
    if (dragRunning) {
        refreshPending = true;
        return;
    }
    rebuild();
}

void ShelfSection::rebuild() {
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
        row->onDragging = [this](bool running) { dragging(running); };
        row->startNativeDrag = [this](const ClipFlavours& flavours, std::function<void()> finished) {
            return startNativeDrag && startNativeDrag(flavours, std::move(finished));
        };
        list->insertWidget(list->count() - 1, row);
        rows_.push_back(row);
    }
    scroll->setVisible(!rows_.empty());
    hint->setVisible(rows_.empty());
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

void ShelfSection::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        requestClose();
        return;
    }
    PanelSection::keyPressEvent(event);
}

} // namespace vq
