#include "vantaquill/island/faces/SymbolIcons.hpp"

#include "vantaquill/island/faces/IconTheme.hpp"

#include <QHash>
#include <QIcon>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QTransform>

#include <array>
#include <cmath>
#include <numbers>
#include <string>
#include <utility>

namespace vq {

namespace {

using namespace std::string_view_literals;

/// Symbol names (or their leading components, for whole families) and the freedesktop icon names
/// that show the same thing. A symbol is looked up whole first, then with its last component
/// dropped, and so on, so "cloud.moon.rain.fill" finds "cloud.moon.rain" before "cloud".
constexpr std::array<std::pair<std::string_view, std::string_view>, 85> themeTable{{
    {"speaker.slash", "audio-volume-muted"},
    {"speaker.wave.1", "audio-volume-low"},
    {"speaker.wave.2", "audio-volume-medium"},
    {"speaker.wave.3", "audio-volume-high"},
    {"speaker", "audio-volume-high"},
    {"sun.min", "display-brightness"},
    {"sun.max", "display-brightness"},
    {"sun", "display-brightness"},
    {"light.min", "keyboard-brightness"},
    {"light.max", "keyboard-brightness"},
    {"info.circle", "dialog-information"},
    {"questionmark.circle", "dialog-question help-about"},
    {"exclamationmark.triangle", "dialog-warning"},
    {"doc.on.clipboard", "edit-paste"},
    {"doc", "text-x-generic"},
    {"wifi.slash", "network-wireless-offline network-wireless-disconnected"},
    {"wifi.exclamationmark", "network-wireless-no-route network-error"},
    {"wifi", "network-wireless-signal-excellent network-wireless"},
    {"personalhotspot", "network-wireless-hotspot"},
    {"lock.shield", "network-vpn"},
    {"lock.open", "changes-allow"},
    {"lock", "changes-prevent"},
    {"checkmark.icloud", "network-transmit-receive emblem-ok"},
    {"checkmark.circle", "object-select emblem-ok"},
    {"checkmark", "object-select"},
    {"pin", "view-pin"},
    {"trash", "edit-delete user-trash"},
    {"xmark.circle", "window-close"},
    {"xmark", "window-close"},
    {"battery.0", "battery-empty"},
    {"battery.25", "battery-low"},
    {"battery.50", "battery-good"},
    {"battery.75percent", "battery-good"},
    {"battery.100", "battery-full"},
    {"battery", "battery-good"},
    {"bolt", "battery-full-charging"},
    {"timer", "alarm timer"},
    {"clock", "alarm"},
    {"calendar.badge.clock", "appointment-soon x-office-calendar"},
    {"calendar", "x-office-calendar"},
    {"cloud.sun.rain", "weather-showers-scattered"},
    {"cloud.moon.rain", "weather-showers-scattered"},
    {"cloud.sun", "weather-few-clouds"},
    {"cloud.moon", "weather-few-clouds-night"},
    {"cloud.fog", "weather-fog"},
    {"cloud.drizzle", "weather-showers-scattered"},
    {"cloud.heavyrain", "weather-showers"},
    {"cloud.rain", "weather-showers"},
    {"cloud.snow", "weather-snow"},
    {"cloud.bolt", "weather-storm"},
    {"cloud", "weather-overcast"},
    {"moon", "weather-clear-night"},
    {"cpu", "computer"},
    {"memorychip", "media-flash"},
    {"internaldrive", "drive-harddisk"},
    {"arrow.up.arrow.down", "network-transmit-receive"},
    {"arrow.down", "folder-download go-down"},
    {"arrow.up", "send-to go-up"},
    {"link", "insert-link"},
    {"photo", "image-x-generic"},
    {"text.alignleft", "format-justify-left"},
    {"textformat", "format-text-bold"},
    {"paintpalette", "applications-graphics"},
    {"play", "media-playback-start"},
    {"pause", "media-playback-pause"},
    {"stop", "media-playback-stop"},
    {"forward.end", "media-skip-forward"},
    {"backward.end", "media-skip-backward"},
    {"music.note", "audio-x-generic"},
    {"mic", "audio-input-microphone"},
    {"video", "camera-web"},
    {"bell", "preferences-system-notifications"},
    {"terminal", "utilities-terminal"},
    {"headphones", "audio-headphones"},
    {"hifispeaker", "audio-speakers"},
    {"keyboard", "input-keyboard"},
    {"computermouse", "input-mouse"},
    {"gamecontroller", "input-gaming"},
    {"iphone", "phone"},
    {"desktopcomputer", "computer"},
    {"printer", "printer"},
    {"camera", "camera-photo"},
    {"dot.radiowaves", "bluetooth-active bluetooth"},
    {"folder", "folder"},
    {"tray", "user-bookmarks"},
}};

std::string_view withoutLastComponent(std::string_view name) {
    const auto dot = name.rfind('.');
    return dot == std::string_view::npos ? std::string_view{} : name.substr(0, dot);
}

/// Recolours everything the icon covers in one colour: themes draw symbolic icons dark for light
/// backgrounds, and the island is black.
QImage recoloured(const QIcon& icon, int pixels, const QColor& colour) {
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    icon.paint(&painter, image.rect());
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), colour);
    return image;
}

