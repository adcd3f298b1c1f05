#include "vantaquill/island/IslandView.hpp"

#include "BrindKit/island/IslandPath.hpp"
#include "vantaquill/island/IslandFaces.hpp"

#include <QPainter>

#include <type_traits>
#include <variant>

namespace vq {

QPainterPath IslandView::outlinePath(const IslandScene& scene) {
    const QRectF& rect = scene.outline;
    const auto outline = brind::IslandPath::make({rect.x(), rect.y(), rect.width(), rect.height()}, scene.ear,
                                                 scene.topRadius, scene.bottomRadius);
    QPainterPath path;
    for (const auto& element : outline.elements) {
        std::visit(
            [&path](const auto& step) {
                using Step = std::decay_t<decltype(step)>;
                if constexpr (std::is_same_v<Step, brind::IslandPath::MoveTo>)
                    path.moveTo(step.to.x, step.to.y);
                else if constexpr (std::is_same_v<Step, brind::IslandPath::LineTo>)
                    path.lineTo(step.to.x, step.to.y);
                else if constexpr (std::is_same_v<Step, brind::IslandPath::QuadTo>)
                    path.quadTo(step.control.x, step.control.y, step.to.x, step.to.y);
                else if constexpr (std::is_same_v<Step, brind::IslandPath::CubicTo>)
                    path.cubicTo(step.control1.x, step.control1.y, step.control2.x, step.control2.y, step.to.x,
                                 step.to.y);
                else
                    path.closeSubpath();
            },
            element);
    }
    return path;
}

QRegion IslandView::outlineRegion(const IslandScene& scene) {
    return QRegion(outlinePath(scene).toFillPolygon().toPolygon());
}

void IslandView::paint(QPainter& painter, const IslandScene& scene, const std::function<void(QPainter&)>& inside) {
    const QPainterPath outline = outlinePath(scene);
    if (outline.isEmpty())
        return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(outline, Qt::black);
    painter.setClipPath(outline);
    IslandFaces::paint(painter, scene);
    if (inside)
        inside(painter);
    painter.restore();
}

} // namespace vq
