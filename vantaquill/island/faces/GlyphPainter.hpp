#pragma once

#include "BrindKit/island/ActivityGlyph.hpp"
#include "BrindKit/foundation/RGBA.hpp"

#include <QColor>
#include <QRectF>

class QPainter;

namespace vq {

/// Draws one `ActivityGlyph` centred in a slot: a wing of the compact island, or the ends of a
/// peek row or header.
struct GlyphPainter {
    struct Style {
        /// The side of the square a symbol, ring, image or icon fills.
        double side = 20;
        /// The pixel size of a text glyph's semibold font.
        double fontSize = 13;
        /// The colour of glyphs without a tint of their own: the activity's tint, or white.
        QColor accent = Qt::white;
        /// Seconds, for spinners and visualisers.
        double time = 0;
    };

    static void paint(QPainter& painter, const brind::ActivityGlyph& glyph, const QRectF& slot,
                      const Style& style);

    /// True for the glyphs that move on their own (spinner, visualiser).
    static bool animates(const brind::ActivityGlyph& glyph);

    static QColor colour(const brind::RGBA& rgba);
};

} // namespace vq
