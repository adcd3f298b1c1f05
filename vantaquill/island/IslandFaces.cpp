#include "vantaquill/island/IslandFaces.hpp"

#include "BrindKit/island/HUDSteps.hpp"
#include "vantaquill/island/faces/FaceFonts.hpp"
#include "vantaquill/island/faces/FaceLayout.hpp"
#include "vantaquill/island/faces/GlyphPainter.hpp"
#include "vantaquill/island/faces/SymbolIcons.hpp"

#include <QFontMetricsF>
#include <QPainter>
#include <QTransform>

#include <algorithm>
#include <utility>

namespace vq {

namespace {

using brind::ActivityAction;
using brind::IslandState;

/// Faces grow from this scale to their full size as they appear.
constexpr double appearingScale = 0.9;
/// A compact glyph fills this share of its box's side.
constexpr double compactGlyphShare = 0.62;

const QColor primaryText{255, 255, 255, 242};
const QColor secondaryText{255, 255, 255, 150};
const QColor quietFill{255, 255, 255, 36};
const QColor unlitSegment{255, 255, 255, 46};
const QColor defaultPrimaryButton{10, 132, 255};
const QColor destructiveButton{255, 69, 58};

QTransform faceTransform(const IslandScene& scene) {
    const double progress = std::clamp(scene.faceProgress, 0.0, 1.0);
    const double scale = appearingScale + (1 - appearingScale) * progress;
    const QPointF centre = FaceLayout::body(scene).center();
    QTransform transform;
    transform.translate(centre.x(), centre.y());
    transform.scale(scale, scale);
    transform.translate(-centre.x(), -centre.y());
    return transform;
}

QColor accent(const std::optional<brind::RGBA>& tint) {
    return tint ? GlyphPainter::colour(*tint) : QColor(Qt::white);
}

void drawText(QPainter& painter, const std::string& text, const QRectF& rect, const QFont& font,
              const QColor& colour, Qt::Alignment alignment) {
    if (rect.width() <= 0)
        return;
    painter.setFont(font);
    painter.setPen(colour);
    const QString elided =
        QFontMetricsF(font).elidedText(QString::fromStdString(text), Qt::ElideRight, rect.width());
    painter.drawText(rect, static_cast<int>(alignment | Qt::AlignVCenter | Qt::TextSingleLine), elided);
}

void paintBadge(QPainter& painter, const IslandScene& scene) {
    const std::optional<QRectF> capsule = FaceLayout::badge(scene);
    if (!capsule)
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(quietFill);
    painter.drawRoundedRect(*capsule, capsule->height() / 2, capsule->height() / 2);
    drawText(painter, FaceLayout::badgeText(*scene.badge), *capsule,
             FaceFonts::semibold(FaceLayout::badgeFontSize), primaryText, Qt::AlignHCenter);
}

void paintCompact(QPainter& painter, const IslandScene& scene) {
    if (scene.top) {
        const FaceLayout::Wings wings = FaceLayout::wings(scene);
        const GlyphPainter::Style style{FaceLayout::glyphSide(scene) * compactGlyphShare,
                                        FaceLayout::glyphFontSize(scene), accent(scene.top->tint),
                                        scene.time};
        GlyphPainter::paint(painter, scene.top->leading, wings.leading, style);
        GlyphPainter::paint(painter, scene.top->trailing, wings.trailing, style);
    }
    paintBadge(painter, scene);
}

QColor buttonFill(const ActivityAction& action, const QColor& tint) {
    switch (action.role) {
    case ActivityAction::Role::primary:
        return tint;
    case ActivityAction::Role::destructive:
        return destructiveButton;
    case ActivityAction::Role::normal:
    case ActivityAction::Role::cancel:
        return quietFill;
    }
    std::unreachable();
}

void paintButton(QPainter& painter, const ActivityAction& action, const QRectF& rect, const QColor& tint) {
    const QColor fill = buttonFill(action, tint);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(rect, rect.height() / 2, rect.height() / 2);
    // Light fills (a pale tint) take dark text.
    const QColor text = fill.alphaF() > 0.5f && fill.lightnessF() > 0.7f ? QColor(0, 0, 0, 200) : primaryText;
    const QFont font = FaceFonts::semibold(FaceLayout::buttonFontSize);
    const QRectF inner = rect.adjusted(rect.height() / 2, 0, -rect.height() / 2, 0);
    const double symbolSide = action.symbol ? FaceLayout::buttonFontSize + 2 : 0;
    const double symbolGap = action.symbol ? 5 : 0;
    const QFontMetricsF metrics(font);
    const QString label = metrics.elidedText(QString::fromStdString(action.label), Qt::ElideRight,
                                             std::max(0.0, inner.width() - symbolSide - symbolGap));
    const double width = symbolSide + symbolGap + metrics.horizontalAdvance(label);
    const double left = inner.center().x() - width / 2;
    if (action.symbol)
        SymbolIcons::paint(painter, *action.symbol,
                           QRectF(left, rect.center().y() - symbolSide / 2, symbolSide, symbolSide), text);
    painter.setFont(font);
    painter.setPen(text);
    painter.drawText(
        QRectF(left + symbolSide + symbolGap, rect.top(), width - symbolSide - symbolGap + 1, rect.height()),
        static_cast<int>(Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine), label);
}

void paintAlert(QPainter& painter, const IslandScene& scene, const brind::LiveActivity& alert) {
    const FaceLayout::Alert layout = FaceLayout::alert(scene, alert);
    const GlyphPainter::Style style{FaceLayout::rowGlyphSide, FaceLayout::buttonFontSize, accent(alert.tint),
                                    scene.time};
    GlyphPainter::paint(painter, alert.leading, layout.leading, style);
    GlyphPainter::paint(painter, alert.trailing, layout.trailing, style);
    drawText(painter, alert.title, layout.title, FaceFonts::semibold(FaceLayout::titleFontSize), primaryText,
             Qt::AlignLeft);
    if (alert.subtitle)
        drawText(painter, *alert.subtitle, layout.subtitle, FaceFonts::regular(FaceLayout::subtitleFontSize),
                 secondaryText, Qt::AlignLeft);
    const QColor tint = alert.tint ? GlyphPainter::colour(*alert.tint) : defaultPrimaryButton;
    for (std::size_t index = 0; index < layout.buttons.size(); ++index)
        paintButton(painter, alert.actions[index], layout.buttons[index], tint);
}

void paintHUD(QPainter& painter, const IslandScene& scene, const brind::HUDEvent& event) {
    const FaceLayout::HUD layout = FaceLayout::hud(scene, event);
    const QColor colour = accent(event.tint);
    SymbolIcons::paint(painter, event.resolvedSymbol(), layout.symbol, colour);
    if (event.label)
        drawText(painter, *event.label, layout.label, FaceFonts::semibold(FaceLayout::hudFontSize),
                 primaryText, Qt::AlignLeft);
    // A muted output or an event without a level shows an empty bar and 0 %.
    const double level = event.muted || !event.value ? 0.0 : *event.value;
    const int lit = brind::HUDSteps::segments(level);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (int index = 0; index < static_cast<int>(layout.segments.size()); ++index) {
        const QRectF& segment = layout.segments[static_cast<std::size_t>(index)];
        painter.setBrush(index < lit ? colour : unlitSegment);
        painter.drawRoundedRect(segment, 1.5, 1.5);
    }
    drawText(painter, brind::HUDSteps::percent(level) + "%", layout.percent,
             FaceFonts::semibold(FaceLayout::hudFontSize), primaryText, Qt::AlignRight);
}

void paintHeader(QPainter& painter, const IslandScene& scene) {
    if (!scene.top)
        return;
    const FaceLayout::Header layout = FaceLayout::header(scene);
    const GlyphPainter::Style style{FaceLayout::headerGlyphSide, FaceLayout::buttonFontSize,
                                    accent(scene.top->tint), scene.time};
    GlyphPainter::paint(painter, scene.top->leading, layout.leading, style);
    GlyphPainter::paint(painter, scene.top->trailing, layout.trailing, style);
    drawText(painter, scene.top->title, layout.title, FaceFonts::semibold(FaceLayout::titleFontSize),
             primaryText, Qt::AlignLeft);
}

bool visibleAnimation(const brind::ActivityGlyph& glyph, const QRectF& slot) {
    return !slot.isEmpty() && GlyphPainter::animates(glyph);
}

} // namespace

void IslandFaces::paint(QPainter& painter, const IslandScene& scene) {
    const double progress = std::clamp(scene.faceProgress, 0.0, 1.0);
    if (progress <= 0)
        return;
    painter.save();
    painter.setOpacity(painter.opacity() * progress);
    painter.setTransform(faceTransform(scene), true);
    switch (scene.state) {
    case IslandState::closed:
        paintBadge(painter, scene);
        break;
    case IslandState::compact:
        paintCompact(painter, scene);
        break;
    case IslandState::peek:
        // A HUD flash is the newer, shorter message: it shows over a waiting alert.
        if (scene.hud)
            paintHUD(painter, scene, *scene.hud);
        else if (scene.alert)
            paintAlert(painter, scene, *scene.alert);
        break;
    case IslandState::expanded:
        paintHeader(painter, scene);
        break;
    }
    painter.restore();
}

bool IslandFaces::animates(const IslandScene& scene) {
    switch (scene.state) {
    case IslandState::closed:
        return false;
    case IslandState::compact: {
        if (!scene.top)
            return false;
        const FaceLayout::Wings wings = FaceLayout::wings(scene);
        return visibleAnimation(scene.top->leading, wings.leading) ||
               visibleAnimation(scene.top->trailing, wings.trailing);
    }
    case IslandState::peek: {
        if (scene.hud || !scene.alert)
            return false;
        const FaceLayout::Alert layout = FaceLayout::alert(scene, *scene.alert);
        return visibleAnimation(scene.alert->leading, layout.leading) ||
               visibleAnimation(scene.alert->trailing, layout.trailing);
    }
    case IslandState::expanded: {
        if (!scene.top)
            return false;
        const FaceLayout::Header layout = FaceLayout::header(scene);
        return visibleAnimation(scene.top->leading, layout.leading) ||
               visibleAnimation(scene.top->trailing, layout.trailing);
    }
    }
    std::unreachable();
}

std::optional<std::string> IslandFaces::actionAt(const IslandScene& scene, QPointF point) {
    if (scene.state != IslandState::peek || scene.hud || !scene.alert || scene.faceProgress <= 0)
        return std::nullopt;
    const QPointF local = faceTransform(scene).inverted().map(point);
    const FaceLayout::Alert layout = FaceLayout::alert(scene, *scene.alert);
    for (std::size_t index = 0; index < layout.buttons.size(); ++index) {
        if (layout.buttons[index].contains(local))
            return scene.alert->actions[index].id;
    }
    return std::nullopt;
}

} // namespace vq
