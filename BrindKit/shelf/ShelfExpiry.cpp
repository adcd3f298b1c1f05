#include "BrindKit/shelf/ShelfExpiry.hpp"

namespace brind::ShelfExpiry {

namespace {

constexpr double secondsPerHour = 3600;

/// NaN hours count as "off" as well.
bool expiryIsOn(double hours) { return hours > 0; }

} // namespace

std::vector<ShelfEntry> expired(const std::vector<ShelfEntry>& entries, double hours, Date now) {
    std::vector<ShelfEntry> result;
    if (!expiryIsOn(hours))
        return result;
    const Date cutoff = now - hours * secondsPerHour;
    for (const auto& entry : entries) {
        if (!entry.pinned && entry.addedAt < cutoff)
            result.push_back(entry);
    }
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
