#include "BrindKit/sdk/SDKBridgeActivityBody.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/SimdJSONRead.hpp"
#include "BrindKit/foundation/UnitInterval.hpp"
#include "BrindKit/sdk/SDKBridge.hpp"
#include "BrindKit/sdk/SDKBridgeRoute.hpp"

#include <array>
#include <bitset>
#include <cmath>
#include <simdjson.h>
#include <utility>

namespace brind::SDKBridgeActivityBody {

namespace {

constexpr std::size_t maxActivityIDLength = 64;

// ---- The tree --------------------------------------------------------------------------------------

// The shorthand is rewritten in the tree into the live activity's own form, which its decoder reads.
Result readTree(JSON& activity, std::string_view appID, Date now) {
    const auto title = JSONRead::string(activity, "title");
    if (!title || title->empty())
        return std::unexpected(Refusal::titleRequired);
    const auto localID = JSONRead::string(activity, "id");
    if (!localID || !isValidLocalID(*localID))
        return std::unexpected(Refusal::badID);

    if (const auto symbol = JSONRead::string(activity, "symbol")) {
        if (!JSONRead::member(activity, "leading"))
            activity["leading"] = JSON{{"symbol", *symbol}};
    }
    activity.erase("symbol");
    if (const auto expiresIn = JSONRead::number(activity, "expiresIn"))
        activity["expiresAt"] = (now + *expiresIn).secondsSince1970;
    activity.erase("expiresIn");
    activity["source"] = "sdk." + std::string(appID);
    activity["id"] = SDKBridge::activityID(appID, *localID);

    auto decoded = LiveActivity::fromJSON(activity, now);
    if (!decoded)
        return std::unexpected(Refusal::unreadable);
    return std::move(*decoded);
}

// ---- The common shape ------------------------------------------------------------------------------
// Every key known and present once, every value of the one type taken here; the result is the one
// the tree gives for the same body (tests/sdk/ActivityBodyFastPathTests and the ActivityBody fuzz
// target compare the two).

using simdjson::dom::element;
using SimdJSONRead::assign;
using simdjson::dom::element_type;

enum class Field : std::size_t {
    id,
    title,
    subtitle,
    progress,
    priority,
    symbol,
    tint,
    expiresIn,
    expiresAt,
    alert,
    dismissible,
    tapAction,
    count
};

constexpr std::array<std::string_view, static_cast<std::size_t>(Field::count)> fieldNames{
    "id",   "title",     "subtitle",  "progress", "priority",    "symbol",
    "tint", "expiresIn", "expiresAt", "alert",    "dismissible", "tapAction",
};

// Any JSON number, as the tree reads it into a double. A negative zero is left to the tree, which
// reads "-0" as the integer 0 where simdjson may give -0.0.
std::optional<double> numberValue(element value) {
    const element_type type = value.type();
    if (type != element_type::INT64 && type != element_type::UINT64 && type != element_type::DOUBLE)
        return std::nullopt;
    const double number = value.get_double().value_unsafe();
    if (number == 0 && std::signbit(number))
        return std::nullopt;
    return number;
}

// A name, or a raw value that fits 64 signed bits; an unknown one is normal, as in the tree.
std::optional<ActivityPriority> priorityValue(element value) {
    if (const auto name = SimdJSONRead::text(value))
        return activityPriorityNamed(*name).value_or(ActivityPriority::normal);
    if (value.type() == element_type::INT64)
        return activityPriorityWithRawValue(value.get_int64().value_unsafe()).value_or(ActivityPriority::normal);
    return std::nullopt;
}

// What the body says, before the shorthand is applied.
struct CommonShape {
    std::string_view localID;
    std::optional<std::string_view> symbol;
    std::optional<double> expiresIn;
    std::optional<double> expiresAt;
};

bool assignString(std::string& target, element value) {
    const auto text = SimdJSONRead::text(value);
    if (text)
        target.assign(*text);
    return text.has_value();
}

bool assignString(std::optional<std::string>& target, element value) {
    const auto text = SimdJSONRead::text(value);
    if (text)
        target.emplace(*text);
    return text.has_value();
}

// Takes one member; false when its value is not of the type (or form) taken here.
bool take(LiveActivity& activity, CommonShape& shape, Field field, element value) {
    switch (field) {
    case Field::id: {
        const auto text = SimdJSONRead::text(value);
        if (!text || !isValidLocalID(*text))
            return false;
        shape.localID = *text;
        return true;
    }
    case Field::title:
        return assignString(activity.title, value) && !activity.title.empty();
    case Field::subtitle:
        return assignString(activity.subtitle, value);
    case Field::progress: {
        const auto progress = numberValue(value);
        if (progress)
            activity.progress = UnitInterval::clamp(*progress);
        return progress.has_value();
    }
    case Field::priority:
        return assign(activity.priority, priorityValue(value));
    case Field::symbol:
        return assign(shape.symbol, SimdJSONRead::text(value));
    case Field::tint: {
        const auto text = SimdJSONRead::text(value);
        return text && assign(activity.tint, RGBA::fromHex(*text));
    }
    case Field::expiresIn:
        return assign(shape.expiresIn, numberValue(value));
    case Field::expiresAt:
        return assign(shape.expiresAt, numberValue(value));
    case Field::alert:
        return assign(activity.alert, SimdJSONRead::boolean(value));
    case Field::dismissible:
        return assign(activity.dismissible, SimdJSONRead::boolean(value));
    case Field::tapAction:
        return assignString(activity.tapAction, value);
    case Field::count:
        break;
    }
    std::unreachable();
}

} // namespace

bool isValidLocalID(std::string_view id) {
    if (id.empty() || id.size() > maxActivityIDLength)
        return false;
    for (const char c : id) {
        const bool allowed = ASCII::isAlphanumeric(c) || c == '-' || c == '_' || c == '.';
        if (!allowed)
            return false;
    }
    return true;
}

Result read(std::string_view body, std::string_view appID, Date now) {
    if (auto activity = readCommonShape(body, appID, now))
        return std::move(*activity);
    return readThroughTree(body, appID, now);
}

std::optional<LiveActivity> readCommonShape(std::string_view body, std::string_view appID, Date now) {
    using Fields = std::bitset<static_cast<std::size_t>(Field::count)>;
    if (body.size() > commonShapeMaxBytes)
        return std::nullopt;
    // One parser per thread, kept: its buffers are allocated once, at most for the largest body taken.
    thread_local simdjson::dom::parser parser(commonShapeMaxBytes);
    element document;
    simdjson::dom::object object;
    if (parser.parse(body.data(), body.size()).get(document) || document.get_object().get(object))
        return std::nullopt;

    LiveActivity activity;
    CommonShape shape;
    Fields seen;
    for (const simdjson::dom::key_value_pair member : object) {
        const auto field = SimdJSONRead::fieldNamed<Field>(fieldNames, member.key);
        if (!field || seen.test(static_cast<std::size_t>(*field)) || !take(activity, shape, *field, member.value))
            return std::nullopt;
        seen.set(static_cast<std::size_t>(*field));
    }
    if (!seen.test(static_cast<std::size_t>(Field::id)) || !seen.test(static_cast<std::size_t>(Field::title)))
        return std::nullopt;

    activity.id = SDKBridge::activityID(appID, shape.localID);
    activity.source = "sdk." + std::string(appID);
    if (shape.symbol)
        activity.leading = ActivityGlyph::symbol(std::string(*shape.symbol));
    if (shape.expiresIn)
        activity.expiresAt = now + *shape.expiresIn;
    else if (shape.expiresAt)
        activity.expiresAt = Date{*shape.expiresAt};
    activity.postedAt = now;
    return activity;
}

Result readThroughTree(std::string_view body, std::string_view appID, Date now) {
    auto activity = SDKBridgeRoute::jsonObject(body);
    if (!activity)
        return std::unexpected(Refusal::notAnObject);
    return readTree(*activity, appID, now);
}

} // namespace brind::SDKBridgeActivityBody
