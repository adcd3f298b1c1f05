#include "BrindKit/shelf/ShelfExpiry.hpp"

#include <algorithm>
#include <iterator>

namespace brind::ShelfExpiry {

namespace {

constexpr double secondsPerHour = 3600;

/// NaN hours count as "off" as well.
bool expiryIsOn(double hours) { return hours > 0; }

} // namespace

bool isExpired(const ShelfEntry& entry, double hours, Date now) {
    return expiryIsOn(hours) && !entry.pinned && entry.addedAt < now - hours * secondsPerHour;
}

std::vector<ShelfEntry> expired(const std::vector<ShelfEntry>& entries, double hours, Date now) {
    std::vector<ShelfEntry> result;
    std::ranges::copy_if(entries, std::back_inserter(result),
                         [&](const ShelfEntry& entry) { return isExpired(entry, hours, now); });
    return result;
}

std::optional<Date> next(const std::vector<ShelfEntry>& entries, double hours) {
    if (!expiryIsOn(hours))
        return std::nullopt;
    std::optional<Date> earliest;
    for (const auto& entry : entries) {
        if (entry.pinned)
            continue;
        const Date due = entry.addedAt + hours * secondsPerHour;
        if (!earliest || due < *earliest)
            earliest = due;
    }
    return earliest;
}

std::optional<std::string> badge(int count) {
    if (count < 1)
        return std::nullopt;
    if (count > maxBadgeCount)
        return std::to_string(maxBadgeCount) + "+";
    return std::to_string(count);
}

} // namespace brind::ShelfExpiry
