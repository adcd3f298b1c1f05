#pragma once

// Scenes sized the way the island controller sizes them, and a renderer that paints them the way the
// island view does (black outline, then the faces), but without clipping, so a face that strays
// outside the outline shows up in the image.

#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/island/IslandPath.hpp"
#include "vantaquill/island/IslandFaces.hpp"
#include "vantaquill/island/IslandView.hpp"
#include "vantaquill/island/faces/FaceFonts.hpp"

#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <string>
#include <utility>

namespace vq::facetest {

/// A live activity showing the two glyphs, as an app would post it.
inline brind::LiveActivity activity(brind::ActivityGlyph leading, brind::ActivityGlyph trailing,
                                    std::string title = "Timer") {
    brind::LiveActivity result;
    result.id = "test.activity";
    result.leading = std::move(leading);
    result.trailing = std::move(trailing);
    result.title = std::move(title);
    return result;
}

/// The bytes of a plain image of one colour in the given file format, as an app would send it.
inline std::string encodedImage(QSize size, QColor colour, const char* format) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes.toStdString();
}

inline constexpr QSizeF surfaceSize{760, 360};

inline brind::IslandLayout::Input housingInput() {
    brind::IslandLayout::Input input;
    input.metrics.hasNotch = true;
    input.metrics.size = {185, 32};
    input.metrics.menuBarHeight = 32;
    return input;
}

inline brind::IslandLayout::Input floatingInput() {
    brind::IslandLayout::Input input;
    input.floating = true;
    input.metrics.menuBarHeight = 24;
    return input;
}

/// A settled scene of `state` with the outline size the layout gives: the wings of `top` in compact,
/// the alert peek for `alert`, the plain peek for a HUD, the expanded island with its header.
inline IslandScene settledScene(brind::IslandState state, const brind::IslandLayout::Input& input,
                                IslandScene scene = {}) {
    using brind::IslandLayout;
    scene.state = state;
    scene.floating = input.floating;
    scene.housing = input.floating ? QSizeF() : QSizeF(input.metrics.size.width, input.metrics.size.height);
    const auto [leading, trailing] =
        IslandLayout::compactWings(scene.top ? &*scene.top : nullptr, input, FaceFonts::semiboldWidth);
    scene.leadingWing = leading;
    scene.trailingWing = trailing;
    scene.headerHeight = IslandLayout::headerHeight(input);
    brind::SizeF size = IslandLayout::size(state, input, leading, trailing);
    if (state == brind::IslandState::closed && scene.badge)
        size = IslandLayout::badged(input);
    if (state == brind::IslandState::peek && !scene.hud && scene.alert)
        size = IslandLayout::alertPeek(*scene.alert, input);
    if (state == brind::IslandState::expanded)
        size = IslandLayout::expandedForContent(input, scene.contentHeight);
    const double top = input.floating ? IslandLayout::floatingTop(input) : 0;
    scene.outline = QRectF((surfaceSize.width() - size.width) / 2, top, size.width, size.height);
    const auto corners = brind::IslandPath::corners(state, size.height, input.floating,
                                                    brind::IslandPath::defaultCornerRadius);
    scene.ear = corners.ear;
    scene.topRadius = corners.top;
    scene.bottomRadius = corners.bottom;
    return scene;
}

/// Transparent surface, black outline, faces on top (unclipped).
inline QImage render(const IslandScene& scene, double scale = 1) {
    QImage image((surfaceSize * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(IslandView::outlinePath(scene), Qt::black);
    IslandFaces::paint(painter, scene);
    painter.end();
    return image;
}

/// A pixel the faces lit: not black and not transparent.
inline bool lit(QRgb pixel) {
    return qAlpha(pixel) > 0 && std::max({qRed(pixel), qGreen(pixel), qBlue(pixel)}) > 40;
}

/// Lit pixels whose centre lies in `area` (logical coordinates).
inline int litPixels(const QImage& image, const QRectF& area) {
    const double scale = image.devicePixelRatio();
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (area.contains(QPointF((x + 0.5) / scale, (y + 0.5) / scale)) && lit(image.pixel(x, y)))
                ++count;
        }
    }
    return count;
}

/// Pixels painted more than 1.5 logical pixels outside the outline. The outline's own antialiasing
/// leaves a faint pixel beside the sharp tip of an ear; anything fainter than this is not paint.
inline constexpr int faintAlpha = 8;
inline int paintedOutside(const QImage& image, const IslandScene& scene) {
    const QPainterPath outline = IslandView::outlinePath(scene);
    QPainterPathStroker stroker;
    stroker.setWidth(3);
    const QPainterPath edge = stroker.createStroke(outline);
    const double scale = image.devicePixelRatio();
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QPointF point((x + 0.5) / scale, (y + 0.5) / scale);
            if (qAlpha(image.pixel(x, y)) > faintAlpha && !outline.contains(point) && !edge.contains(point))
                ++count;
        }
    }
    return count;
}

} // namespace vq::facetest
