#include "BrindKit/sdk/SDKBridge.hpp"

#include "BrindKit/foundation/URL.hpp"
#include "BrindKit/sdk/SDKBridgeRoute.hpp"
#include "BrindKit/sdk/SDKRequestGuard.hpp"

#include <string_view>
#include <vector>

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
    statusBody.clear();
}

void SDKBridge::setPort(std::uint16_t port) {
    std::lock_guard guard(lock);
    _port = port;
    statusBody.clear();
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
    if (auto answer = answerNow(request))
        co_return std::move(*answer);
    co_return co_await route(std::move(request), std::move(connection));
}

namespace {

// A request's method and path, matched against the route table.
struct RouteKey {
    const std::string& method;
    const std::vector<std::string_view>& segments;

    // `method` and the segments after "v1".
    bool is(std::string_view wantedMethod, std::initializer_list<std::string_view> rest) const {
        if (method != wantedMethod || segments.size() != rest.size() + 1)
            return false;
        std::size_t index = 1;
        for (const auto part : rest) {
            if (segments[index++] != part)
                return false;
        }
        return true;
    }
    bool isDeleteActivity() const {
        return method == "DELETE" && segments.size() == 3 && segments[1] == "activities";
    }
};

// Every route the bridge answers, by method and path.
bool isRoute(const RouteKey& key) {
    return key.is("GET", {"status"}) || key.is("GET", {"events"}) || key.is("POST", {"register"}) ||
           key.is("POST", {"activities"}) || key.is("POST", {"hud"}) || key.is("POST", {"shelf"}) ||
           key.is("POST", {"agents", "hook"}) || key.is("POST", {"agents", "event"}) || key.isDeleteActivity();
}

// The method a path takes, for the Allow field of a 405: an OPTIONS request is refused whatever its
// path, and HTTP asks such a refusal to say what the path takes. Empty for a path that is no route.
std::string methodsAt(const std::vector<std::string_view>& segments) {
    if (segments.empty() || segments.front() != "v1")
        return {};
    for (std::string method : {"GET", "POST", "DELETE"}) {
        if (isRoute(RouteKey{method, segments}))
            return method;
    }
    return {};
}

} // namespace

// Everything that never waits is answered here, on the server's thread, without a coroutine: the
// guard's refusals, unknown paths, the status, activities, and every refusal of a token, scope or
// rate. The routes that wait (registration, hooks, streams, the HUD, the shelf, agent events) are
// left to `route`, untouched: they are authorised there, so that a request is charged once.
std::optional<SDKRouteResult> SDKBridge::answerNow(const SDKHTTPRequest& request) {
    if (auto refusal = SDKRequestGuard::check(request, port())) {
        if (refusal->status == 405)
            refusal->headers["Allow"] = methodsAt(request.segments());
        return respond(std::move(*refusal));
    }
    const auto segments = request.segments();
    if (segments.empty() || segments.front() != "v1")
        return respond(notFound());
    const RouteKey key{request.method, segments};
    if (key.is("GET", {"status"}))
        return status();
    if (key.is("POST", {"register"}) || key.is("POST", {"agents", "hook"}) || key.is("GET", {"events"}) ||
        key.is("POST", {"hud"}) || key.is("POST", {"shelf"}) || key.is("POST", {"agents", "event"}))
        return std::nullopt;
    if (request.method == "DELETE" && segments.size() == 2 && segments[1] == "activities")
        return respond(SDKHTTPResponse::error(404, "not_found", "DELETE /v1/activities/<id>"));
    const bool deleting = key.isDeleteActivity();
    if (!deleting && !key.is("POST", {"activities"}))
        return respond(notFound());

    SDKClient client;
    if (auto refusal = authorize(request, SDKScope::activities, client))
        return respond(std::move(*refusal));
    if (deleting)
        return deleteActivity(URL::percentDecode(segments[2]), client);
    return postActivity(request, client);
}

// The routes that may wait; `answerNow` has already passed the request through the guard.
SDKBridge::Result SDKBridge::route(SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection) {
    const auto segments = request.segments();
    const RouteKey key{request.method, segments};
    if (key.is("POST", {"register"}))
        co_return co_await registerClient(request);
    if (key.is("POST", {"agents", "hook"}))
        co_return co_await agentHook(request);

    SDKClient client;
    if (key.is("GET", {"events"})) {
        if (auto refusal = authorize(request, std::nullopt, client))
            co_return respond(std::move(*refusal));
        co_return co_await openStream(client, std::move(connection));
    }

    std::optional<SDKScope> scope;
    if (key.is("POST", {"hud"}))
        scope = SDKScope::hud;
    else if (key.is("POST", {"shelf"}))
        scope = SDKScope::shelf;
    else if (key.is("POST", {"agents", "event"}))
        scope = SDKScope::agents;
    if (!scope)
        co_return respond(notFound());
    if (auto refusal = authorize(request, *scope, client))
        co_return respond(std::move(*refusal));

    switch (*scope) {
    case SDKScope::hud:
        co_return co_await postHUD(request);
    case SDKScope::shelf:
        co_return co_await postShelf(request);
    case SDKScope::agents:
        co_return co_await agentEvent(request);
    case SDKScope::activities:
        break;
    }
    co_return respond(notFound());
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
