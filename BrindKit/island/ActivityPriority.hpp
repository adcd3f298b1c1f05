#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace brind {

/// How much an activity matters; the enumerators compare by importance (ambient < critical).
enum class ActivityPriority : int {
    ambient = 0,
    normal = 1,
    important = 2,
    critical = 3,
};

inline constexpr std::array<ActivityPriority, 4> allActivityPriorities{
    ActivityPriority::ambient, ActivityPriority::normal, ActivityPriority::important,
    ActivityPriority::critical};

/// "ambient", "normal", "important" or "critical".
std::string_view name(ActivityPriority priority);

constexpr int rawValue(ActivityPriority priority) {
    return static_cast<int>(priority);
}

/// Reads a name in any letter case, including the aliases "low", "default", "high" and "urgent".
std::optional<ActivityPriority> activityPriorityNamed(std::string_view name);

/// 0 to 3; anything else is nothing.
std::optional<ActivityPriority> activityPriorityWithRawValue(long long rawValue);

} // namespace brind
