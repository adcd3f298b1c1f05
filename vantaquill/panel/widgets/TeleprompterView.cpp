#include "vantaquill/panel/widgets/TeleprompterView.hpp"

#include "vantaquill/panel/PanelStyle.hpp"

#include <QPainter>

#include <limits>

namespace vq {

namespace {

/// Read from a little further away than the rest of the panel.
constexpr double textScale = 1.5;
constexpr int viewHeight = 96;

} // namespace

TeleprompterView::TeleprompterView(QWidget* parent) : QWidget(parent) {
    QFont font = this->font();
    font.setPixelSize(static_cast<int>(PanelStyle::bodySize * textScale));
    setFont(font);
    setFixedHeight(viewHeight);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void TeleprompterView::setText(const QString& text) {
    text_ = text;
    update();
}

void TeleprompterView::setOffset(double offset) {
    if (offset == offset_)
        return;
    offset_ = offset;
    update();
}

QRect TeleprompterView::textArea() const {
    return rect().adjusted(PanelStyle::spacing, 0, -PanelStyle::spacing, 0);
}

double TeleprompterView::contentHeight() const {
    const QRect area(0, 0, textArea().width(), std::numeric_limits<int>::max() / 2);
    return fontMetrics().boundingRect(area, Qt::TextWordWrap, text_).height();
}

void TeleprompterView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setClipRect(rect());
    painter.setPen(PanelStyle::text());
    const QRect area = textArea();
    const QRect moved(area.left(), area.top() - static_cast<int>(offset_), area.width(),
                      static_cast<int>(contentHeight()) + 1);
    painter.drawText(moved, Qt::TextWordWrap | Qt::AlignLeft | Qt::AlignTop, text_);
}

} // namespace vq