/// The theme's icon for `symbol` in `pixels` device pixels, recoloured; a null image when the theme
/// has none. Looking icons up and rasterising SVGs costs far more than a frame may, so results are
/// kept; the cache never changes what a scene looks like.
const QImage& themeImage(std::string_view symbol, int pixels, const QColor& colour) {
    static QHash<QString, QImage> cache;
    constexpr qsizetype cacheLimit = 256;
    const QString key = QString::fromUtf8(symbol.data(), static_cast<qsizetype>(symbol.size())) + u'|' +
                        QString::number(pixels) + u'|' + QString::number(colour.rgba(), 16);
    if (const auto found = cache.constFind(key); found != cache.constEnd())
        return *found;
    if (cache.size() >= cacheLimit)
        cache.clear();
    IconTheme::ensure();
    QImage image;
    for (const QString& name : SymbolIcons::themeNames(symbol)) {
        for (const QString& candidate : {name + QStringLiteral("-symbolic"), name}) {
            if (QIcon::hasThemeIcon(candidate)) {
                image = recoloured(QIcon::fromTheme(candidate), pixels, colour);
                break;
            }
        }
        if (!image.isNull())
            break;
    }
    return *cache.insert(key, image);
}

bool has(std::string_view symbol, std::string_view part) {
    return symbol.find(part) != std::string_view::npos;
}

// The drawn shapes work in a 24-unit square, scaled to the target.

void drawSpeaker(QPainter& painter, std::string_view symbol, const QPen& pen) {
    QPainterPath body;
    body.moveTo(3, 9);
    body.lineTo(7, 9);
    body.lineTo(12, 4.5);
    body.lineTo(12, 19.5);
    body.lineTo(7, 15);
    body.lineTo(3, 15);
    body.closeSubpath();
    painter.fillPath(body, pen.color());
    if (has(symbol, "slash")) {
        painter.drawLine(QPointF(15, 9), QPointF(21, 15));
        painter.drawLine(QPointF(21, 9), QPointF(15, 15));
        return;
    }
    const int waves = has(symbol, "wave.1") ? 1 : has(symbol, "wave.2") ? 2 : 3;
    for (int wave = 0; wave < waves; ++wave) {
        const double radius = 3.5 + 3.2 * wave;
        painter.drawArc(QRectF(11 - radius, 12 - radius, 2 * radius, 2 * radius), -50 * 16, 100 * 16);
    }
}

void drawSun(QPainter& painter, std::string_view symbol, const QPen& pen) {
    const bool bright = has(symbol, "max");
    painter.setBrush(pen.color());
    painter.drawEllipse(QPointF(12, 12), 4.2, 4.2);
    const double outer = bright ? 11 : 9;
    for (int ray = 0; ray < 8; ++ray) {
        const double angle = ray * std::numbers::pi / 4;
        painter.drawLine(QPointF(12 + 7 * std::cos(angle), 12 + 7 * std::sin(angle)),
                         QPointF(12 + outer * std::cos(angle), 12 + outer * std::sin(angle)));
    }
}

void drawLight(QPainter& painter, std::string_view symbol, const QPen& pen) {
    painter.setBrush(has(symbol, "max") ? QBrush(pen.color()) : QBrush(Qt::NoBrush));
    painter.drawEllipse(QPointF(12, 10), 5.5, 5.5);
    painter.drawLine(QPointF(9.5, 18), QPointF(14.5, 18));
    painter.drawLine(QPointF(10.5, 21), QPointF(13.5, 21));
}

