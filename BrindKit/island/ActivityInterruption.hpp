#pragma once

#include "BrindKit/island/ActivityPriority.hpp"

namespace brind {

/// Whether an activity may interrupt the user. Interrupting means popping the island open as an
/// alert (the peek) and playing a sound for it; joining the queue, the compact face and the
/// expanded list are not interruptions, so every activity still gets those whatever the focus.
struct ActivityInterruption {
    /// Where quiet comes from. Either one makes the island focused.
    struct Focus {
        /// The desktop's do-not-disturb (KDE's inhibition, GNOME's banners switched off).
        bool desktopDoNotDisturb = false;
        /// The user's "Pause notifications" in the status menu.
        bool paused = false;

        bool focused() const { return desktopDoNotDisturb || paused; }
        friend bool operator==(const Focus&, const Focus&) = default;
    };

    /// Unfocused, every activity may interrupt; focused, only `important` and `critical` ones.
    static bool allows(ActivityPriority priority, const Focus& focus);
};

} // namespace brind
