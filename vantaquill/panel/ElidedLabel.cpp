#include "vantaquill/panel/ElidedLabel.hpp"

#include <QPainter>
#include <QStyle>

namespace vq {

ElidedLabel::ElidedLabel(const QString& text, QWidget* parent) : QLabel(text, parent) {
    setWordWrap(false);
    setTextFormat(Qt::PlainText);
    // Takes the width the layout gives it, whatever the text's own width.
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setElideMode(Qt::TextElideMode mode) {
    mode_ = mode;
    update();
}

QString ElidedLabel::shownText() const {
    QString line = text();
    line.replace(u'\n', u' ');
    return fontMetrics().elidedText(line, mode_, std::max(contentsRect().width(), 0));
}

QSize ElidedLabel::minimumSizeHint() const {
    return {0, fontMetrics().height()};
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), int(alignment()), palette(), isEnabled(), shownText(),
                          foregroundRole());
}

} // namespace vq
