#include "BrindKit/sdk/SDKBridge.hpp"

#include "BrindKit/sdk/SDKBridgeRoute.hpp"

namespace brind {

using namespace SDKBridgeRoute;

SDKRouteResult SDKBridge::postHUD(const SDKHTTPRequest& request) {
    auto body = jsonObject(request.body);
    if (!body)
        return respond(jsonBodyRequired());
    // Clients may say "text" for the caption and "level" for the value; "muted" defaults to false.
    JSON& hud = *body;
    if (!JSONRead::member(hud, "label") && JSONRead::member(hud, "text"))
        hud["label"] = hud["text"];
    if (!JSONRead::member(hud, "value") && JSONRead::member(hud, "level"))
        hud["value"] = hud["level"];
    if (!JSONRead::member(hud, "muted"))
        hud["muted"] = false;
    auto event = HUDEvent::fromJSON(hud);
    if (!event)
        return respond(SDKHTTPResponse::error(400, "bad_hud", "Couldn't read the HUD. See docs/SDK.md."));
    const auto target = delegateOrNull();
    if (!target)
        return respond(unavailable());
    target->showHUD(std::move(*event));
    return respond(SDKHTTPResponse::json(200, JSON{{"ok", true}}));
}

} // namespace brind
