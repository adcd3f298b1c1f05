#include "BrindKit/sdk/SDKBridge.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/sdk/SDKBridgeRoute.hpp"

namespace brind {

using namespace SDKBridgeRoute;

namespace {

constexpr std::size_t maxActivityIDLength = 64;

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

// {"id": id, "ok": true}, written as text.
SDKHTTPResponse okWithID(std::string_view id) {
    std::string body = R"({"id":)";
    JSONText::appendCompactString(body, id);
    body += R"(,"ok":true})";
    return SDKHTTPResponse::raw(200, std::move(body), "application/json");
}

} // namespace

std::string SDKBridge::activityID(std::string_view appID, std::string_view localID) {
    std::string id = "sdk.";
    id.append(appID).append(".").append(localID);
    return id;
}

SDKRouteResult SDKBridge::postActivity(const SDKHTTPRequest& request, const SDKClient& client) {
    auto body = jsonObject(request.body);
    if (!body)
        return respond(jsonBodyRequired());
    const auto title = JSONRead::string(*body, "title");
    if (!title || title->empty())
        return respond(SDKHTTPResponse::error(400, "bad_activity", "title is required."));
    const auto localID = JSONRead::string(*body, "id");
    if (!localID || !isValidLocalID(*localID))
        return respond(SDKHTTPResponse::error(400, "bad_id", "id: 1–64 letters, digits, - _ ."));

    // The body speaks the client's shorthand; the live activity's own form is written from it.
    const Date moment = now();
    JSON& activity = *body;
    if (const auto symbol = JSONRead::string(activity, "symbol")) {
        if (!JSONRead::member(activity, "leading"))
            activity["leading"] = JSON{{"symbol", *symbol}};
    }
    activity.erase("symbol");
    if (const auto expiresIn = JSONRead::number(activity, "expiresIn"))
        activity["expiresAt"] = (moment + *expiresIn).secondsSince1970;
    activity.erase("expiresIn");
    activity["source"] = "sdk." + client.appID;
    activity["id"] = activityID(client.appID, *localID);

    auto decoded = LiveActivity::fromJSON(activity, moment);
    if (!decoded)
        return respond(SDKHTTPResponse::error(400, "bad_activity", "Couldn't read the activity. See docs/SDK.md."));
    const auto target = delegateOrNull();
    if (!target)
        return respond(unavailable());
    SDKHTTPResponse reply = okWithID(decoded->id);
    target->showActivity(std::move(*decoded));
    return respond(std::move(reply));
}

SDKRouteResult SDKBridge::deleteActivity(const std::string& localID, const SDKClient& client) {
    if (!isValidLocalID(localID))
        return respond(SDKHTTPResponse::error(400, "bad_id", "id: 1–64 letters, digits, - _ ."));
    const auto target = delegateOrNull();
    if (!target)
        return respond(unavailable());
    std::string id = activityID(client.appID, localID);
    SDKHTTPResponse reply = okWithID(id);
    target->endActivity(std::move(id));
    return respond(std::move(reply));
}

} // namespace brind
