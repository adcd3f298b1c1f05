#include "vantaquill/panel/clipboard/ClipRow.hpp"

#include "BrindKit/clipboard/ClipQuickKeys.hpp"

#include <QKeySequence>

namespace vq {

ClipRow ClipRow::of(const brind::ClipItem& item, bool concealed) {
    ClipRow row;
    row.id = item.id;
    row.kind = item.kind;
    row.pinned = item.pinned;
    row.concealed = concealed;
    if (item.sourceAppName)
        row.source = QString::fromStdString(*item.sourceAppName);
    if (concealed) {
        row.title = QString::fromUtf8(maskedTitle);
        return row;
    }
    // Titles are single lines already; tabs and other controls would draw as boxes.
    row.title = QString::fromStdString(item.displayTitle()).simplified();
    if (item.kind == brind::ClipKind::colour && item.colour)
        row.swatch = QColor::fromRgbF(static_cast<float>(item.colour->r), static_cast<float>(item.colour->g),
                                      static_cast<float>(item.colour->b), static_cast<float>(item.colour->a));
    return row;
}

QString ClipRow::shortcutFor(std::size_t position) {
    const auto label = brind::ClipQuickKeys::label(static_cast<std::int64_t>(position));
    if (!label)
        return {};
    // The history labels rows with the Command sign; the keyboard here holds Ctrl for the same digit.
    const QString digit = QString::fromStdString(*label).right(1);
    return QKeySequence(QStringLiteral("Ctrl+") + digit).toString(QKeySequence::NativeText);
}

} // namespace vq
