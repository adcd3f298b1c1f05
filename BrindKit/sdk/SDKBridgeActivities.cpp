#include "BrindKit/sdk/SDKBridge.hpp"

#include "BrindKit/sdk/SDKBridgeActivityBody.hpp"
#include "BrindKit/sdk/SDKBridgeRoute.hpp"

#include <utility>

namespace brind {

using namespace SDKBridgeRoute;

namespace {

SDKHTTPResponse badID() {
    return SDKHTTPResponse::error(400, "bad_id", "id: 1–64 letters, digits, - _ .");
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
    auto activity = SDKBridgeActivityBody::read(request.body, client.appID, now());
    if (!activity) {
        switch (activity.error()) {
        case SDKBridgeActivityBody::Refusal::notAnObject:
            return respond(jsonBodyRequired());
        case SDKBridgeActivityBody::Refusal::titleRequired:
            return respond(SDKHTTPResponse::error(400, "bad_activity", "title is required."));
        case SDKBridgeActivityBody::Refusal::badID:
            return respond(badID());
        case SDKBridgeActivityBody::Refusal::unreadable:
            return respond(SDKHTTPResponse::error(400, "bad_activity", "Couldn't read the activity. See docs/SDK.md."));
        }
        std::unreachable();
    }
    const auto target = delegateOrNull();
    if (!target)
        return respond(unavailable());
    SDKHTTPResponse reply = okWithID(activity->id);
    target->showActivity(std::move(*activity));
    return respond(std::move(reply));
}

SDKRouteResult SDKBridge::deleteActivity(const std::string& localID, const SDKClient& client) {
    if (!SDKBridgeActivityBody::isValidLocalID(localID))
        return respond(badID());
    const auto target = delegateOrNull();
    if (!target)
        return respond(unavailable());
    std::string id = activityID(client.appID, localID);
    SDKHTTPResponse reply = okWithID(id);
    target->endActivity(std::move(id));
    return respond(std::move(reply));
}

} // namespace brind
