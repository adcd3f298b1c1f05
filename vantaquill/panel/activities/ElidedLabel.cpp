#include "vantaquill/panel/activities/ElidedLabel.hpp"

#include <QPainter>
#include <QStyle>

namespace vq {

ElidedLabel::ElidedLabel(const QString& text, QWidget* parent) : QLabel(text, parent) {
    setWordWrap(false);
    setTextFormat(Qt::PlainText);
    // Takes the width the layout gives it, whatever the text's own width.
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

QSize ElidedLabel::minimumSizeHint() const {
    return {0, QLabel::minimumSizeHint().height()};
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect area = contentsRect();
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, area.width());
    style()->drawItemText(&painter, area, int(alignment()), palette(), isEnabled(), shown, foregroundRole());
}

} // namespace vq
