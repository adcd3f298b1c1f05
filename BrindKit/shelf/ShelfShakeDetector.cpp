#include "BrindKit/shelf/ShelfShakeDetector.hpp"

#include <algorithm>
#include <cmath>

namespace brind {

namespace {

constexpr int lowestSensitivity = 0;
constexpr int highestSensitivity = 2;
constexpr double sensitivityWindow = 0.7;
constexpr double sensitivityCooldown = 1.2;

} // namespace

ShelfShakeDetector ShelfShakeDetector::forSensitivity(int sensitivity) {
    ShelfShakeDetector detector;
    detector.window = sensitivityWindow;
    detector.cooldown = sensitivityCooldown;
    switch (std::clamp(sensitivity, lowestSensitivity, highestSensitivity)) {
    case 0:
        detector.reversalsNeeded = 3;
        detector.minSwing = 30;
        break;
    case 1:
        detector.reversalsNeeded = 4;
        detector.minSwing = 40;
        break;
    default:
        detector.reversalsNeeded = 5;
        detector.minSwing = 60;
        break;
    }
    return detector;
}

bool ShelfShakeDetector::feed(double x, double t) {
    if (!lastX) {
        swingStart = x;
        lastX = x;
        return false;
    }
    const double dx = x - *lastX;
    if (std::abs(dx) <= jitter) {
        lastX = x;
        return false;
    }
    const int newDirection = dx > 0 ? 1 : -1;
    if (direction == 0) {
        direction = newDirection;
        lastX = x;
        return false;
    }
    if (newDirection != direction) {
        // The pointer turned at the previous position: that ends one swing and starts the next.
        if (std::abs(*lastX - swingStart) >= minSwing)
            reversals.push_back(t);
        swingStart = *lastX;
        direction = newDirection;
    }
    std::erase_if(reversals, [&](double time) { return t - time > window; });
    lastX = x;
    if (static_cast<int>(reversals.size()) >= reversalsNeeded && t - lastFired >= cooldown) {
        lastFired = t;
        reversals.clear();
        return true;
    }
    return false;
}

void ShelfShakeDetector::reset() {
    lastX.reset();
    direction = 0;
    swingStart = 0;
    reversals.clear();
}

} // namespace brind
