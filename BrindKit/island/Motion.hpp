#pragma once

#include "BrindKit/island/IslandState.hpp"

#include <variant>

namespace brind {

/// The island's animation constants and the arithmetic that drives them.
struct Motion {
    /// Spring response of every island resize, in seconds.
    static constexpr double response = 0.38;
    /// Damping fraction of ordinary content springs.
    static constexpr double damping = 0.78;
    /// Damping fraction when the island grows (a little bounce).
    static constexpr double openDamping = 0.68;
    /// Damping fraction when it shrinks (settles without bounce to speak of).
    static constexpr double closeDamping = 0.88;
    /// Scale and blur radius from which content appears.
    static constexpr double scaleFrom = 0.96;
    static constexpr double blurFrom = 8;
    /// Scale of the island while pressed.
    static constexpr double pressScale = 0.965;
    /// With reduced motion, state changes ease in and out over this many seconds instead.
    static constexpr double reducedMotionDuration = 0.18;

    /// A damped spring from 0 to 1, described as the shell's animations are: by its response (the
    /// period of the undamped oscillation, in seconds) and its damping fraction (1 is critical).
    struct Spring {
        double response = Motion::response;
        double dampingFraction = Motion::damping;

        struct State {
            double value = 0;
            double velocity = 0;
        };

        /// Position and velocity `time` seconds after starting at 0 with `initialVelocity` (in units of
        /// the whole distance per second) towards 1.
        State evaluate(double time, double initialVelocity = 0) const;

        /// Whether the spring is within `tolerance` of rest at 1 at `time`, in position and velocity.
        bool isSettled(double time, double tolerance = 0.001, double initialVelocity = 0) const;

        friend bool operator==(const Spring&, const Spring&) = default;
    };

    struct EaseInOut {
        double duration = reducedMotionDuration;
        friend bool operator==(const EaseInOut&, const EaseInOut&) = default;
    };

    using Animation = std::variant<Spring, EaseInOut>;

    /// How far a drag of `offset` moves when held back at `limit`: approaches the limit ever more
    /// slowly and never passes it. 0 when `limit` is not above 0.
    static double rubberBand(double offset, double limit, double coefficient);

    /// Size order of the states (closed 0, compact 1, peek 2, expanded 3), which judges growing
    /// and shrinking; it differs from the states' declaration order.
    static int sizeRank(IslandState state);

    /// The animation for a change of state: an ease-in-out with reduced motion, otherwise a spring
    /// that bounces a little when the island grows and settles firmly when it shrinks.
    static Animation transition(IslandState from, IslandState to, bool reduceMotion);
};

} // namespace brind
