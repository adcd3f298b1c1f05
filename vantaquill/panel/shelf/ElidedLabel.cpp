#include "vantaquill/panel/shelf/ElidedLabel.hpp"

#include "vantaquill/panel/PanelStyle.hpp"

#include <QPainter>

namespace vq {

ElidedLabel::ElidedLabel(Tone tone, QWidget* parent) : QWidget(parent), tone(tone) {
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    // The panel's style sheet sizes every widget's text; a label of our own sets its own.
    setStyleSheet(QStringLiteral("font-size: %1px;")
                      .arg(tone == Tone::primary ? PanelStyle::bodySize : PanelStyle::smallSize));
}

void ElidedLabel::setText(const QString& text) {
    if (text == text_)
        return;
    text_ = text;
    updateGeometry();
    update();
}

QString ElidedLabel::shownText() const {
    return fontMetrics().elidedText(text_, Qt::ElideMiddle, width());
}

QSize ElidedLabel::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text_), fontMetrics().height()};
}

QSize ElidedLabel::minimumSizeHint() const {
    return {0, fontMetrics().height()};
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(tone == Tone::primary ? PanelStyle::text() : PanelStyle::secondaryText());
    painter.drawText(rect(), Qt::AlignVCenter | Qt::AlignLeft, shownText());
}

} // namespace vq
