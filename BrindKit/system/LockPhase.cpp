#include "BrindKit/system/LockPhase.hpp"

#include <utility>

namespace brind {

std::string_view name(LockPhase phase) {
    switch (phase) {
    case LockPhase::hidden:
        return "hidden";
    case LockPhase::locked:
        return "locked";
    case LockPhase::unlocking:
        return "unlocking";
    case LockPhase::collapsing:
        return "collapsing";
    }
    std::unreachable();
}

std::optional<LockPhase> lockPhaseNamed(std::string_view text) {
    for (const LockPhase phase : allLockPhases) {
        if (name(phase) == text)
            return phase;
    }
    return std::nullopt;
}

} // namespace brind
