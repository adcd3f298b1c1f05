#include "vantaquill/island/faces/GlyphPainter.hpp"

#include "BrindKit/foundation/Overloaded.hpp"
#include "vantaquill/island/faces/AppIcons.hpp"
#include "vantaquill/island/faces/FaceFonts.hpp"
#include "vantaquill/island/faces/SymbolIcons.hpp"

#include <QFontMetricsF>
#include <QHash>
#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>

namespace vq {

namespace {

constexpr int spinnerSpokes = 8;
constexpr double spinnerTurnsPerSecond = 1.25;
/// Each visualiser bar swings at its own rate so the bars never move in step.
constexpr std::array<double, 4> visualiserRates{7.3, 9.1, 6.2, 8.4};
constexpr std::array<double, 4> visualiserPhases{0.0, 1.7, 3.1, 4.6};
constexpr double imageCornerShare = 0.22;
constexpr qsizetype imageCacheLimit = 64;

QRectF centredSquare(const QRectF& slot, double side) {
    const double fitted = std::min({side, slot.width(), slot.height()});
    return {slot.center().x() - fitted / 2, slot.center().y() - fitted / 2, fitted, fitted};
}

/// Decoded poster images, by a hash of their bytes: decoding every frame would cost milliseconds.
const QImage& decoded(const std::string& bytes) {
    static QHash<std::size_t, QImage> cache;
    const std::size_t key = std::hash<std::string>{}(bytes);
    if (const auto found = cache.constFind(key); found != cache.constEnd())
        return *found;
    if (cache.size() >= imageCacheLimit)
        cache.clear();
    return *cache.insert(
        key, QImage::fromData(reinterpret_cast<const uchar*>(bytes.data()), static_cast<int>(bytes.size())));
}

/// Application icons rasterised at the size they are drawn.
QImage appImage(const std::string& id, int pixels) {
    static QHash<QString, QImage> cache;
    const QString key = QString::fromStdString(id) + u'|' + QString::number(pixels);
    if (const auto found = cache.constFind(key); found != cache.constEnd())
        return *found;
    QImage image;
    if (const QIcon icon = AppIcons::find(id); !icon.isNull()) {
        image = QImage(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        icon.paint(&painter, image.rect());
    }
    return *cache.insert(key, image);
}

void paintImage(QPainter& painter, const QImage& image, const QRectF& square) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QPainterPath clip;
    clip.addRoundedRect(square, square.width() * imageCornerShare, square.width() * imageCornerShare);
    painter.setClipPath(clip, Qt::IntersectClip);
    // Fill the square, cutting the longer side, as a cover picture would.
    const QSizeF size = image.size();
    const double cut = std::min(size.width(), size.height());
    const QRectF source((size.width() - cut) / 2, (size.height() - cut) / 2, cut, cut);
    painter.drawImage(square, image, source);
    painter.restore();
}

/// The drawn stand-in for an application without an icon or an image that does not decode: a
/// rounded tile, so the slot is never blank.
void paintPlaceholder(QPainter& painter, const QRectF& square, const QColor& colour) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QColor fill = colour;
    fill.setAlphaF(0.35f);
    painter.setPen(QPen(colour, std::max(1.0, square.width() / 12)));
    painter.setBrush(fill);
    const QRectF tile = square.adjusted(square.width() * 0.1, square.width() * 0.1, -square.width() * 0.1,
                                        -square.width() * 0.1);
    painter.drawRoundedRect(tile, tile.width() * imageCornerShare, tile.width() * imageCornerShare);
    painter.restore();
}

void paintRing(QPainter& painter, double progress, const QRectF& square, const QColor& colour) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const double width = std::max(2.0, square.width() * 0.14);
    const QRectF circle = square.adjusted(width / 2, width / 2, -width / 2, -width / 2);
    QColor track = colour;
    track.setAlphaF(0.25f);
    painter.setPen(QPen(track, width));
    painter.drawEllipse(circle);
    painter.setPen(QPen(colour, width, Qt::SolidLine, Qt::RoundCap));
    // Clockwise from twelve o'clock; Qt measures angles counter-clockwise in 1/16 degree.
    const int span = static_cast<int>(std::lround(-std::clamp(progress, 0.0, 1.0) * 360 * 16));
    if (span != 0)
        painter.drawArc(circle, 90 * 16, span);
    painter.restore();
}

void paintSpinner(QPainter& painter, const QRectF& square, const QColor& colour, double time) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = square.width() / 2;
    const double width = std::max(1.5, square.width() * 0.11);
    const int head =
        static_cast<int>(std::floor(time * spinnerTurnsPerSecond * spinnerSpokes)) % spinnerSpokes;
    for (int spoke = 0; spoke < spinnerSpokes; ++spoke) {
        const int behind = ((head - spoke) % spinnerSpokes + spinnerSpokes) % spinnerSpokes;
        QColor shade = colour;
        shade.setAlphaF(static_cast<float>(1.0 - 0.8 * behind / (spinnerSpokes - 1.0)));
        painter.setPen(QPen(shade, width, Qt::SolidLine, Qt::RoundCap));
        const double angle = spoke * 2 * std::numbers::pi / spinnerSpokes - std::numbers::pi / 2;
        const QPointF direction(std::cos(angle), std::sin(angle));
        painter.drawLine(square.center() + direction * radius * 0.45,
                         square.center() + direction * (radius - width / 2));
    }
    painter.restore();
}

