#pragma once

#include "vantaquill/island/IslandScene.hpp"

#include <QPainterPath>
#include <QRegion>

#include <functional>

class QPainter;

namespace vq {

/// Paints one frame of the island: the black outline, then the face of its state inside it.
struct IslandView {
    /// `inside`, when given, paints more within the outline's clip after the face (the open panel).
    static void paint(QPainter& painter, const IslandScene& scene,
                      const std::function<void(QPainter&)>& inside = {});

    /// The outline of `scene` as a painter path in surface coordinates.
    static QPainterPath outlinePath(const IslandScene& scene);

    /// The pixels the outline covers, for the surface's input region.
    static QRegion outlineRegion(const IslandScene& scene);
};

} // namespace vq
