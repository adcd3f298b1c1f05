#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/shelf/ShelfEntry.hpp"

#include <optional>
#include <string>
#include <vector>

namespace brind::ShelfExpiry {

/// Counts above this show as "99+" on the tray.
inline constexpr int maxBadgeCount = 99;

/// True when `entry` is unpinned and was added strictly before `now` − `hours`; never when `hours`
/// is 0 or less.
bool isExpired(const ShelfEntry& entry, double hours, Date now);

/// The entries for which `isExpired` holds, in their order.
std::vector<ShelfEntry> expired(const std::vector<ShelfEntry>& entries, double hours, Date now);

/// When the next unpinned entry expires; nothing when expiry is off or every entry is pinned.
std::optional<Date> next(const std::vector<ShelfEntry>& entries, double hours);

/// The tray's count badge: nothing below 1, "99+" above 99, otherwise the count.
std::optional<std::string> badge(int count);

} // namespace brind::ShelfExpiry
