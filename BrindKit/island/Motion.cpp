#include "BrindKit/island/Motion.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace brind {

Motion::Spring::State Motion::Spring::evaluate(double time, double initialVelocity) const {
    // Unit mass with stiffness (2π / response)² and damping 4π ζ / response. Solved for the
    // displacement x from the target, starting at x = -1 with velocity v0.
    const double omega = 2 * std::numbers::pi / std::max(response, 1e-6);
    const double zeta = std::max(0.0, dampingFraction);
    const double x0 = -1;
    const double v0 = initialVelocity;
    const double t = std::max(0.0, time);

    double x = 0;
    double v = 0;
    if (zeta < 1) {
        const double omegaD = omega * std::sqrt(1 - zeta * zeta);
        const double decay = std::exp(-zeta * omega * t);
        const double a = x0;
        const double b = (v0 + zeta * omega * x0) / omegaD;
        const double c = std::cos(omegaD * t);
        const double s = std::sin(omegaD * t);
        x = decay * (a * c + b * s);
        v = decay * ((b * omegaD - zeta * omega * a) * c - (a * omegaD + zeta * omega * b) * s);
    } else if (zeta == 1) {
        const double decay = std::exp(-omega * t);
        const double b = v0 + omega * x0;
        x = decay * (x0 + b * t);
        v = decay * (b - omega * (x0 + b * t));
    } else {
        const double root = omega * std::sqrt(zeta * zeta - 1);
        const double r1 = -zeta * omega + root;
        const double r2 = -zeta * omega - root;
        const double c2 = (v0 - r1 * x0) / (r2 - r1);
        const double c1 = x0 - c2;
        x = c1 * std::exp(r1 * t) + c2 * std::exp(r2 * t);
        v = c1 * r1 * std::exp(r1 * t) + c2 * r2 * std::exp(r2 * t);
    }
    return {1 + x, v};
}

bool Motion::Spring::isSettled(double time, double tolerance, double initialVelocity) const {
    const State state = evaluate(time, initialVelocity);
    return std::fabs(state.value - 1) <= tolerance && std::fabs(state.velocity) <= tolerance;
}

double Motion::rubberBand(double offset, double limit, double coefficient) {
    if (!(limit > 0))
        return 0;
    const double sign = offset < 0 ? -1 : (offset > 0 ? 1 : 0);
    return limit * sign * (1 - 1 / (std::fabs(offset) * coefficient / limit + 1));
}

int Motion::sizeRank(IslandState state) {
    switch (state) {
    case IslandState::closed:
        return 0;
    case IslandState::compact:
        return 1;
    case IslandState::peek:
        return 2;
    case IslandState::expanded:
        return 3;
    }
    std::unreachable();
}

Motion::Animation Motion::transition(IslandState from, IslandState to, bool reduceMotion) {
    if (reduceMotion)
        return EaseInOut{};
    const bool grows = sizeRank(to) > sizeRank(from);
    return Spring{response, grows ? openDamping : closeDamping};
}

} // namespace brind
