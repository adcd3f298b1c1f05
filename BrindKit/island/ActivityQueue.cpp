#include "BrindKit/island/ActivityQueue.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

#include <algorithm>
#include <utility>

namespace brind {

namespace {

/// Whether `a` comes before `b` on the island.
bool leads(const LiveActivity& a, const LiveActivity& b) {
    if (a.priority != b.priority)
        return a.priority > b.priority;
    if (a.postedAt != b.postedAt)
        return a.postedAt < b.postedAt;
    return a.id < b.id;
}

/// Removes every item that `matches`; the map keeps ids in ascending order, so the removed ids come
/// out sorted.
template <typename Predicate>
std::vector<std::string> removeWhere(ActivityQueue::Items& items, Predicate matches) {
    std::vector<std::string> removed;
    for (auto entry = items.begin(); entry != items.end();) {
        if (!matches(entry->second)) {
            ++entry;
            continue;
        }
        removed.push_back(entry->first);
        entry = items.erase(entry);
    }
    return removed;
}

} // namespace

ActivityQueue::PostResult ActivityQueue::post(LiveActivity activity, Date now) {
    if (activity.isExpired(now)) {
        items_.erase(activity.id);
        return PostResult::suppressed;
    }

    if (const auto record = dismissed_.find(activity.id); record != dismissed_.end()) {
        if (activity.title == record->second.title && record->second.priority >= activity.priority)
            return PostResult::suppressed;
        dismissed_.erase(record);
    }

    activity.clamp(); // in place: the activity is already this call's own copy
    if (const auto stored = items_.find(activity.id); stored != items_.end()) {
        activity.postedAt = stored->second.postedAt;
        if (activity == stored->second)
            return PostResult::unchanged;
        stored->second = std::move(activity);
        return PostResult::updated;
    }

    activity.postedAt = now;
    std::string id = activity.id;
    items_.emplace(std::move(id), std::move(activity));
    return PostResult::inserted;
}

bool ActivityQueue::end(std::string_view id) {
    if (const auto record = dismissed_.find(id); record != dismissed_.end())
        dismissed_.erase(record);
    const auto stored = items_.find(id);
    if (stored == items_.end())
        return false;
    items_.erase(stored);
    return true;
}

bool ActivityQueue::dismiss(std::string_view id) {
    const auto stored = items_.find(id);
    if (stored == items_.end() || !stored->second.dismissible)
        return false;
    dismissed_.insert_or_assign(stored->first, Dismissal{stored->second.title, stored->second.priority});
    items_.erase(stored);
    return true;
}

bool ActivityQueue::isDismissed(std::string_view id) const {
    return dismissed_.find(id) != dismissed_.end();
}

std::vector<std::string> ActivityQueue::purgeExpired(Date now) {
    return removeWhere(items_, [now](const LiveActivity& activity) { return activity.isExpired(now); });
}

std::vector<std::string> ActivityQueue::endAll(std::string_view source) {
    return removeWhere(items_, [source](const LiveActivity& activity) { return activity.source == source; });
}

std::vector<const LiveActivity*> ActivityQueue::orderedPointers() const {
    std::vector<const LiveActivity*> order;
    order.reserve(items_.size());
    for (const auto& entry : items_)
        order.push_back(&entry.second);
    std::sort(order.begin(), order.end(),
              [](const LiveActivity* a, const LiveActivity* b) { return leads(*a, *b); });
    return order;
}

std::vector<LiveActivity> ActivityQueue::ordered() const {
    // Sort pointers, then copy each activity once.
    const std::vector<const LiveActivity*> order = orderedPointers();

    std::vector<LiveActivity> list;
    list.reserve(order.size());
    for (const LiveActivity* activity : order)
        list.push_back(*activity);
    return list;
}

std::optional<LiveActivity> ActivityQueue::top() const {
    const auto first = std::ranges::min_element(items_, leads, &Items::value_type::second);
    if (first == items_.end())
        return std::nullopt;
    return first->second;
}

const LiveActivity* ActivityQueue::activity(std::string_view id) const {
    const auto stored = items_.find(id);
    return stored == items_.end() ? nullptr : &stored->second;
}

std::optional<Date> ActivityQueue::nextExpiry() const {
    std::optional<Date> earliest;
    for (const auto& entry : items_) {
        const auto& expiry = entry.second.expiresAt;
        if (expiry && (!earliest || *expiry < *earliest))
            earliest = expiry;
    }
    return earliest;
}

namespace {

constexpr auto postResultRows = std::to_array<EnumTable::NameRow<ActivityQueue::PostResult>>({
    {ActivityQueue::PostResult::inserted, "inserted"},
    {ActivityQueue::PostResult::updated, "updated"},
    {ActivityQueue::PostResult::unchanged, "unchanged"},
    {ActivityQueue::PostResult::suppressed, "suppressed"},
});
static_assert(EnumTable::coversEveryCase(postResultRows));

} // namespace

std::string_view name(ActivityQueue::PostResult result) {
    return EnumTable::row(postResultRows, result).name;
}

} // namespace brind
