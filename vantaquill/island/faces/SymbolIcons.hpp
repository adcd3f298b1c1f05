#pragma once

#include <QColor>
#include <QRectF>
#include <QStringList>

#include <string_view>

class QPainter;

namespace vq {

/// Draws the system symbols activities and HUD flashes name ("speaker.wave.2.fill", "wifi", ...)
/// with the user's icon theme, recoloured in one colour so they read on black, and with a drawn
/// shape where the theme has no icon for a symbol, so a glyph is never blank.
struct SymbolIcons {
    /// The freedesktop icon names tried for `symbol`, best first ("-symbolic" forms are tried before
    /// each of them); empty for a symbol with no counterpart in the naming scheme.
    static QStringList themeNames(std::string_view symbol);

    /// Paints `symbol` filling `square` in `colour`.
    static void paint(QPainter& painter, std::string_view symbol, const QRectF& square, const QColor& colour);

    /// How many device pixels `logical` painter units cover, whether the surface set a pixel ratio
    /// on its buffer or scaled the painter, so icons are rasterised sharp either way.
    static int devicePixels(const QPainter& painter, double logical);

    /// Paints the drawn shape for `symbol` (what shows when the theme has none).
    static void paintDrawn(QPainter& painter, std::string_view symbol, const QRectF& square,
                           const QColor& colour);
};

} // namespace vq