void paintVisualiser(QPainter& painter, const QRectF& square, const QColor& colour, double time) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    const double count = static_cast<double>(visualiserRates.size());
    const double gap = square.width() * 0.1;
    const double width = (square.width() - gap * (count - 1)) / count;
    for (std::size_t bar = 0; bar < visualiserRates.size(); ++bar) {
        const double level =
            0.3 + 0.7 * std::abs(std::sin(time * visualiserRates[bar] + visualiserPhases[bar]));
        const double height = std::max(width, square.height() * 0.8 * level);
        const QRectF rect(square.left() + static_cast<double>(bar) * (width + gap),
                          square.center().y() - height / 2, width, height);
        painter.drawRoundedRect(rect, width / 2, width / 2);
    }
    painter.restore();
}

void paintText(QPainter& painter, const std::string& text, const QRectF& slot, const QColor& colour,
               double size) {
    painter.save();
    const QFont font = FaceFonts::semibold(size);
    painter.setFont(font);
    painter.setPen(colour);
    const QString elided = QFontMetricsF(font).elidedText(QString::fromStdString(text), Qt::ElideRight,
                                                          std::max(0.0, slot.width()));
    painter.drawText(slot, Qt::AlignCenter | Qt::TextSingleLine, elided);
    painter.restore();
}

} // namespace

QColor GlyphPainter::colour(const brind::RGBA& rgba) {
    const auto unit = [](double value) { return static_cast<float>(std::clamp(value, 0.0, 1.0)); };
    return QColor::fromRgbF(unit(rgba.r), unit(rgba.g), unit(rgba.b), unit(rgba.a));
}

bool GlyphPainter::animates(const brind::ActivityGlyph& glyph) {
    return glyph.as<brind::ActivityGlyph::Spinner>() || glyph.as<brind::ActivityGlyph::Visualiser>();
}

void GlyphPainter::paint(QPainter& painter, const brind::ActivityGlyph& glyph, const QRectF& slot,
                         const Style& style) {
    if (slot.isEmpty())
        return;
    const QRectF square = centredSquare(slot, style.side);
    const auto tinted = [&](const std::optional<brind::RGBA>& tint) {
        return tint ? colour(*tint) : style.accent;
    };
    std::visit(
        brind::Overloaded{
            [&](const brind::ActivityGlyph::Symbol& symbol) {
                SymbolIcons::paint(painter, symbol.name, square, tinted(symbol.tint));
            },
            [&](const brind::ActivityGlyph::Image& image) {
                const QImage& picture = decoded(image.bytes);
                if (picture.isNull())
                    paintPlaceholder(painter, square, style.accent);
                else
                    paintImage(painter, picture, square);
            },
            [&](const brind::ActivityGlyph::AppIcon& app) {
                const QImage icon =
                    appImage(app.bundleIdentifier, SymbolIcons::devicePixels(painter, square.width()));
                if (icon.isNull()) {
                    paintPlaceholder(painter, square, style.accent);
                } else {
                    painter.save();
                    painter.setRenderHint(QPainter::SmoothPixmapTransform);
                    painter.drawImage(square, icon);
                    painter.restore();
                }
            },
            [&](const brind::ActivityGlyph::Ring& ring) {
                paintRing(painter, ring.progress, centredSquare(slot, style.side * 0.9), tinted(ring.tint));
            },
            [&](const brind::ActivityGlyph::Text& text) {
                // A little inner room so the text never touches the outline's curve.
                paintText(painter, text.text, slot.adjusted(4, 0, -4, 0), tinted(text.tint), style.fontSize);
            },
            [&](const brind::ActivityGlyph::Visualiser&) {
                paintVisualiser(painter, centredSquare(slot, style.side * 0.9), style.accent, style.time);
            },
            [&](const brind::ActivityGlyph::Spinner&) {
                paintSpinner(painter, centredSquare(slot, style.side * 0.85), style.accent, style.time);
            },
            [&](const brind::ActivityGlyph::Dot& dot) {
                painter.save();
                painter.setRenderHint(QPainter::Antialiasing);
                painter.setPen(Qt::NoPen);
                painter.setBrush(colour(dot.colour));
                painter.drawEllipse(centredSquare(slot, std::max(6.0, style.side * 0.42)));
                painter.restore();
            },
            [](const brind::ActivityGlyph::None&) {},
        },
        glyph.value);
}

} // namespace vq
