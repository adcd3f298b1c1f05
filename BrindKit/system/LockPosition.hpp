#pragma once

#include <optional>
#include <string_view>

namespace brind {

/// Where the lock-screen widget block sits; stored as a preference under its name.
enum class LockPosition {
    clock,  ///< hanging below the clock
    bottom, ///< low on the screen
};

/// "clock" or "bottom"; also the position's id.
std::string_view name(LockPosition position);

std::optional<LockPosition> lockPositionNamed(std::string_view name);

} // namespace brind
