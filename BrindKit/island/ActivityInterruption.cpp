#include "BrindKit/island/ActivityInterruption.hpp"

namespace brind {

bool ActivityInterruption::allows(ActivityPriority priority, const Focus& focus) {
    // What the user is waited on (an agent's approval) or must not miss (critical) still breaks through.
    return !focus.focused() || priority >= ActivityPriority::important;
}

} // namespace brind
