#include "BrindKit/island/HUDSteps.hpp"

#include "BrindKit/foundation/UnitInterval.hpp"

#include <cmath>
#include <utility>

namespace brind::HUDSteps {

namespace {

/// Float noise this close to a grid point must not turn a press into a zero-length step.
constexpr double gridTolerance = 0.000001;
constexpr int percentScale = 100;

} // namespace

double step(double value, Direction direction, Grid grid) {
    const double n = stepCount(grid);
    const double x = UnitInterval::clamp(value) * n;
    switch (direction) {
    case Direction::up:
        return UnitInterval::clamp((std::floor(x + gridTolerance) + 1) / n);
    case Direction::down:
        return UnitInterval::clamp((std::ceil(x - gridTolerance) - 1) / n);
    }
    std::unreachable();
}

int segments(double value, int count) {
    return static_cast<int>(std::lround(UnitInterval::clamp(value) * count));
}

std::string percent(double value) {
    return std::to_string(std::lround(UnitInterval::clamp(value) * percentScale));
}

} // namespace brind::HUDSteps
