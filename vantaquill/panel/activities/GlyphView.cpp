#include "vantaquill/panel/activities/GlyphView.hpp"

#include "vantaquill/island/faces/FaceFonts.hpp"
#include "vantaquill/island/faces/GlyphPainter.hpp"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace vq {

namespace {

/// Room on each side of a text glyph, so a countdown does not touch its neighbours.
constexpr double textPadding = 4;

} // namespace

GlyphView::GlyphView(QWidget* parent) : QWidget(parent) {
    setFixedSize(slot, slot);
    hide();
}

void GlyphView::setGlyph(const brind::ActivityGlyph& glyph, const QColor& accent) {
    if (glyph == glyph_ && accent == accent_)
        return;
    glyph_ = glyph;
    accent_ = accent;
    // A text glyph (a countdown, a short label) is as wide as its text.
    int width = slot;
    if (const auto* text = glyph_.as<brind::ActivityGlyph::Text>())
        width = std::max(slot, int(std::ceil(FaceFonts::semiboldWidth(text->text, fontSize) + 2 * textPadding)));
    setFixedSize(width, slot);
    setVisible(!glyph_.isNone());
    update();
}

void GlyphView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    GlyphPainter::paint(painter, glyph_, QRectF(rect()), {.side = side, .fontSize = fontSize, .accent = accent_, .time = 0});
}

} // namespace vq
