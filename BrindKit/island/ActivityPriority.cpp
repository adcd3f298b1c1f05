#include "BrindKit/island/ActivityPriority.hpp"

#include "BrindKit/foundation/Text.hpp"

#include <utility>

namespace brind {

std::string_view name(ActivityPriority priority) {
    switch (priority) {
    case ActivityPriority::ambient:
        return "ambient";
    case ActivityPriority::normal:
        return "normal";
    case ActivityPriority::important:
        return "important";
    case ActivityPriority::critical:
        return "critical";
    }
    std::unreachable();
}

std::optional<ActivityPriority> activityPriorityNamed(std::string_view text) {
    struct Alias {
        std::string_view name;
        ActivityPriority priority;
    };
    static constexpr Alias aliases[] = {
        {"low", ActivityPriority::ambient},
        {"default", ActivityPriority::normal},
        {"high", ActivityPriority::important},
        {"urgent", ActivityPriority::critical},
    };
    const std::string lowered = Text::lowercased(text);
    for (const ActivityPriority priority : allActivityPriorities) {
        if (lowered == name(priority))
            return priority;
    }
    for (const Alias& alias : aliases) {
        if (lowered == alias.name)
            return alias.priority;
    }
    return std::nullopt;
}

std::optional<ActivityPriority> activityPriorityWithRawValue(long long value) {
    if (value < rawValue(ActivityPriority::ambient) || value > rawValue(ActivityPriority::critical))
        return std::nullopt;
    return static_cast<ActivityPriority>(value);
}

} // namespace brind
