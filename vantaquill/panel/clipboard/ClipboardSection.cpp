#include "vantaquill/panel/clipboard/ClipboardSection.hpp"

#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/clipboard/ClipboardStore.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/clipboard/ClipListModel.hpp"

#include "BrindKit/clipboard/ClipQuickKeys.hpp"

#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QScrollBar>
#include <QVBoxLayout>

namespace vq {

namespace {

// The "Copied" flash the island shows after an item goes back to the clipboard.
brind::HUDEvent copiedFlash() {
    return brind::HUDEvent::make(brind::HUDEvent::Kind::custom, std::nullopt, true, "doc.on.clipboard.fill", "Copied",
                                 std::nullopt);
}

bool isPlainTyping(const QKeyEvent& key) {
    const auto modifiers = key.modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier);
    return modifiers == Qt::NoModifier && !key.text().isEmpty() && key.text().front().isPrint();
}

bool isEnter(const QKeyEvent& key) {
    return key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
}

// The digit of Ctrl+1 to Ctrl+9 (the keypad's digits too), which copy a row back at once.
std::optional<std::int64_t> quickDigit(const QKeyEvent& key) {
    if ((key.modifiers() & ~Qt::KeypadModifier) != Qt::ControlModifier)
        return std::nullopt;
    if (key.key() < Qt::Key_0 || key.key() > Qt::Key_9)
        return std::nullopt;
    return key.key() - Qt::Key_0;
}

bool isPinToggle(const QKeyEvent& key) {
    return key.key() == Qt::Key_P && key.modifiers() == Qt::ControlModifier;
}

} // namespace

ClipboardSection::ClipboardSection(ClipboardStore& store, LiveActivityCenter& center, ClipboardWriter writer,
                                   QWidget* parent)
    : PanelSection(parent), store(store), center(center), writer(std::move(writer)), model(new ClipListModel(this)),
      search(new QLineEdit(this)), view(new QListView(this)), hint(new QLabel(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(PanelStyle::margin, PanelStyle::margin, PanelStyle::margin, PanelStyle::margin);
    layout->setSpacing(PanelStyle::spacing);

    search->setPlaceholderText(QStringLiteral("Search the clipboard"));
    search->installEventFilter(this);
    // A new query puts its best match under Enter.
    connect(search, &QLineEdit::textChanged, this, [this] {
        refresh();
        select(0);
    });

    auto* delegate = new ClipItemDelegate(*model, view);
    delegate->onClicked = [this](const ClipRow& row, ClipItemDelegate::Part part) { clicked(row, part); };
    view->setModel(model);
    view->setItemDelegate(delegate);
    // Every row is as tall as the next: the view then lays out 500 rows without asking each.
    view->setUniformItemSizes(true);
    // The row under the pointer shows its pin and delete controls.
    view->setMouseTracking(true);
    view->viewport()->setAttribute(Qt::WA_Hover);
    view->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    view->verticalScrollBar()->setSingleStep(ClipItemDelegate::rowHeight);
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->setSelectionMode(QAbstractItemView::SingleSelection);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->installEventFilter(this);

    hint->setProperty("secondary", true);
    hint->setWordWrap(true);
    hint->setTextFormat(Qt::PlainText);
    hint->setAlignment(Qt::AlignCenter);

    layout->addWidget(search);
    layout->addWidget(view, 1);
    layout->addWidget(hint, 1);
    refresh();
}

QString ClipboardSection::title() const {
    return QStringLiteral("Clipboard");
}

bool ClipboardSection::needsUser() const {
    return false;
}

int ClipboardSection::contentHeight(int width) const {
    const int inner = width - 2 * PanelStyle::margin;
    const int rows = model->rowCount();
    const int body = rows > 0 ? rows * ClipItemDelegate::rowHeight + 2 * view->frameWidth()
                              : hint->heightForWidth(inner) + 2 * PanelStyle::spacing;
    return 2 * PanelStyle::margin + search->sizeHint().height() + PanelStyle::spacing + body;
}

void ClipboardSection::refresh() {
    const std::string query = search->text().trimmed().toStdString();
    // A selection the user moved down the list stays on its item; one on the first row stays on the
    // first row, so a new copy arriving is what Enter takes.
    const auto current = view->currentIndex().row() > 0 ? currentID() : std::nullopt;
    std::vector<ClipRow> rows;
    const auto found = store.history().search(query);
    rows.reserve(found.size());
    for (const brind::ClipItem* item : found) {
        const bool concealed = store.isConcealed(*item);
        // Finding a masked item by what it holds would tell its content letter by letter.
        if (concealed && !query.empty())
            continue;
        rows.push_back(ClipRow::of(*item, concealed));
        rows.back().shortcut = ClipRow::shortcutFor(rows.size() - 1);
    }
    model->setRows(std::move(rows));
    if (const QModelIndex index = current ? model->indexOf(*current) : QModelIndex(); index.isValid())
        view->setCurrentIndex(index);
    else if (model->rowCount() > 0)
        view->setCurrentIndex(model->index(0));

    const bool empty = model->rowCount() == 0;
    if (!query.empty())
        hint->setText(QStringLiteral("Nothing in the clipboard history matches \u201C%1\u201D.").arg(search->text().trimmed()));
    else if (!store.settings().enabled)
        hint->setText(QStringLiteral("The clipboard history is off: turn it on in the settings and what you copy "
                                     "will be kept here."));
    else
        hint->setText(QStringLiteral("Text, links, images, files and colours you copy appear here, newest first, "
                                     "ready to copy again. Copy something to begin."));
    view->setVisible(!empty);
    hint->setVisible(empty);
    changed();
}

bool ClipboardSection::copyBack(const brind::UUID& id) {
    const auto flavours = store.copyBack(id);
    if (!flavours)
        return false;
    writer(*flavours);
    center.flash(copiedFlash());
    search->clear();
    requestClose();
    if (onCopiedBack)
        onCopiedBack();
    return true;
}

void ClipboardSection::clicked(const ClipRow& row, ClipItemDelegate::Part part) {
    // The row belongs to the model, which each of these changes rebuilds.
    const brind::UUID id = row.id;
    const bool pinned = row.pinned;
    switch (part) {
    case ClipItemDelegate::Part::body:
        copyBack(id);
        return;
    case ClipItemDelegate::Part::pin:
        store.setPinned(id, !pinned);
        return;
    case ClipItemDelegate::Part::remove:
        store.remove(id);
        return;
    }
    std::unreachable();
}

bool ClipboardSection::quickKey(const QKeyEvent& key) {
    const auto digit = quickDigit(key);
    if (!digit)
        return false;
    // Ctrl+0 and a digit past the list's end copy nothing; the key is still the list's.
    if (const auto row = brind::ClipQuickKeys::index(*digit); row && *row < model->rows().size())
        copyBack(model->rows()[*row].id);
    return true;
}

void ClipboardSection::togglePin() {
    if (const auto id = currentID())
        if (const brind::ClipItem* item = store.history().item(*id))
            store.setPinned(*id, !item->pinned);
}

std::optional<brind::UUID> ClipboardSection::currentID() const {
    const QModelIndex index = view->currentIndex();
    if (!index.isValid() || index.row() >= model->rowCount())
        return std::nullopt;
    return model->row(index).id;
}

void ClipboardSection::select(int row) {
    if (model->rowCount() == 0)
        return;
    const QModelIndex index = model->index(std::clamp(row, 0, model->rowCount() - 1));
    view->setCurrentIndex(index);
    view->scrollTo(index);
}

void ClipboardSection::escape() {
    if (!search->text().isEmpty()) {
        search->clear();
        search->setFocus();
        return;
    }
    requestClose();
}

bool ClipboardSection::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress)
        return PanelSection::eventFilter(watched, event);
    const auto& key = static_cast<const QKeyEvent&>(*event);
    if (watched == search)
        return searchKey(key);
    if (watched == view)
        return listKey(key);
    return false;
}

