#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/island/ActivityPriority.hpp"
#include "BrindKit/island/LiveActivity.hpp"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brind {

/// Decides which activities exist, which one leads, when one is replaced, when it runs out and
/// when a user's dismissal sticks. A plain value: copying it copies its contents.
class ActivityQueue {
  public:
    enum class PostResult { inserted, updated, unchanged, suppressed };

    /// What the user dismissed, so that the same thing is not shown again.
    struct Dismissal {
        std::string title;
        ActivityPriority priority = ActivityPriority::normal;
        friend bool operator==(const Dismissal&, const Dismissal&) = default;
    };

    using Items = std::map<std::string, LiveActivity, std::less<>>;
    using Dismissals = std::map<std::string, Dismissal, std::less<>>;

    /// Inserts, updates or suppresses. An activity already expired at `now` removes a stored one
    /// with its id (so posting an expired activity ends it); a dismissed one stays away unless its
    /// title changed or its priority rose; an update keeps its place in the order.
    PostResult post(LiveActivity activity, Date now);

    /// Removes the activity and forgets its dismissal; true when an activity was removed.
    bool end(std::string_view id);

    /// Removes a stored, dismissible activity and remembers it as dismissed.
    bool dismiss(std::string_view id);

    bool isDismissed(std::string_view id) const;

    /// Removes every activity expired at `now`; their ids in ascending order.
    std::vector<std::string> purgeExpired(Date now);

    /// Removes every activity of one source; their ids in ascending order.
    std::vector<std::string> endAll(std::string_view source);

    /// Priority descending, then first posted first, then id ascending.
    std::vector<LiveActivity> ordered() const;
    /// The same order, as pointers into the queue (valid until it next changes): for a caller that
    /// copies only what differs from its own list.
    std::vector<const LiveActivity*> orderedPointers() const;

    std::optional<LiveActivity> top() const;
    std::size_t count() const { return items_.size(); }
    bool isEmpty() const { return items_.empty(); }

    /// The stored activity, or null; valid until the queue next changes.
    const LiveActivity* activity(std::string_view id) const;

    /// The earliest expiry among the stored activities.
    std::optional<Date> nextExpiry() const;

    const Items& items() const { return items_; }
    const Dismissals& dismissed() const { return dismissed_; }

    friend bool operator==(const ActivityQueue&, const ActivityQueue&) = default;

  private:
    Items items_;
    Dismissals dismissed_;
};

std::string_view name(ActivityQueue::PostResult result);

} // namespace brind
