#include "BrindKit/island/ActivityPriority.hpp"

#include "BrindKit/foundation/EnumTable.hpp"
#include "BrindKit/foundation/Text.hpp"

namespace brind {

namespace {

struct PriorityRow {
    ActivityPriority value;
    std::string_view name;
    /// The other word posters use for the same priority.
    std::string_view alias;
};

constexpr auto priorityRows = std::to_array<PriorityRow>({
    {ActivityPriority::ambient, "ambient", "low"},
    {ActivityPriority::normal, "normal", "default"},
    {ActivityPriority::important, "important", "high"},
    {ActivityPriority::critical, "critical", "urgent"},
});
static_assert(EnumTable::coversEveryCase(priorityRows));
static_assert(EnumTable::coversEveryCase(allActivityPriorities));

} // namespace

std::string_view name(ActivityPriority priority) {
    return EnumTable::row(priorityRows, priority).name;
}

std::optional<ActivityPriority> activityPriorityNamed(std::string_view text) {
    const std::string lowered = Text::lowercased(text);
    if (const auto priority = EnumTable::named(priorityRows, lowered))
        return priority;
    for (const PriorityRow& row : priorityRows) {
        if (lowered == row.alias)
            return row.value;
    }
    return std::nullopt;
}

std::optional<ActivityPriority> activityPriorityWithRawValue(long long value) {
    if (value < rawValue(ActivityPriority::ambient) || value > rawValue(ActivityPriority::critical))
        return std::nullopt;
    return static_cast<ActivityPriority>(value);
}

} // namespace brind
