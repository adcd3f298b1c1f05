#include "BrindKit/island/IslandStateResolver.hpp"

namespace brind {

IslandState IslandStateResolver::resolve(const Input& input) {
    if (input.hidden)
        return IslandState::closed;
    if (input.userOpened)
        return IslandState::expanded;
    if (input.peeking)
        return IslandState::peek;
    if (input.hasActivity)
        return IslandState::compact;
    return IslandState::closed;
}

} // namespace brind
