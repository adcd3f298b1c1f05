#include "BrindKit/island/LiveActivity.hpp"

#include "BrindKit/foundation/UnitInterval.hpp"

#include <cmath>
#include <limits>
#include <utility>

namespace brind {

namespace {

ActivityPriority decodePriority(const JSON& object) {
    const JSON* value = JSONRead::present(object, "priority");
    if (!value)
        return ActivityPriority::normal;
    // A sender's 2.0 means 2.
    if (const auto raw = JSONRead::wholeNumber(*value))
        return activityPriorityWithRawValue(*raw).value_or(ActivityPriority::normal);
    if (value->is_string())
        return activityPriorityNamed(value->get_ref<const std::string&>()).value_or(ActivityPriority::normal);
    return ActivityPriority::normal;
}

std::optional<Date> decodeExpiry(const JSON& object) {
    const JSON* value = JSONRead::present(object, "expiresAt");
    if (!value)
        return std::nullopt;
    if (value->is_number())
        return Date{value->get<double>()};
    if (value->is_string())
        return Date::parseISO8601(value->get_ref<const std::string&>());
    return std::nullopt;
}

std::expected<ActivityGlyph, std::string> decodeGlyph(const JSON& object, std::string_view key) {
    const JSON* value = JSONRead::present(object, key);
    if (!value)
        return ActivityGlyph::none();
    auto glyph = ActivityGlyph::fromJSON(*value);
    if (!glyph)
        return std::unexpected(std::string(key) + "." + glyph.error());
    return glyph;
}

} // namespace

LiveActivity LiveActivity::make(std::string id, std::string source, ActivityPriority priority,
                                ActivityGlyph leading, ActivityGlyph trailing, std::string title,
                                std::optional<std::string> subtitle, std::optional<double> progress,
                                std::optional<RGBA> tint, std::optional<Date> expiresAt,
                                std::vector<ActivityAction> actions, bool alert,
                                std::optional<std::string> tapAction, bool dismissible, Date postedAt) {
    LiveActivity activity{std::move(id),
                          std::move(source),
                          priority,
                          std::move(leading),
                          std::move(trailing),
                          std::move(title),
                          std::move(subtitle),
                          progress,
                          tint,
                          expiresAt,
                          std::move(actions),
                          alert,
                          std::move(tapAction),
                          dismissible,
                          postedAt};
    if (activity.progress)
        activity.progress = UnitInterval::clamp(*activity.progress);
    return activity;
}

LiveActivity LiveActivity::clamped() const {
    LiveActivity copy = *this;
    copy.clamp();
    return copy;
}

void LiveActivity::clamp() {
    if (progress)
        progress = UnitInterval::clamp(*progress);
}

bool LiveActivity::isExpired(Date now) const {
    return expiresAt && now >= *expiresAt;
}

bool LiveActivity::sameContent(const LiveActivity& other) const {
    LiveActivity aligned = other;
    aligned.postedAt = postedAt;
    return *this == aligned;
}

std::expected<LiveActivity, std::string> LiveActivity::fromJSON(const JSON& value, Date now) {
    if (!value.is_object())
        return std::unexpected(std::string("an activity must be a JSON object"));

    LiveActivity activity;
    activity.priority = decodePriority(value);
    activity.expiresAt = decodeExpiry(value);

    auto id = JSONRead::string(value, "id");
    if (!id)
        return std::unexpected(
            std::string(JSONRead::present(value, "id") ? "\"id\" must be a string" : "missing the string \"id\""));
    activity.id = std::move(*id);
    activity.source = JSONRead::string(value, "source").value_or("unknown");

    auto leading = decodeGlyph(value, "leading");
    if (!leading)
        return std::unexpected(leading.error());
    activity.leading = std::move(*leading);
    auto trailing = decodeGlyph(value, "trailing");
    if (!trailing)
        return std::unexpected(trailing.error());
    activity.trailing = std::move(*trailing);

    activity.title = JSONRead::string(value, "title").value_or("");
    activity.subtitle = JSONRead::string(value, "subtitle");
    if (const auto progress = JSONRead::number(value, "progress"))
        activity.progress = UnitInterval::clamp(*progress);

    auto tint = RGBA::fromJSONMember(value, "tint");
    if (!tint)
        return std::unexpected(tint.error());
    activity.tint = *tint;

    if (const JSON* actions = JSONRead::present(value, "actions"); actions && actions->is_array()) {
        for (const JSON& element : *actions) {
            auto action = ActivityAction::fromJSON(element);
            if (!action)
                return std::unexpected("actions: " + action.error());
            activity.actions.push_back(std::move(*action));
        }
    }

    activity.alert = JSONRead::boolean(value, "alert").value_or(false);
    activity.tapAction = JSONRead::string(value, "tapAction");
    activity.dismissible = JSONRead::boolean(value, "dismissible").value_or(true);
    activity.postedAt = now;
    return activity;
}

JSON LiveActivity::toJSON() const {
    JSON object = JSON::object();
    object["id"] = id;
    object["source"] = source;
    object["priority"] = std::string(name(priority));
    object["leading"] = leading.toJSON();
    object["trailing"] = trailing.toJSON();
    object["title"] = title;
    if (subtitle)
        object["subtitle"] = *subtitle;
    if (progress)
        object["progress"] = *progress;
    if (tint)
        object["tint"] = tint->toJSON();
    if (expiresAt)
        object["expiresAt"] = expiresAt->secondsSince1970;
    JSON list = JSON::array();
    for (const ActivityAction& action : actions)
        list.push_back(action.toJSON());
    object["actions"] = std::move(list);
    object["alert"] = alert;
    if (tapAction)
        object["tapAction"] = *tapAction;
    object["dismissible"] = dismissible;
    return object;
}

} // namespace brind
