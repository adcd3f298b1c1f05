#pragma once

#include <optional>
#include <string_view>

namespace brind {

/// Where the lock-screen notch is in its lock and unlock animation.
enum class LockPhase { hidden, locked, unlocking, collapsing };

/// The notch is drawn wide (locked, or holding the opened lock).
constexpr bool expanded(LockPhase phase) {
    return phase == LockPhase::locked || phase == LockPhase::unlocking;
}

/// The lock glyph is drawn open.
constexpr bool open(LockPhase phase) {
    return phase == LockPhase::unlocking || phase == LockPhase::collapsing;
}

/// "hidden", "locked", "unlocking" or "collapsing".
std::string_view name(LockPhase phase);

std::optional<LockPhase> lockPhaseNamed(std::string_view name);

} // namespace brind
