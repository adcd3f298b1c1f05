#include "vantaquill/panel/clipboard/ClipItemDelegate.hpp"

#include "vantaquill/island/faces/SymbolIcons.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/clipboard/ClipListModel.hpp"

#include <QMouseEvent>
#include <QPainter>

namespace vq {

namespace {

constexpr int inset = 10;      // from the row's edges to its content
constexpr int iconSide = 18;
constexpr int controlSide = 16;
constexpr int gap = 10;
constexpr int maxSourceWidth = 130;

QFont sized(double pixels) {
    QFont font;
    font.setPixelSize(static_cast<int>(pixels));
    return font;
}

QRect square(int left, const QRect& row, int side) {
    return {left, row.center().y() - side / 2 + 1, side, side};
}

QRect removeRect(const QRect& row) {
    return square(row.right() - inset - controlSide, row, controlSide);
}

QRect pinRect(const QRect& row) {
    return square(removeRect(row).left() - gap - controlSide, row, controlSide);
}

} // namespace

ClipItemDelegate::ClipItemDelegate(const ClipListModel& model, QObject* parent)
    : QStyledItemDelegate(parent), model(model), titleFont(sized(PanelStyle::bodySize)),
      sourceFont(sized(PanelStyle::smallSize)), titleMetrics(titleFont), sourceMetrics(sourceFont) {}

ClipItemDelegate::Part ClipItemDelegate::partAt(const QRect& rect, const QPoint& point) {
    // The controls take a little more than their glyphs, so they are easy to hit.
    const int slack = gap / 2;
    if (removeRect(rect).adjusted(-slack, -slack, slack, slack).contains(point))
        return Part::remove;
    if (pinRect(rect).adjusted(-slack, -slack, slack, slack).contains(point))
        return Part::pin;
    return Part::body;
}

void ClipItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const ClipRow& row = model.row(index);
    const QRect rect = option.rect;
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const bool hovered = option.state.testFlag(QStyle::State_MouseOver);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (selected || hovered) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(selected ? PanelStyle::control() : PanelStyle::card());
        painter->drawRoundedRect(QRectF(rect).adjusted(2, 1, -2, -1), 7, 7);
    }

    const QRect icon = square(rect.left() + inset, rect, iconSide);
    if (row.swatch) {
        painter->setPen(QPen(QColor(0x48, 0x48, 0x4A), 1));
        painter->setBrush(*row.swatch);
        painter->drawRoundedRect(QRectF(icon).adjusted(1, 1, -1, -1), 4, 4);
    } else {
        const std::string_view symbol = row.concealed ? std::string_view("lock") : brind::symbol(row.kind);
        SymbolIcons::paint(*painter, symbol, icon, PanelStyle::secondaryText());
    }

    const bool showControls = selected || hovered;
    if (row.pinned || showControls) {
        const QColor colour = row.pinned ? PanelStyle::accent() : PanelStyle::secondaryText();
        SymbolIcons::paint(*painter, "pin", pinRect(rect), colour);
    }
    if (showControls)
        SymbolIcons::paint(*painter, "trash", removeRect(rect), PanelStyle::secondaryText());

    const int textLeft = icon.right() + gap;
    int textRight = pinRect(rect).left() - gap;
    painter->setFont(sourceFont);
    painter->setPen(PanelStyle::secondaryText());
    if (!row.shortcut.isEmpty()) {
        const double width = sourceMetrics.horizontalAdvance(row.shortcut);
        const QRectF shortcutRect(textRight - width, rect.top(), width + 1, rect.height());
        painter->drawText(shortcutRect, Qt::AlignVCenter | Qt::AlignRight, row.shortcut);
        textRight = static_cast<int>(shortcutRect.left()) - gap;
    }
    if (!row.source.isEmpty()) {
        const QString source = sourceMetrics.elidedText(row.source, Qt::ElideRight, maxSourceWidth);
        const double width = sourceMetrics.horizontalAdvance(source);
        const QRectF sourceRect(textRight - width, rect.top(), width + 1, rect.height());
        painter->drawText(sourceRect, Qt::AlignVCenter | Qt::AlignRight, source);
        textRight = static_cast<int>(sourceRect.left()) - gap;
    }
    const double titleWidth = std::max(0, textRight - textLeft);
    painter->setFont(titleFont);
    painter->setPen(row.concealed ? PanelStyle::secondaryText() : PanelStyle::text());
    painter->drawText(QRectF(textLeft, rect.top(), titleWidth, rect.height()), Qt::AlignVCenter | Qt::AlignLeft,
                      titleMetrics.elidedText(row.title, Qt::ElideRight, titleWidth));
    painter->restore();
}

QSize ClipItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    return {option.rect.width(), rowHeight};
}

bool ClipItemDelegate::editorEvent(QEvent* event, QAbstractItemModel*, const QStyleOptionViewItem& option,
                                   const QModelIndex& index) {
    if (event->type() == QEvent::MouseButtonDblClick)
        return true; // the first click already chose the row
    if (event->type() != QEvent::MouseButtonRelease)
        return false;
    const auto* mouse = static_cast<QMouseEvent*>(event);
    const QPoint point = mouse->position().toPoint();
    if (mouse->button() != Qt::LeftButton || !option.rect.contains(point) || !index.isValid())
        return false;
    if (onClicked)
        onClicked(model.row(index), partAt(option.rect, point));
    return true;
}

} // namespace vq
