#include "BrindKit/sdk/SDKBridge.hpp"

#include "BrindKit/foundation/URL.hpp"
#include "BrindKit/sdk/SDKBridgeRoute.hpp"
#include "BrindKit/sdk/SDKRequestGuard.hpp"

// The bridge's routes live in one file per family (SDKBridgeRegistration, SDKBridgeActivities,
// SDKBridgeHUD, SDKBridgeShelf, SDKBridgeEvents, SDKBridgeAgents); this file holds what every request
// goes through: the guard, the route table, the token and scope check and the rate limit.

namespace brind {

using namespace SDKBridgeRoute;

SDKBridge::SDKBridge(SDKAuthorizer& auth, AgentApprovalBroker& broker, std::string hookToken, std::uint16_t port)
    : auth(auth), broker(broker), hookToken(std::move(hookToken)), limiter(SDKRateLimiter::requests()), registerLimiter(SDKRateLimiter::registrations()),
      _port(port), clock(&Date::now) {}

void SDKBridge::setDelegate(std::weak_ptr<SDKBridgeDelegate> newDelegate) {
    std::lock_guard guard(lock);
    delegate = std::move(newDelegate);
}

SDKBridge::Config SDKBridge::config() const {
    std::lock_guard guard(lock);
    return _config;
}

void SDKBridge::setConfig(Config config) {
    std::lock_guard guard(lock);
    _config = std::move(config);
}

void SDKBridge::setPort(std::uint16_t port) {
    std::lock_guard guard(lock);
    _port = port;
}

std::uint16_t SDKBridge::port() const {
    std::lock_guard guard(lock);
    return _port;
}

void SDKBridge::setClock(std::function<Date()> newClock) {
    std::lock_guard guard(lock);
    clock = std::move(newClock);
}

Date SDKBridge::now() const {
    std::lock_guard guard(lock);
    return clock();
}

std::shared_ptr<SDKBridgeDelegate> SDKBridge::delegateOrNull() const {
    std::lock_guard guard(lock);
    return delegate.lock();
}

asio::awaitable<SDKRouteResult> SDKBridge::handle(SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection) {
    if (auto refusal = SDKRequestGuard::check(request, port()))
        co_return respond(std::move(*refusal));
    co_return co_await route(std::move(request), std::move(connection));
}

SDKBridge::Result SDKBridge::route(SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection) {
    const std::vector<std::string> segments = request.segments();
    if (segments.empty() || segments.front() != "v1")
        co_return respond(notFound());
    const std::string& method = request.method;
    const std::size_t count = segments.size();
    const auto is = [&](std::string_view wantedMethod, std::initializer_list<std::string_view> rest) {
        if (method != wantedMethod || count != rest.size() + 1)
            return false;
        std::size_t index = 1;
        for (const auto part : rest) {
            if (segments[index++] != part)
                return false;
        }
        return true;
    };

    if (is("GET", {"status"}))
        co_return status();
    if (is("POST", {"register"}))
        co_return co_await registerClient(request);
    if (is("POST", {"agents", "hook"}))
        co_return co_await agentHook(request);
    if (method == "DELETE" && count == 2 && segments[1] == "activities")
        co_return respond(SDKHTTPResponse::error(404, "not_found", "DELETE /v1/activities/<id>"));

    SDKClient client;
    if (is("GET", {"events"})) {
        if (auto refusal = authorize(request, std::nullopt, client))
            co_return respond(std::move(*refusal));
        co_return co_await openStream(client, std::move(connection));
    }

    std::optional<SDKScope> scope;
    if (is("POST", {"activities"}) || (method == "DELETE" && count == 3 && segments[1] == "activities"))
        scope = SDKScope::activities;
    else if (is("POST", {"hud"}))
        scope = SDKScope::hud;
    else if (is("POST", {"shelf"}))
        scope = SDKScope::shelf;
    else if (is("POST", {"agents", "event"}))
        scope = SDKScope::agents;
    if (!scope)
        co_return respond(notFound());
    if (auto refusal = authorize(request, *scope, client))
        co_return respond(std::move(*refusal));

    switch (*scope) {
    case SDKScope::activities:
        if (method == "DELETE")
            co_return deleteActivity(URL::percentDecode(segments[2]), client);
        co_return postActivity(request, client);
    case SDKScope::hud:
        co_return co_await postHUD(request);
    case SDKScope::shelf:
        co_return co_await postShelf(request);
    case SDKScope::agents:
        co_return co_await agentEvent(request);
    }
    std::unreachable();
}

std::optional<SDKHTTPResponse> SDKBridge::authorize(const SDKHTTPRequest& request,
                                                    std::optional<SDKScope> scope, SDKClient& client) {
    const Date moment = now();
    auto authorized = auth.authorize(request.bearerToken(), scope, moment);
    if (!authorized)
        return authorized.error().response();
    client = std::move(*authorized);
    return charge(client.appID, moment);
}

std::optional<SDKHTTPResponse> SDKBridge::charge(const std::string& appID, Date moment) {
    std::lock_guard guard(lock);
    if (limiter.allow(appID, moment, 1))
        return std::nullopt;
    auto refusal = SDKHTTPResponse::error(429, "rate_limited", "Slow down.");
    refusal.headers["Retry-After"] = std::to_string(limiter.retryAfter(appID, moment));
    return refusal;
}

} // namespace brind
