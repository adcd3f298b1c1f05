#include "vantaquill/panel/clipboard/ThemeGlyph.hpp"

#include "vantaquill/island/faces/IconTheme.hpp"
#include "vantaquill/island/faces/SymbolIcons.hpp"

#include <QHash>
#include <QIcon>
#include <QImage>
#include <QPainter>

namespace vq {

namespace {

QImage rendered(const QStringList& names, int pixels, const QColor& colour) {
    IconTheme::ensure();
    for (const QString& name : names) {
        for (const QString& candidate : {name + QStringLiteral("-symbolic"), name}) {
            if (!QIcon::hasThemeIcon(candidate))
                continue;
            QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
            QPainter painter(&image);
            QIcon::fromTheme(candidate).paint(&painter, image.rect());
            painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
            painter.fillRect(image.rect(), colour);
            return image;
        }
    }
    return {};
}

} // namespace

// Looking an icon up and rasterising its SVG costs far more than a frame may; a list paints the
// same few glyphs on every row, so each is rendered once per size and colour.
bool ThemeGlyph::paint(QPainter& painter, const QStringList& names, const QRectF& square, const QColor& colour) {
    static QHash<QString, QImage> cache;
    constexpr qsizetype cacheLimit = 64;
    const int pixels = SymbolIcons::devicePixels(painter, square.width());
    const QString key = names.join(u',') + u'|' + QString::number(pixels) + u'|' + QString::number(colour.rgba(), 16);
    auto found = cache.constFind(key);
    if (found == cache.constEnd()) {
        if (cache.size() >= cacheLimit)
            cache.clear();
        found = cache.insert(key, rendered(names, pixels, colour));
    }
    if (found->isNull())
        return false;
    painter.drawImage(square, *found);
    return true;
}

} // namespace vq
