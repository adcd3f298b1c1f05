#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/foundation/RGBA.hpp"
#include "BrindKit/island/ActivityAction.hpp"
#include "BrindKit/island/ActivityGlyph.hpp"
#include "BrindKit/island/ActivityPriority.hpp"

#include <expected>
#include <optional>
#include <string>
#include <vector>

namespace brind {

/// Everything the island shows for a while: a timer, a download, an agent asking for approval, a
/// script's message. Producers build one and hand it to the activity queue.
///
/// Build one field by field from a default value, or with `make`, the memberwise form that also
/// clamps `progress`. (GCC 12 warns about designated initialisers that leave members out.) The queue
/// clamps whatever it stores, so an out-of-range progress never reaches a view either way.
struct LiveActivity {
    /// Identity in the queue: a second post with the same id replaces the first.
    std::string id{};
    /// Who posted it; all of one source's activities can be ended at once.
    std::string source{};
    ActivityPriority priority = ActivityPriority::normal;
    ActivityGlyph leading{};
    ActivityGlyph trailing{};
    std::string title{};
    std::optional<std::string> subtitle{};
    /// 0...1 when present.
    std::optional<double> progress{};
    std::optional<RGBA> tint{};
    /// After this moment the activity is gone; absent means it stays until ended.
    std::optional<Date> expiresAt{};
    std::vector<ActivityAction> actions{};
    /// Posting it also pops the island open briefly.
    bool alert = false;
    /// Reported as an action when the island body is clicked.
    std::optional<std::string> tapAction{};
    bool dismissible = true;
    /// When the queue first accepted it; set by the queue, never read from JSON.
    Date postedAt{};

    static LiveActivity make(std::string id, std::string source, ActivityPriority priority,
                             ActivityGlyph leading, ActivityGlyph trailing, std::string title,
                             std::optional<std::string> subtitle, std::optional<double> progress,
                             std::optional<RGBA> tint, std::optional<Date> expiresAt,
                             std::vector<ActivityAction> actions, bool alert,
                             std::optional<std::string> tapAction, bool dismissible, Date postedAt);

    /// The same activity with `progress` clamped into 0...1.
    LiveActivity clamped() const;
    /// `progress` clamped into 0...1 in place.
    void clamp();

    /// True from `expiresAt` on (an activity whose expiry equals `now` is already expired).
    bool isExpired(Date now) const;

    /// Equality with `postedAt` left out: tells a real update from a repeated post.
    bool sameContent(const LiveActivity& other) const;

    /// Decodes the form SDK clients send. Lenient: unknown priorities are normal, unreadable
    /// expiries are no expiry, wrongly typed optional keys count as absent. Fails, with the
    /// decoder's message, on a missing or non-string "id", a malformed colour, or a bad action.
    /// `postedAt` is `now`.
    static std::expected<LiveActivity, std::string> fromJSON(const JSON& value, Date now);

    /// Writes every field but `postedAt`; absent optionals are left out, the priority is its name
    /// and `expiresAt` is seconds since 1970.
    JSON toJSON() const;

    friend bool operator==(const LiveActivity&, const LiveActivity&) = default;
};

} // namespace brind
