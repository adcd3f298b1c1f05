#include "BrindKit/sdk/SDKBridge.hpp"

#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/sdk/SDKAwait.hpp"
#include "BrindKit/sdk/SDKBridgeRoute.hpp"

namespace brind {

using namespace SDKBridgeRoute;

SDKRouteResult SDKBridge::status() const {
    // Scripts poll this route: the reply is written as text, keys in the sorted order every JSON
    // reply has, rather than built as an object first, and only again when what it reports changes.
    std::string body;
    {
        std::lock_guard guard(lock);
        if (statusBody.empty()) {
            statusBody = R"({"app":"vantaquill","ok":true,"port":)";
            statusBody += std::to_string(_port);
            if (!_config.surface.empty()) {
                statusBody += R"(,"surface":{"kind":)";
                JSONText::appendCompactString(statusBody, _config.surface);
                statusBody += R"(,"reason":)";
                JSONText::appendCompactString(statusBody, _config.surfaceReason);
                statusBody += '}';
            }
            statusBody += R"(,"version":)";
            JSONText::appendCompactString(statusBody, _config.version);
            statusBody += '}';
        }
        body = statusBody;
    }
    return respond(SDKHTTPResponse::raw(200, std::move(body), "application/json"));
}

SDKBridge::Result SDKBridge::registerClient(const SDKHTTPRequest& request) {
    const Config current = config();
    if (!current.registrationsEnabled)
        co_return respond(SDKHTTPResponse::error(403, "disabled", "Integrations are turned off in vantaquill settings."));

    const auto body = jsonObject(request.body);
    const JSON* app = body ? JSONRead::member(*body, "app") : nullptr;
    const JSON* name = body ? JSONRead::member(*body, "name") : nullptr;
    const JSON* scopes = body ? JSONRead::member(*body, "scopes") : nullptr;
    bool wellFormed = app && app->is_string() && name && name->is_string() && scopes && scopes->is_array();
    std::vector<std::string> scopeNames;
    if (wellFormed) {
        for (const auto& scopeName : *scopes) {
            if (!scopeName.is_string()) {
                wellFormed = false;
                break;
            }
            scopeNames.push_back(scopeName.get<std::string>());
        }
    }
    if (!wellFormed)
        co_return respond(SDKHTTPResponse::error(
            400, "bad_request", R"(Body: {"app":"lumetta","name":"lumetta","scopes":["activities"]})"));

    const std::string appID = app->get<std::string>();
    const std::string displayName = Text::trimmed(name->get<std::string>());
    if (!SDKAuthorizer::isValidAppID(appID))
        co_return respond(
            SDKHTTPResponse::error(400, "bad_app", "app: lowercase letters, digits, dots, dashes (≤64)."));
    if (!SDKAuthorizer::isValidName(name->get<std::string>()))
        co_return respond(SDKHTTPResponse::error(400, "bad_name", "name: 1–48 characters, one line."));
    const auto granted = SDKScopes::parse(scopeNames);
    if (!granted)
        co_return respond(SDKHTTPResponse::error(400, "bad_scopes", "scopes: any of activities, hud, shelf, agents."));

    {
        const Date moment = now();
        std::lock_guard guard(lock);
        if (!registerLimiter.allow(appID, moment, 1)) {
            // Every 429 says when to come back, as the requests' limit does.
            auto refusal =
                SDKHTTPResponse::error(429, "rate_limited", "Too many registration requests. Try again in a minute.");
            refusal.headers["Retry-After"] = std::to_string(registerLimiter.retryAfter(appID, moment));
            co_return respond(std::move(refusal));
        }
        if (pendingConsents.contains(appID))
            co_return respond(
                SDKHTTPResponse::error(409, "pending", "A consent prompt for this app is already showing."));
        pendingConsents.insert(appID);
    }

    std::optional<bool> allowed;
    if (const auto target = delegateOrNull()) {
        allowed = co_await SDKAwait::answer<bool>(seconds(current.consentTimeout), [&](auto answer) {
            target->askConsent(appID, displayName, *granted, std::move(answer));
        });
    }
    {
        std::lock_guard guard(lock);
        pendingConsents.erase(appID);
    }
    if (!allowed.value_or(false))
        co_return respond(SDKHTTPResponse::error(403, "denied", "The user didn't allow this app."));

    const std::string token = auth.issue(appID, displayName, *granted, now());
    JSON names = JSON::array();
    for (const SDKScope scope : *granted)
        names.push_back(std::string(brind::name(scope)));
    co_return respond(SDKHTTPResponse::json(200, JSON{{"token", token}, {"app", appID}, {"scopes", names}}));
}

void SDKBridge::disconnect(const std::string& appID) {
    auth.revoke(appID);
    if (const auto target = delegateOrNull())
        target->endActivities(activityID(appID, ""));
    for (const auto& connection : streamsOf(appID))
        connection->close();
}

} // namespace brind
