#include "vantaquill/panel/widgets/StatsGraph.hpp"

#include "vantaquill/panel/PanelStyle.hpp"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace vq {

namespace {

constexpr int graphHeight = 28;
constexpr int graphWidth = 120;

} // namespace

StatsGraph::StatsGraph(QColor colour, std::size_t capacity, QWidget* parent)
    : QWidget(parent), colour_(colour), capacity_(std::max<std::size_t>(capacity, 2)) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void StatsGraph::setValues(std::vector<double> values) {
    if (values == values_)
        return;
    values_ = std::move(values);
    update();
}

QSize StatsGraph::sizeHint() const {
    return {graphWidth, graphHeight};
}

void StatsGraph::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = QRectF(rect()).adjusted(1, 1, -1, -1);
    painter.setPen(Qt::NoPen);
    painter.setBrush(PanelStyle::control());
    painter.drawRoundedRect(area, 4, 4);
    if (values_.size() < 2)
        return;
    const double step = area.width() / static_cast<double>(capacity_ - 1);
    const std::size_t shown = std::min(values_.size(), capacity_);
    const std::size_t first = values_.size() - shown;
    QPainterPath line;
    for (std::size_t index = 0; index < shown; ++index) {
        const double x = area.right() - static_cast<double>(shown - 1 - index) * step;
        const double y = area.bottom() - std::clamp(values_[first + index], 0.0, 1.0) * area.height();
        if (index == 0)
            line.moveTo(x, y);
        else
            line.lineTo(x, y);
    }
    QPainterPath fill = line;
    fill.lineTo(area.right(), area.bottom());
    fill.lineTo(line.elementAt(0).x, area.bottom());
    fill.closeSubpath();
    QColor faint = colour_;
    faint.setAlphaF(0.25F);
    painter.fillPath(fill, faint);
    painter.setPen(QPen(colour_, 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(line);
}

} // namespace vq
