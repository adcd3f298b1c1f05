#include "vantaquill/panel/widgets/ElidedLabel.hpp"

#include "vantaquill/panel/PanelStyle.hpp"

#include <QPainter>

namespace vq {

ElidedLabel::ElidedLabel(Tone tone, QWidget* parent) : QWidget(parent), tone_(tone) {
    QFont font = this->font();
    font.setPixelSize(static_cast<int>(tone == Tone::body ? PanelStyle::bodySize : PanelStyle::smallSize));
    setFont(font);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setText(const QString& text) {
    if (text == text_)
        return;
    text_ = text;
    setAccessibleName(text);
    update();
}

QSize ElidedLabel::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text_), fontMetrics().height()};
}

QSize ElidedLabel::minimumSizeHint() const {
    return {0, fontMetrics().height()};
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(tone_ == Tone::body ? PanelStyle::text() : PanelStyle::secondaryText());
    painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     fontMetrics().elidedText(text_, Qt::ElideRight, width()));
}

} // namespace vq
