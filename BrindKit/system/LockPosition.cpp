#include "BrindKit/system/LockPosition.hpp"

#include <utility>

namespace brind {

std::string_view name(LockPosition position) {
    switch (position) {
    case LockPosition::clock:
        return "clock";
    case LockPosition::bottom:
        return "bottom";
    }
    std::unreachable();
}

std::optional<LockPosition> lockPositionNamed(std::string_view text) {
    for (const LockPosition position : allLockPositions) {
        if (name(position) == text)
            return position;
    }
    return std::nullopt;
}

} // namespace brind