void drawWifi(QPainter& painter, std::string_view symbol, const QPen& pen) {
    for (int arc = 0; arc < 3; ++arc) {
        const double radius = 5 + 5 * arc;
        painter.drawArc(QRectF(12 - radius, 19 - radius, 2 * radius, 2 * radius), 45 * 16, 90 * 16);
    }
    painter.setBrush(pen.color());
    painter.drawEllipse(QPointF(12, 19), 1.6, 1.6);
    if (has(symbol, "slash"))
        painter.drawLine(QPointF(4, 4), QPointF(20, 20));
}

void drawMark(QPainter& painter, const QPen& pen, QChar mark) {
    painter.drawEllipse(QPointF(12, 12), 9.5, 9.5);
    QFont font = painter.font();
    font.setPixelSize(13);
    font.setWeight(QFont::Bold);
    painter.setFont(font);
    painter.setPen(QPen(pen.color()));
    painter.drawText(QRectF(0, 0, 24, 24), Qt::AlignCenter, QString(mark));
}

void drawPin(QPainter& painter, const QPen& pen) {
    painter.setBrush(pen.color());
    painter.drawEllipse(QRectF(7.5, 2, 9, 9));
    painter.drawLine(QPointF(12, 11), QPointF(12, 22));
}

void drawCross(QPainter& painter) {
    painter.drawLine(QPointF(5, 5), QPointF(19, 19));
    painter.drawLine(QPointF(19, 5), QPointF(5, 19));
}

} // namespace

QStringList SymbolIcons::themeNames(std::string_view symbol) {
    // "fill" only says the symbol is solid; it never changes which icon is meant.
    std::string_view name = symbol.ends_with(".fill") ? symbol.substr(0, symbol.size() - 5) : symbol;
    for (; !name.empty(); name = withoutLastComponent(name)) {
        for (const auto& [prefix, names] : themeTable) {
            if (prefix == name)
                return QString::fromLatin1(names.data(), static_cast<qsizetype>(names.size())).split(u' ');
        }
    }
    return {};
}

void SymbolIcons::paint(QPainter& painter, std::string_view symbol, const QRectF& square,
                        const QColor& colour) {
    if (square.isEmpty())
        return;
    const QImage& image = themeImage(symbol, devicePixels(painter, square.width()), colour);
    if (image.isNull()) {
        paintDrawn(painter, symbol, square, colour);
        return;
    }
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(square, image);
    painter.restore();
}

int SymbolIcons::devicePixels(const QPainter& painter, double logical) {
    // The combined transform holds the device's pixel ratio as well as the painter's own scale.
    const QTransform transform = painter.combinedTransform();
    const double scale = std::hypot(transform.m11(), transform.m12());
    return std::max(1, static_cast<int>(std::lround(logical * scale)));
}

void SymbolIcons::paintDrawn(QPainter& painter, std::string_view symbol, const QRectF& square,
                             const QColor& colour) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(square.topLeft());
    painter.scale(square.width() / 24, square.height() / 24);
    const QPen pen(colour, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    if (symbol.starts_with("speaker"))
        drawSpeaker(painter, symbol, pen);
    else if (symbol.starts_with("sun"))
        drawSun(painter, symbol, pen);
    else if (symbol.starts_with("light"))
        drawLight(painter, symbol, pen);
    else if (symbol.starts_with("wifi"))
        drawWifi(painter, symbol, pen);
    else if (symbol.starts_with("info"))
        drawMark(painter, pen, u'i');
    else if (symbol.starts_with("questionmark"))
        drawMark(painter, pen, u'?');
    else if (symbol.starts_with("exclamationmark"))
        drawMark(painter, pen, u'!');
    else if (symbol.starts_with("pin"))
        drawPin(painter, pen);
    else if (symbol.starts_with("xmark") || symbol.starts_with("trash"))
        drawCross(painter);
    else {
        // Any other symbol: a ring around a dot, so the slot still says "something is here".
        painter.drawEllipse(QPointF(12, 12), 9, 9);
        painter.setBrush(colour);
        painter.drawEllipse(QPointF(12, 12), 3.5, 3.5);
    }
    painter.restore();
}

} // namespace vq
