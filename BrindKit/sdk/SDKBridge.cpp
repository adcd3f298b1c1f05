#include "BrindKit/sdk/SDKBridge.hpp"

#include "BrindKit/agents/AgentDecisionEncoder.hpp"
#include "BrindKit/agents/AgentEventDecoder.hpp"
#include "BrindKit/agents/AgentInteraction.hpp"
#include "BrindKit/agents/AgentTerminalInfo.hpp"
#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/foundation/URL.hpp"
#include "BrindKit/foundation/UUID.hpp"
#include "BrindKit/sdk/SDKAwait.hpp"
#include "BrindKit/sdk/SDKRequestGuard.hpp"
#include "BrindKit/sdk/SDKSSE.hpp"

#include <chrono>
#include <filesystem>

namespace brind {

namespace {

constexpr std::size_t maxActivityIDLength = 64;
// The island answers a shelf drop at once; this only bounds a delegate that never answers.
constexpr auto shelfAnswerTimeout = std::chrono::seconds(10);

SDKHTTPResponse notFound() {
    return SDKHTTPResponse::error(404, "not_found", "Unknown path.");
}

SDKHTTPResponse jsonBodyRequired() {
    return SDKHTTPResponse::error(400, "bad_request", "JSON body required.");
}

SDKHTTPResponse unavailable() {
    return SDKHTTPResponse::error(503, "unavailable", "vantaquill is starting or stopping. Try again.");
}

SDKRouteResult respond(SDKHTTPResponse response) {
    return SDKRouteResult::response(std::move(response));
}

std::optional<JSON> jsonObject(const std::string& body) {
    if (body.empty())
        return std::nullopt;
    auto parsed = JSONText::parse(body);
    if (!parsed || !parsed->is_object())
        return std::nullopt;
    return std::move(*parsed);
}

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

std::chrono::steady_clock::duration seconds(double value) {
    return std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        std::chrono::duration<double>(std::max(0.0, value)));
}

// A script hears "allow", "deny" or "none"; leaving the choice to the agent's own prompt means
// nothing was decided here.
std::string_view decisionLabel(const AgentDecision& decision) {
    const std::string_view label = decision.label();
    return label == "ask" ? "none" : label;
}

// The five terminal headers of a hook call, each validated; one that fails is dropped.
void readTerminal(const SDKHTTPRequest& request, AgentHookEvent& event) {
    if (const auto terminal = request.header("x-vantaquill-terminal")) {
        const std::string trimmed = Text::trimmed(*terminal);
        if (!trimmed.empty())
            event.terminal = trimmed;
    }
    AgentTerminalInfo info;
    if (const auto tty = request.header("x-vantaquill-tty"))
        info.tty = AgentTerminalInfo::validTTY(*tty);
    if (const auto socket = request.header("x-vantaquill-tmux"))
        info.tmuxSocket = AgentTerminalInfo::validSocket(*socket);
    if (const auto pane = request.header("x-vantaquill-tmux-pane"))
        info.tmuxPane = AgentTerminalInfo::validPane(*pane);
    if (const auto session = request.header("x-vantaquill-term-session"))
        info.sessionID = AgentTerminalInfo::validSessionID(*session);
    if (const auto pid = request.header("x-vantaquill-pid"))
        info.processID = AgentTerminalInfo::validNumber(*pid);
    if (const auto window = request.header("x-vantaquill-kitty-window"))
        info.kittyWindow = AgentTerminalInfo::validNumber(*window);
    if (const auto pane = request.header("x-vantaquill-wezterm-pane"))
        info.weztermPane = AgentTerminalInfo::validNumber(*pane);
    if (info != AgentTerminalInfo{})
        event.terminalInfo = info;
}

} // namespace

const std::set<std::string, std::less<>> SDKBridge::readOnlyTools = {
    // Claude Code
    "Read", "Glob", "Grep", "LS", "NotebookRead", "TodoWrite", "WebSearch", "WebFetch", "BashOutput",
    // Gemini CLI
    "read_file", "read_many_files", "list_directory", "glob", "search_file_content", "google_web_search",
    "web_fetch",
};

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

