#pragma once

#include "vantaquill/panel/clipboard/ClipRow.hpp"

#include <QFont>
#include <QFontMetricsF>
#include <QStyledItemDelegate>

#include <functional>

namespace vq {

class ClipListModel;

/// Paints one clipboard row: the kind's icon (a swatch for a colour, a lock for a masked item), the
/// title, the source application, the quick key ("Ctrl+1") of the first nine rows, and the pin and
/// delete controls, which show on the row under the pointer or selected (a pinned row always shows
/// its pin). Painting reads the row's few strings and cached glyphs only, so a long list scrolls
/// within a frame.
class ClipItemDelegate : public QStyledItemDelegate {
public:
    static constexpr int rowHeight = 34;

    /// Where a click on a row landed.
    enum class Part { body, pin, remove };

    ClipItemDelegate(const ClipListModel& model, QObject* parent);

    /// The part of a row drawn in `rect` that lies under `point`.
    static Part partAt(const QRect& rect, const QPoint& point);

    /// Called when a row is clicked (on release, inside the row).
    std::function<void(const ClipRow&, Part)> onClicked;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

private:
    const ClipListModel& model;
    QFont titleFont;
    QFont sourceFont;
    QFontMetricsF titleMetrics;
    QFontMetricsF sourceMetrics;
};

} // namespace vq
