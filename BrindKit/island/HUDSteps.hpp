#pragma once

#include <string>

namespace brind::HUDSteps {

/// Level changes snap to a grid of 16 steps, or 64 for fine steps (Shift+Option).
enum class Grid { coarse, fine };
enum class Direction { up, down };

inline constexpr int coarse = 16;
inline constexpr int fine = 64;
/// Lit segments of the HUD's level bar.
inline constexpr int barSegments = 16;

constexpr int stepCount(Grid grid) {
    return grid == Grid::fine ? fine : coarse;
}

/// One press: from a level between grid points, up lands on the next point above and down on the
/// next below; a level within 0.000001 of a point counts as on it. The result stays in 0...1.
double step(double value, Direction direction, Grid grid);

/// round(clamp(value, 0, 1) × count): the lit segments of a level bar.
int segments(double value, int count = barSegments);

/// The level as whole percent, digits only ("50" for 0.504).
std::string percent(double value);

} // namespace brind::HUDSteps