std::string SDKBridge::activityID(std::string_view appID, std::string_view localID) {
    std::string id = "sdk.";
    id.append(appID).append(".").append(localID);
    return id;
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
        co_return postHUD(request);
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

SDKRouteResult SDKBridge::status() const {
    const Config current = config();
    return respond(SDKHTTPResponse::json(
        200, JSON{{"ok", true}, {"app", "vantaquill"}, {"version", current.version}, {"port", port()}}));
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
        if (!registerLimiter.allow(appID, moment, 1))
            co_return respond(SDKHTTPResponse::error(429, "rate_limited",
                                                     "Too many registration requests. Try again in a minute."));
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
        names.push_back(std::string(rawValue(scope)));
    co_return respond(SDKHTTPResponse::json(200, JSON{{"token", token}, {"app", appID}, {"scopes", names}}));
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
    const std::string id = decoded->id;
    target->showActivity(std::move(*decoded));
    return respond(SDKHTTPResponse::json(200, JSON{{"ok", true}, {"id", id}}));
}

SDKRouteResult SDKBridge::deleteActivity(const std::string& localID, const SDKClient& client) {
    if (!isValidLocalID(localID))
        return respond(SDKHTTPResponse::error(400, "bad_id", "id: 1–64 letters, digits, - _ ."));
    const auto target = delegateOrNull();
    if (!target)
        return respond(unavailable());
    const std::string id = activityID(client.appID, localID);
    target->endActivity(id);
    return respond(SDKHTTPResponse::json(200, JSON{{"ok", true}, {"id", id}}));
}

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

SDKBridge::Result SDKBridge::postShelf(const SDKHTTPRequest& request) {
    const auto body = jsonObject(request.body);
    if (!body)
        co_return respond(jsonBodyRequired());
    std::vector<std::string> candidates;
    if (const JSON* list = JSONRead::member(*body, "paths"); list && list->is_array()) {
        for (const auto& item : *list) {
            if (item.is_string())
                candidates.push_back(item.get<std::string>());
        }
    } else if (const auto single = JSONRead::string(*body, "path")) {
        candidates.push_back(*single);
    }
    std::vector<std::string> paths;
    for (auto& candidate : candidates) {
        std::error_code error;
        const std::filesystem::path path(candidate);
        if (path.is_absolute() && std::filesystem::exists(path, error))
            paths.push_back(std::move(candidate));
    }
    if (paths.empty())
        co_return respond(SDKHTTPResponse::error(400, "no_files", "paths: existing absolute file paths."));
    const auto target = delegateOrNull();
    if (!target)
        co_return respond(unavailable());
    const auto added = co_await SDKAwait::answer<std::size_t>(
        shelfAnswerTimeout, [&](auto done) { target->addToShelf(std::move(paths), std::move(done)); });
    co_return respond(SDKHTTPResponse::json(200, JSON{{"ok", true}, {"added", added.value_or(0)}}));
}

SDKBridge::Result SDKBridge::openStream(const SDKClient& client, std::shared_ptr<SDKConnection> connection) {
    connection->send(SDKHTTPResponse::sseHead());
    const std::string subscription = UUID::random().string();
    {
        std::lock_guard guard(lock);
        subscribers[subscription] = Subscriber{client.appID, connection};
    }
    connection->send(SDKSSE::event("hello", JSONText::compact(JSON{{"app", client.appID}})));

    auto executor = co_await asio::this_coro::executor;
    auto timer = std::make_shared<asio::steady_timer>(executor);
    connection->onClose([this, subscription, timer, executor] {
        {
            std::lock_guard guard(lock);
            subscribers.erase(subscription);
        }
        asio::post(executor, [timer] { timer->cancel(); });
    });
    asio::co_spawn(
        executor,
        [timer, connection]() -> asio::awaitable<void> {
            while (!connection->isClosed()) {
                timer->expires_after(seconds(keepAliveInterval));
                asio::error_code error;
                co_await timer->async_wait(asio::redirect_error(asio::use_awaitable, error));
                if (connection->isClosed())
                    break;
                if (!error)
                    connection->send(SDKSSE::comment("keep-alive"));
            }
        },
        asio::detached);
    co_return SDKRouteResult::stream();
}

bool SDKBridge::needsDecision(const AgentHookEvent& event) const {
    const Config current = config();
    if (current.approvalsEnabled && event.kind == AgentEventKind::permissionRequest) {
        if (current.approveEveryTool)
            return true;
        return !event.toolName || !readOnlyTools.contains(*event.toolName);
    }
    if (current.answerQuestions && event.kind == AgentEventKind::preTool && event.toolName &&
        AgentInteraction::isInteractiveTool(*event.toolName))
        return AgentInteraction::parse(*event.toolName, event.toolInputJSON.value_or("")).has_value();
    return false;
}

asio::awaitable<AgentDecision> SDKBridge::decide(const AgentHookEvent& event) {
    if (!needsDecision(event))
        co_return AgentDecision::none();
    const Config current = config();
    co_return co_await broker.request(event, current.approvalTimeout, UUID::random().string(), now());
}

SDKBridge::Result SDKBridge::agentHook(const SDKHTTPRequest& request) {
    const auto sent = request.header("x-vantaquill-hook");
    if (!sent || hookToken.empty() || !SDKAuthorizer::same(*sent, hookToken)) {
        SDKClient client;
        if (auto refusal = authorize(request, SDKScope::agents, client))
            co_return respond(std::move(*refusal));
    }
    const auto agentName = request.query.find("agent");
    const auto agent =
        agentName == request.query.end() ? std::nullopt : agentKindFromRawValue(agentName->second);
    if (!agent || *agent == AgentKind::generic)
        co_return respond(SDKHTTPResponse::error(400, "bad_agent", "agent: claude-code, codex, gemini, cursor."));

    std::optional<std::string_view> eventName;
    if (const auto found = request.query.find("event"); found != request.query.end() && !found->second.empty())
        eventName = found->second;
    auto event = AgentEventDecoder::decode(*agent, eventName, request.body, now());
    if (!event)
        co_return respond(SDKHTTPResponse::error(400, "bad_event", "Couldn't read the hook payload."));
    readTerminal(request, *event);

    if (const auto target = delegateOrNull())
        target->agentEvent(*event);
    const AgentDecision decision = co_await decide(*event);
    const auto output = AgentDecisionEncoder::output(decision, *event);
    if (!output)
        co_return respond(SDKHTTPResponse::raw(200, "", std::nullopt));
    co_return respond(SDKHTTPResponse::raw(200, *output, "application/json"));
}

SDKBridge::Result SDKBridge::agentEvent(const SDKHTTPRequest& request) {
    // The decoder reads only JSON objects, so a body it accepts needs no second parse here.
    auto event = AgentEventDecoder::decode(AgentKind::generic, std::nullopt, request.body, now());
    if (!event)
        co_return respond(SDKHTTPResponse::error(400, "bad_event",
                                                 R"(Body: {"event":"start","session":"build","name":"Build"})"));
    if (const auto target = delegateOrNull())
        target->agentEvent(*event);
    const AgentDecision decision = co_await decide(*event);
    co_return respond(SDKHTTPResponse::json(200, JSON{{"ok", true}, {"decision", std::string(decisionLabel(decision))}}));
}

void SDKBridge::publishAction(const std::string& id, const std::string& actionID) {
    const auto owner = auth.owner(id);
    if (!owner)
        return;
    const std::string localID = id.substr(activityID(owner->appID, "").size());
    const std::string data =
        JSONText::compact(JSON{{"id", id}, {"activity", localID}, {"action", actionID}});
    std::vector<std::shared_ptr<SDKConnection>> targets;
    {
        std::lock_guard guard(lock);
        for (const auto& [key, subscriber] : subscribers) {
            if (subscriber.appID == owner->appID)
                targets.push_back(subscriber.connection);
        }
    }
    for (const auto& connection : targets)
        connection->send(SDKSSE::event("action", data));
}

void SDKBridge::disconnect(const std::string& appID) {
    auth.revoke(appID);
    if (const auto target = delegateOrNull())
        target->endActivities(activityID(appID, ""));
    std::vector<std::shared_ptr<SDKConnection>> streams;
    {
        std::lock_guard guard(lock);
        for (const auto& [key, subscriber] : subscribers) {
            if (subscriber.appID == appID)
                streams.push_back(subscriber.connection);
        }
    }
    for (const auto& connection : streams)
        connection->close();
}

std::size_t SDKBridge::subscriberCount() const {
    std::lock_guard guard(lock);
    return subscribers.size();
}

} // namespace brind
