#include "BrindKit/sdk/SDKBridge.hpp"

#include "BrindKit/sdk/SDKAwait.hpp"
#include "BrindKit/sdk/SDKBridgeRoute.hpp"

#include <chrono>

namespace brind {

using namespace SDKBridgeRoute;

namespace {

// A step is one round trip to the sound server or the system bus; this only bounds a delegate
// that never answers.
constexpr auto stepAnswerTimeout = std::chrono::seconds(5);

using StepOutcome = std::expected<HUDEvent, HUDStepFailure>;

SDKHTTPResponse badStep() {
    return SDKHTTPResponse::error(400, "bad_hud_step",
                                  "step: volume (up, down, mute), brightness (up, down) or keyboard (up, down, "
                                  "toggle); fine: a boolean.");
}

} // namespace

SDKBridge::Result SDKBridge::postHUD(const SDKHTTPRequest& request) {
    auto body = jsonObject(request.body);
    if (!body)
        co_return respond(jsonBodyRequired());
    // A body naming a step asks the island to press a key; any other body is a HUD to flash.
    if (JSONRead::member(*body, "step"))
        co_return co_await stepHUD(*body);
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
        co_return respond(SDKHTTPResponse::error(400, "bad_hud", "Couldn't read the HUD. See docs/SDK.md."));
    const auto target = delegateOrNull();
    if (!target)
        co_return respond(unavailable());
    target->showHUD(std::move(*event));
    co_return respond(SDKHTTPResponse::json(200, JSON{{"ok", true}}));
}

SDKBridge::Result SDKBridge::stepHUD(const JSON& body) {
    const auto step = JSONRead::string(body, "step");
    const auto direction = JSONRead::string(body, "direction");
    const auto key = step && direction ? hudKeyNamed(*step, *direction) : std::nullopt;
    const JSON* fine = JSONRead::member(body, "fine");
    if (!key || (fine && !fine->is_boolean()))
        co_return respond(badStep());
    const HUDSteps::Grid grid = fine && fine->get<bool>() ? HUDSteps::Grid::fine : HUDSteps::Grid::coarse;
    const auto target = delegateOrNull();
    if (!target)
        co_return respond(unavailable());
    const auto outcome = co_await SDKAwait::answer<StepOutcome>(
        stepAnswerTimeout, [&](auto done) { target->stepHUD(*key, grid, std::move(done)); });
    if (!outcome)
        co_return respond(unavailable());
    if (!*outcome)
        co_return respond(SDKHTTPResponse::error(503, "hud_unavailable", outcome->error().message));
    co_return respond(SDKHTTPResponse::json(200, JSON{{"ok", true}, {"hud", (*outcome)->toJSON()}}));
}

} // namespace brind
