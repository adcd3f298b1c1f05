#pragma once

#include <QColor>
#include <QRectF>
#include <QStringList>

class QPainter;

namespace vq {

/// A small monochrome icon from the user's icon theme, recoloured to read on the island's black,
/// for the controls painted inside list rows (pin, delete) where no button widget exists.
struct ThemeGlyph {
    /// Paints the first of `names` the theme has ("-symbolic" forms first) filling `square` in
    /// `colour`; false, having painted nothing, when the theme has none of them.
    static bool paint(QPainter& painter, const QStringList& names, const QRectF& square, const QColor& colour);
};

} // namespace vq
