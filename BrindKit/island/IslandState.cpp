#include "BrindKit/island/IslandState.hpp"

#include <utility>

namespace brind {

std::string_view name(IslandState state) {
    switch (state) {
    case IslandState::closed:
        return "closed";
    case IslandState::peek:
        return "peek";
    case IslandState::compact:
        return "compact";
    case IslandState::expanded:
        return "expanded";
    }
    std::unreachable();
}

std::optional<IslandState> islandStateNamed(std::string_view text) {
    for (const IslandState state : allIslandStates) {
        if (name(state) == text)
            return state;
    }
    return std::nullopt;
}

} // namespace brind