bool ClipboardSection::searchKey(const QKeyEvent& key) {
    if (quickKey(key))
        return true;
    if (isPinToggle(key)) {
        togglePin();
        return true;
    }
    if (key.key() == Qt::Key_Escape) {
        escape();
        return true;
    }
    if (key.key() == Qt::Key_Down && model->rowCount() > 0) {
        view->setFocus();
        select(view->currentIndex().isValid() ? view->currentIndex().row() : 0);
        return true;
    }
    if (isEnter(key)) {
        if (const auto id = currentID())
            copyBack(*id);
        return true;
    }
    return false;
}

bool ClipboardSection::listKey(const QKeyEvent& key) {
    if (quickKey(key))
        return true;
    const auto id = currentID();
    const int row = view->currentIndex().row();
    if (key.key() == Qt::Key_Escape) {
        escape();
        return true;
    }
    if (isEnter(key)) {
        if (id)
            copyBack(*id);
        return true;
    }
    if (key.key() == Qt::Key_Delete || key.key() == Qt::Key_Backspace) {
        if (id && store.remove(*id))
            select(row);
        return true;
    }
    if (isPinToggle(key)) {
        togglePin();
        return true;
    }
    if (key.key() == Qt::Key_Up && row <= 0) {
        search->setFocus();
        return true;
    }
    // The selection stops at the last row rather than wrapping round to the first.
    if (key.key() == Qt::Key_Up || key.key() == Qt::Key_Down) {
        select(static_cast<int>(brind::ClipQuickKeys::move(row, key.key() == Qt::Key_Up ? -1 : 1, model->rowCount())));
        return true;
    }
    // Typing while the list has the focus goes on with the search.
    if (isPlainTyping(key)) {
        search->setFocus();
        search->insert(key.text());
        return true;
    }
    return false;
}

void ClipboardSection::showEvent(QShowEvent* event) {
    PanelSection::showEvent(event);
    search->setFocus();
}

} // namespace vq
