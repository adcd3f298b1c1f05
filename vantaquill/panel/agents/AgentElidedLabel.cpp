#include "vantaquill/panel/agents/AgentElidedLabel.hpp"

#include <QEvent>
#include <QFontMetrics>

#include <algorithm>

namespace vq {

AgentElidedLabel::AgentElidedLabel(QWidget* parent) : QLabel(parent) {
    // The layout decides the width; the text adapts to it instead of the other way round.
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    setTextFormat(Qt::PlainText);
}

void AgentElidedLabel::setFullText(const QString& text) {
    if (text == full)
        return;
    full = text;
    elide();
}

void AgentElidedLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    elide();
}

void AgentElidedLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    // The style sheet sets the font after construction; the cut must follow it.
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        elide();
}

void AgentElidedLabel::elide() {
    QString line = full;
    line.replace(u'\n', u' ');
    setText(fontMetrics().elidedText(line, Qt::ElideRight, std::max(width(), 0)));
    // While still unsized the cut text may be empty; the line keeps its height all the same.
    setMinimumHeight(fontMetrics().height());
}

} // namespace vq
