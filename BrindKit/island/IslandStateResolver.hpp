#pragma once

#include "BrindKit/island/IslandState.hpp"

namespace brind {

/// Turns the four facts the island controller tracks into the one state the island is in.
struct IslandStateResolver {
    struct Input {
        /// The user opened the island (hover, click or hot key).
        bool userOpened = false;
        /// An alert or HUD flash is to be shown.
        bool peeking = false;
        /// The activity queue is not empty.
        bool hasActivity = false;
        /// The island is suppressed (full-screen application or screen sharing, when the user asked).
        bool hidden = false;

        friend bool operator==(const Input&, const Input&) = default;
    };

    /// Hiding beats everything, and the user's own opening beats an alert.
    static IslandState resolve(const Input& input);
};

} // namespace brind
