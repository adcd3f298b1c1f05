#include "vantaquill/island/faces/FaceLayout.hpp"

#include "vantaquill/island/faces/FaceFonts.hpp"

#include <algorithm>
#include <string>

namespace vq {

namespace {

/// Room kept between the outer ends of a floating pill and its wings.
constexpr double floatingWingInset = 12;
constexpr double badgeHeight = 18;
constexpr double badgeMinimumWidth = 16;
constexpr double badgeTextPadding = 8;
constexpr double floatingBadgeRoom = 30;
constexpr double floatingBadgeInset = 8;
constexpr double buttonBottomPadding = 12;
constexpr double rowGap = 10;
constexpr double hudSymbolSide = 22;
constexpr double hudLabelShare = 0.32;
constexpr double segmentGap = 2;
constexpr double segmentHeight = 6;
constexpr double trailingTextMaximum = 96;
constexpr double headerGap = 6;
constexpr double contentBottomPadding = 16;

QRectF square(double centreX, double centreY, double side) {
    return {centreX - side / 2, centreY - side / 2, side, side};
}

/// A rectangle spanning x0...x1 (empty when x1 < x0) over the vertical extent of `band`.
QRectF span(double x0, double x1, const QRectF& band) {
    return {x0, band.top(), std::max(0.0, x1 - x0), band.height()};
}

/// The width a glyph takes at the end of a peek row or header.
double rowGlyphWidth(const brind::ActivityGlyph& glyph, double side) {
    if (glyph.isNone())
        return 0;
    if (const auto* text = glyph.as<brind::ActivityGlyph::Text>())
        return std::min(FaceFonts::semiboldWidth(text->text, FaceLayout::buttonFontSize) + 8,
                        trailingTextMaximum);
    return side;
}

} // namespace

brind::IslandLayout::Input FaceLayout::input(const IslandScene& scene) {
    brind::IslandLayout::Input input;
    input.floating = scene.floating;
    if (!scene.floating) {
        input.metrics.hasNotch = true;
        input.metrics.size = {scene.housing.width(), scene.housing.height()};
    }
    return input;
}

double FaceLayout::glyphSide(const IslandScene& scene) {
    return brind::IslandLayout::glyphSide(input(scene));
}

double FaceLayout::glyphFontSize(const IslandScene& scene) {
    return brind::IslandLayout::glyphFontSize(input(scene));
}

QRectF FaceLayout::body(const IslandScene& scene) {
    // The outline cuts its ears the same way.
    const double ear =
        std::clamp(scene.ear, 0.0, std::min(scene.outline.width() / 4, scene.outline.height() / 2));
    return scene.outline.adjusted(ear, 0, -ear, 0);
}

QRectF FaceLayout::housing(const IslandScene& scene) {
    if (scene.floating)
        return {};
    return {scene.outline.center().x() - scene.housing.width() / 2, scene.outline.top(),
            scene.housing.width(), scene.housing.height()};
}

QRectF FaceLayout::belowHousing(const IslandScene& scene) {
    const QRectF whole = body(scene);
    if (scene.floating)
        return whole;
    const double top = std::min(whole.bottom(), whole.top() + scene.housing.height());
    return {whole.left(), top, whole.width(), whole.bottom() - top};
}

FaceLayout::Wings FaceLayout::wings(const IslandScene& scene) {
    const QRectF whole = body(scene);
    if (scene.floating) {
        const double left = whole.left() + floatingWingInset;
        const double right = whole.right() - floatingWingInset;
        // When the pill is still too narrow (it is growing), the wings share what there is.
        const double middle = whole.center().x();
        return {span(left, std::min(left + scene.leadingWing, middle), whole),
                span(std::max(right - scene.trailingWing, middle), right, whole)};
    }
    // Each wing starts at the outer end of its side: the wider wing sets both sides' room, so the
    // narrower glyph sits out at the end rather than pressed against the housing.
    const QRectF camera = housing(scene);
    const double leftEnd = std::min(camera.left(), whole.left() + scene.leadingWing);
    const double rightStart = std::max(camera.right(), whole.right() - scene.trailingWing);
    return {span(whole.left(), leftEnd, whole), span(rightStart, whole.right(), whole)};
}

std::optional<QRectF> FaceLayout::badge(const IslandScene& scene) {
    if (!scene.badge)
        return std::nullopt;
    const QRectF whole = body(scene);
    QRectF room;
    switch (scene.state) {
    case brind::IslandState::closed:
        room = scene.floating ? span(whole.right() - floatingBadgeInset - floatingBadgeRoom,
                                     whole.right() - floatingBadgeInset, whole)
                              : span(housing(scene).right(), whole.right(), whole);
        break;
    case brind::IslandState::compact: {
        const Wings both = wings(scene);
        room = scene.floating ? span(both.trailing.left() - floatingBadgeRoom, both.trailing.left(), whole)
                              : span(housing(scene).right(), both.trailing.left(), whole);
        break;
    }
    case brind::IslandState::peek:
    case brind::IslandState::expanded:
        return std::nullopt;
    }
    if (room.width() < badgeMinimumWidth || room.height() < badgeHeight)
        return std::nullopt;
    const double width =
        std::clamp(FaceFonts::semiboldWidth(badgeText(*scene.badge), badgeFontSize) + badgeTextPadding,
                   badgeMinimumWidth, room.width());
    return QRectF{room.center().x() - width / 2, room.center().y() - badgeHeight / 2, width, badgeHeight};
}

std::string FaceLayout::badgeText(int count) {
    return count > maximumBadgeCount ? std::to_string(maximumBadgeCount) + "+" : std::to_string(count);
}

bool FaceLayout::showsButtons(const brind::LiveActivity& alert) {
    return alert.priority == brind::ActivityPriority::critical && !alert.actions.empty();
}

FaceLayout::Alert FaceLayout::alert(const IslandScene& scene, const brind::LiveActivity& alert) {
    const QRectF content = belowHousing(scene).adjusted(horizontalPadding, 0, -horizontalPadding, 0);
    Alert layout;
    QRectF row = content;
    if (showsButtons(alert)) {
        const double buttonsTop = content.bottom() - buttonBottomPadding - buttonHeight;
        row =
            QRectF(content.left(), content.top(), content.width(), std::max(0.0, buttonsTop - content.top()));
        const auto count = static_cast<double>(alert.actions.size());
        const double width = std::max(0.0, (content.width() - buttonGap * (count - 1)) / count);
        for (std::size_t index = 0; index < alert.actions.size(); ++index)
            layout.buttons.emplace_back(content.left() + static_cast<double>(index) * (width + buttonGap),
                                        buttonsTop, width, buttonHeight);
    }
    const double centreY = row.center().y();
    const double leadingWidth = rowGlyphWidth(alert.leading, rowGlyphSide);
    const double trailingWidth = rowGlyphWidth(alert.trailing, rowGlyphSide);
    layout.leading = QRectF(row.left(), centreY - rowGlyphSide / 2, leadingWidth, rowGlyphSide);
    layout.trailing =
        QRectF(row.right() - trailingWidth, centreY - rowGlyphSide / 2, trailingWidth, rowGlyphSide);
    const double textLeft = leadingWidth > 0 ? layout.leading.right() + rowGap : row.left();
    const double textRight = trailingWidth > 0 ? layout.trailing.left() - rowGap : row.right();
    const double textWidth = std::max(0.0, textRight - textLeft);
    const double titleHeight = titleFontSize + 5;
    if (alert.subtitle) {
        const double subtitleHeight = subtitleFontSize + 4;
        const double top = centreY - (titleHeight + subtitleHeight) / 2;
        layout.title = QRectF(textLeft, top, textWidth, titleHeight);
        layout.subtitle = QRectF(textLeft, top + titleHeight, textWidth, subtitleHeight);
    } else {
        layout.title = QRectF(textLeft, centreY - titleHeight / 2, textWidth, titleHeight);
    }
    return layout;
}

FaceLayout::HUD FaceLayout::hud(const IslandScene& scene, const brind::HUDEvent& event) {
    const QRectF row = belowHousing(scene).adjusted(horizontalPadding, 0, -horizontalPadding, 0);
    const double centreY = row.center().y();
    const double textHeight = hudFontSize + 6;
    HUD layout;
    layout.symbol = square(row.left() + hudSymbolSide / 2, centreY, hudSymbolSide);
    const double percentWidth = FaceFonts::semiboldWidth("100%", hudFontSize);
    layout.percent = QRectF(row.right() - percentWidth, centreY - textHeight / 2, percentWidth, textHeight);
    double barLeft = layout.symbol.right() + rowGap;
    if (event.label && !event.label->empty()) {
        const double width =
            std::min(FaceFonts::semiboldWidth(*event.label, hudFontSize) + 1, row.width() * hudLabelShare);
        layout.label = QRectF(barLeft, centreY - textHeight / 2, width, textHeight);
        barLeft = layout.label.right() + rowGap;
    }
    const double barRight = layout.percent.left() - rowGap;
    const double segments = brind::HUDSteps::barSegments;
    const double segmentWidth = std::max(0.0, (barRight - barLeft - segmentGap * (segments - 1)) / segments);
    for (std::size_t index = 0; index < layout.segments.size(); ++index)
        layout.segments[index] = QRectF(barLeft + static_cast<double>(index) * (segmentWidth + segmentGap),
                                        centreY - segmentHeight / 2, segmentWidth, segmentHeight);
    return layout;
}

FaceLayout::Header FaceLayout::header(const IslandScene& scene) {
    const QRectF whole = body(scene);
    const QRectF band(whole.left(), whole.top(), whole.width(), std::min(scene.headerHeight, whole.height()));
    double leftEnd = band.right() - horizontalPadding;
    double rightStart = band.left() + horizontalPadding;
    if (!scene.floating) {
        leftEnd = housing(scene).left() - rowGap;
        rightStart = housing(scene).right() + rowGap;
    }
    const double centreY = band.center().y();
    const double left = band.left() + horizontalPadding;
    const double right = band.right() - horizontalPadding;
    const brind::LiveActivity* top = scene.top ? &*scene.top : nullptr;
    const double leadingWidth = top ? rowGlyphWidth(top->leading, headerGlyphSide) : 0;
    const double trailingWidth = top ? rowGlyphWidth(top->trailing, headerGlyphSide) : 0;
    Header layout;
    layout.leading = QRectF(left, centreY - headerGlyphSide / 2,
                            std::min(leadingWidth, std::max(0.0, leftEnd - left)), headerGlyphSide);
    layout.trailing = QRectF(std::max(right - trailingWidth, rightStart), centreY - headerGlyphSide / 2,
                             std::min(trailingWidth, std::max(0.0, right - rightStart)), headerGlyphSide);
    const double titleLeft = leadingWidth > 0 ? layout.leading.right() + rowGap : left;
    const double titleRight =
        scene.floating && trailingWidth > 0 ? layout.trailing.left() - rowGap : std::min(leftEnd, right);
    layout.title = QRectF(titleLeft, centreY - (titleFontSize + 5) / 2, std::max(0.0, titleRight - titleLeft),
                          titleFontSize + 5);
    const double contentTop = band.bottom() + headerGap;
    const double available = std::max(0.0, whole.bottom() - contentBottomPadding - contentTop);
    layout.content = QRectF(whole.left() + horizontalPadding, contentTop,
                            std::max(0.0, whole.width() - 2 * horizontalPadding),
                            std::min(scene.contentHeight.value_or(available), available));
    return layout;
}

} // namespace vq
