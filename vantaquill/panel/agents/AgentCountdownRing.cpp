#include "vantaquill/panel/agents/AgentCountdownRing.hpp"

#include "vantaquill/panel/PanelStyle.hpp"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace vq {

namespace {

constexpr int side = 30;
constexpr double lineWidth = 3;
/// Below this share of the waiting time the ring turns red: the agent will soon ask in its
/// terminal instead.
constexpr double urgentShare = 0.2;
/// Qt measures arcs in sixteenths of a degree.
constexpr int fullCircle = 360 * 16;

/// What fits inside the ring: seconds up to 99, then minutes, then hours.
QString shortRemaining(double seconds) {
    constexpr double minute = 60;
    constexpr double hour = 3600;
    constexpr double widestSeconds = 99;
    constexpr double widestMinutes = 99 * minute;
    if (seconds <= widestSeconds)
        return QString::number(static_cast<long long>(std::ceil(seconds)));
    if (seconds <= widestMinutes)
        return QString::number(static_cast<long long>(std::ceil(seconds / minute))) + u'm';
    return QString::number(static_cast<long long>(std::ceil(seconds / hour))) + u'h';
}

} // namespace

AgentCountdownRing::AgentCountdownRing(QWidget* parent) : QWidget(parent) {
    setObjectName("agentCountdown");
    setFixedSize(side, side);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
}

void AgentCountdownRing::setRemaining(double remaining, double total) {
    const double left = std::max(remaining, 0.0);
    const double newShare = total > 0 ? std::clamp(left / total, 0.0, 1.0) : 0.0;
    const QString newSeconds = shortRemaining(left);
    if (newShare == share && newSeconds == seconds)
        return;
    share = newShare;
    seconds = newSeconds;
    update();
}

QSize AgentCountdownRing::sizeHint() const {
    return {side, side};
}

void AgentCountdownRing::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF ring = QRectF(rect()).adjusted(lineWidth / 2, lineWidth / 2, -lineWidth / 2, -lineWidth / 2);

    painter.setPen(QPen(PanelStyle::control(), lineWidth));
    painter.drawEllipse(ring);

    const QColor colour = share < urgentShare ? PanelStyle::destructive() : PanelStyle::accent();
    painter.setPen(QPen(colour, lineWidth, Qt::SolidLine, Qt::RoundCap));
    // From twelve o'clock, shrinking clockwise as time runs out.
    painter.drawArc(ring, 90 * 16, static_cast<int>(std::lround(share * fullCircle)));

    QFont font = painter.font();
    font.setPixelSize(static_cast<int>(PanelStyle::smallSize) - 1);
    painter.setFont(font);
    painter.setPen(PanelStyle::text());
    painter.drawText(rect(), Qt::AlignCenter, seconds);
}

} // namespace vq
