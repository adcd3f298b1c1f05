#pragma once

#include "vantaquill/island/IslandScene.hpp"

#include <QPointF>

#include <optional>
#include <string>

class QPainter;

namespace vq {

/// The faces drawn inside the island's outline: the compact wings, the alert and HUD peeks and the
/// expanded panel's header. The island view paints the black outline first and then calls `paint`;
/// the painter is in surface coordinates, clipped to the outline.
struct IslandFaces {
    static void paint(QPainter& painter, const IslandScene& scene);

    /// Whether painting `scene` at a later time would look different (a spinner or visualiser is
    /// visible), so the controller keeps frames coming only while this is true.
    static bool animates(const IslandScene& scene);

    /// The id of the alert action whose button lies under `point` (surface coordinates).
    static std::optional<std::string> actionAt(const IslandScene& scene, QPointF point);
};

} // namespace vq
