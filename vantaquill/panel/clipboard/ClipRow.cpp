#include "vantaquill/panel/clipboard/ClipRow.hpp"

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

} // namespace vq
