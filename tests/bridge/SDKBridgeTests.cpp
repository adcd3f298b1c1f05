#include "BrindKit/sdk/SDKBridge.hpp"

#include "BrindKit/foundation/URL.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

class RecordingDelegate final : public SDKBridgeDelegate {
public:
    std::vector<LiveActivity> shown;
    std::vector<std::string> ended;
    std::vector<std::string> endedPrefixes;
    std::vector<HUDEvent> huds;
    std::vector<AgentHookEvent> agentEvents;
    std::vector<std::string> consentAsked;
    std::optional<bool> consent = true; ///< nothing: the prompt is never answered
    std::vector<std::pair<HUDKey, HUDSteps::Grid>> steps;
    /// What a step answers: the level flashed, or why nothing changed.
    std::expected<HUDEvent, HUDStepFailure> stepOutcome =
        HUDEvent::make(HUDEvent::Kind::volume, 0.5625, false, std::nullopt, "Speakers", std::nullopt);

    void showActivity(LiveActivity activity) override { shown.push_back(std::move(activity)); }
    void endActivity(std::string id) override { ended.push_back(std::move(id)); }
    void endActivities(std::string prefix) override { endedPrefixes.push_back(std::move(prefix)); }
    void showHUD(HUDEvent event) override { huds.push_back(std::move(event)); }
    void stepHUD(HUDKey key, HUDSteps::Grid grid,
                 std::function<void(std::expected<HUDEvent, HUDStepFailure>)> done) override {
        steps.emplace_back(key, grid);
        done(stepOutcome);
    }
    void addToShelf(std::vector<std::string> paths, std::function<void(std::size_t)> done) override {
        done(paths.size());
    }
    void askConsent(std::string appID, std::string, std::vector<SDKScope>, std::function<void(bool)> answer) override {
        consentAsked.push_back(appID);
        if (consent)
            answer(*consent);
    }
    void agentEvent(AgentHookEvent event) override { agentEvents.push_back(std::move(event)); }
};

SDKHTTPRequest request(std::string method, std::string path, std::string body = {}, std::string token = {}) {
    SDKHTTPRequest request;
    request.method = std::move(method);
    const auto url = URL::parse("http://127.0.0.1" + path).value();
    request.path = url.path;
    for (auto& [name, value] : url.queryItems())
        request.query[name] = value;
    request.headers["host"] = "127.0.0.1:47829";
    if (!body.empty())
        request.headers["content-type"] = "application/json";
    if (!token.empty())
        request.headers["authorization"] = "Bearer " + token;
    request.body = std::move(body);
    return request;
}

class Bridge : public ::testing::Test {
protected:
    Bridge() : bridge(auth, broker, "hook-secret") {
        bridge.setDelegate(delegate);
        bridge.setClock([this] { return now; });
        token = auth.issue("lumetta", "Lumetta", {SDKScope::activities, SDKScope::agents}, now);
    }

    /// Runs the handler to completion on a real io_context.
    SDKHTTPResponse call(SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection = std::make_shared<SDKConnection>()) {
        std::optional<SDKRouteResult> result;
        asio::co_spawn(io, bridge.handle(std::move(request), std::move(connection)),
                       [&](std::exception_ptr, SDKRouteResult value) { result = std::move(value); });
        while (!result && !io.stopped())
            io.run_for(std::chrono::milliseconds(50));
        io.restart();
        EXPECT_TRUE(result);
        const auto* response = result ? std::get_if<SDKRouteResult::Response>(&result->kind) : nullptr;
        return response ? response->response : SDKHTTPResponse{.status = 0, .headers = {}, .body = "stream"};
    }

    Date now{1'700'000'000};
    SDKAuthorizer auth;
    AgentApprovalBroker broker;
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    SDKBridge bridge;
    asio::io_context io;
    std::string token;
};

} // namespace

TEST_F(Bridge, AnswersStatusAndUnknownPaths) {
    const auto status = call(request("GET", "/v1/status"));
    EXPECT_EQ(status.status, 200);
    EXPECT_EQ(status.body, R"({"app":"vantaquill","ok":true,"port":47829,"version":"1.0"})");
    auto config = bridge.config();
    config.surface = "x11";
    config.surfaceReason = "an X11 session";
    bridge.setConfig(config);
    EXPECT_EQ(call(request("GET", "/v1/status")).body,
              R"({"app":"vantaquill","ok":true,"port":47829,)"
              R"("surface":{"kind":"x11","reason":"an X11 session"},"version":"1.0"})");
    for (const auto& [method, path] : std::vector<std::pair<std::string, std::string>>{
             {"GET", "/v2/status"}, {"POST", "/v1/status"}, {"GET", "/"}, {"GET", "/v1/activities/x/y"}}) {
        const auto reply = call(request(method, path));
        EXPECT_EQ(reply.status, 404) << method << " " << path;
        EXPECT_EQ(reply.body, R"({"error":"not_found","message":"Unknown path."})");
    }
    EXPECT_EQ(call(request("DELETE", "/v1/activities", {}, token)).body,
              R"({"error":"not_found","message":"DELETE /v1/activities/<id>"})");
}

TEST_F(Bridge, RegistrationChecksTheBodyThenAsksTheUser) {
    const std::pair<std::string, std::string> refusals[] = {
        {"[]", R"({"error":"bad_request","message":"Body: {\"app\":\"lumetta\",\"name\":\"lumetta\",\"scopes\":[\"activities\"]}"})"},
        {R"({"app":"Bad App","name":"x","scopes":["hud"]})", R"({"error":"bad_app","message":"app: lowercase letters, digits, dots, dashes (≤64)."})"},
        {R"({"app":"ok","name":"two\nlines","scopes":["hud"]})", R"({"error":"bad_name","message":"name: 1–48 characters, one line."})"},
        {R"({"app":"ok","name":"Ok","scopes":["hud","camera"]})", R"({"error":"bad_scopes","message":"scopes: any of activities, hud, shelf, agents."})"},
    };
    for (const auto& [body, reply] : refusals) {
        const auto answer = call(request("POST", "/v1/register", body));
        EXPECT_EQ(answer.status, 400) << body;
        EXPECT_EQ(answer.body, reply) << body;
    }
    EXPECT_TRUE(delegate->consentAsked.empty());

    const auto allowed = call(request("POST", "/v1/register", R"({"app":"kiln","name":"Kiln","scopes":["HUD","hud","activities"]})"));
    ASSERT_EQ(allowed.status, 200);
    const auto json = JSON::parse(allowed.body);
    EXPECT_EQ(json["app"], "kiln");
    EXPECT_EQ(json["scopes"], (JSON{"activities", "hud"}));
    EXPECT_TRUE(auth.authorize(json["token"].get<std::string>(), SDKScope::hud, now).has_value());

    delegate->consent = false;
    EXPECT_EQ(call(request("POST", "/v1/register", R"({"app":"kiln","name":"Kiln","scopes":["hud"]})")).body,
              R"({"error":"denied","message":"The user didn't allow this app."})");
    EXPECT_EQ(call(request("POST", "/v1/register", R"({"app":"kiln","name":"Kiln","scopes":["hud"]})")).body,
              R"({"error":"denied","message":"The user didn't allow this app."})");
    // The fourth registration for one app within a minute is refused before anyone is asked.
    const auto limited = call(request("POST", "/v1/register", R"({"app":"kiln","name":"Kiln","scopes":["hud"]})"));
    EXPECT_EQ(limited.status, 429);
    EXPECT_EQ(delegate->consentAsked.size(), 3u);

    auto config = bridge.config();
    config.registrationsEnabled = false;
    bridge.setConfig(config);
    EXPECT_EQ(call(request("POST", "/v1/register", R"({"app":"new","name":"New","scopes":["hud"]})")).status, 403);
}

TEST_F(Bridge, SecondRegistrationWhilePromptShowsIsRefusedAndSilenceDenies) {
    delegate->consent.reset();
    auto config = bridge.config();
    config.consentTimeout = 0.2;
    bridge.setConfig(config);
    std::optional<SDKRouteResult> first;
    asio::co_spawn(io, bridge.handle(request("POST", "/v1/register", R"({"app":"kiln","name":"Kiln","scopes":["hud"]})"),
                                     std::make_shared<SDKConnection>()),
                   [&](std::exception_ptr, SDKRouteResult value) { first = std::move(value); });
    io.run_for(std::chrono::milliseconds(20));
    io.restart();
    const auto second = call(request("POST", "/v1/register", R"({"app":"kiln","name":"Kiln","scopes":["hud"]})"));
    EXPECT_EQ(second.status, 409);
    EXPECT_EQ(second.body, R"({"error":"pending","message":"A consent prompt for this app is already showing."})");
    io.run();
    ASSERT_TRUE(first);
    EXPECT_EQ(std::get<SDKRouteResult::Response>(first->kind).response.status, 403);
}

TEST_F(Bridge, ActivitiesLiveInTheClientsOwnNamespace) {
    const auto reply = call(request("POST", "/v1/activities",
                                    R"({"id":"upload","title":"Uploading","symbol":"arrow.up","expiresIn":60,"source":"spoof","priority":"high"})",
                                    token));
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body, R"({"id":"sdk.lumetta.upload","ok":true})");
    EXPECT_EQ(delegate->shown, (std::vector<LiveActivity>{{.id = "sdk.lumetta.upload",
                                                            .source = "sdk.lumetta",
                                                            .priority = ActivityPriority::important,
                                                            .leading = ActivityGlyph::symbol("arrow.up"),
                                                            .title = "Uploading",
                                                            .expiresAt = now + 60,
                                                            .postedAt = now}}));

    // An explicit leading glyph wins over the shorthand symbol.
    call(request("POST", "/v1/activities", R"({"id":"a","title":"A","symbol":"x","leading":{"text":"4:05"}})", token));
    EXPECT_EQ(delegate->shown.back().leading, (ActivityGlyph{ActivityGlyph::Text{"4:05", std::nullopt}}));

    EXPECT_EQ(call(request("DELETE", "/v1/activities/upload", {}, token)).body, R"({"id":"sdk.lumetta.upload","ok":true})");
    EXPECT_EQ(delegate->ended, (std::vector<std::string>{"sdk.lumetta.upload"}));
}

TEST_F(Bridge, ScopesAreEnforcedPerRoute) {
    const auto hud = call(request("POST", "/v1/hud", R"({"kind":"custom","text":"Hi"})", token));
    EXPECT_EQ(hud.status, 403);
    EXPECT_EQ(hud.body, R"({"error":"forbidden","message":"This app wasn't granted the 'hud' scope."})");
    EXPECT_TRUE(delegate->huds.empty());
}

TEST_F(Bridge, HUDBodiesUseTheClientsWords) {
    const std::string hudToken = auth.issue("flash", "Flash", {SDKScope::hud}, now);
    EXPECT_EQ(call(request("POST", "/v1/hud", R"({"kind":"volume","text":"Speakers","level":0.5})", hudToken)).status, 200);
    EXPECT_EQ(delegate->huds, std::vector{HUDEvent::make(HUDEvent::Kind::volume, 0.5, false, std::nullopt,
                                                         "Speakers", std::nullopt)});
    const auto bad = call(request("POST", "/v1/hud", R"({"kind":"sparkles"})", hudToken));
    EXPECT_EQ(bad.body, R"({"error":"bad_hud","message":"Couldn't read the HUD. See docs/SDK.md."})");
}

TEST_F(Bridge, HUDBodiesNamingAStepPressAKey) {
    const std::string hudToken = auth.issue("keys", "Keys", {SDKScope::hud}, now);
    const auto stepped = call(request("POST", "/v1/hud", R"({"step":"volume","direction":"up"})", hudToken));
    EXPECT_EQ(stepped.status, 200);
    EXPECT_EQ(stepped.body, R"({"hud":{"kind":"volume","label":"Speakers","muted":false,"value":0.5625},"ok":true})");
    EXPECT_EQ(call(request("POST", "/v1/hud", R"({"step":"keyboard","direction":"toggle","fine":true})", hudToken)).status,
              200);
    const std::vector<std::pair<HUDKey, HUDSteps::Grid>> pressed = {{HUDKey::soundUp, HUDSteps::Grid::coarse},
                                                                    {HUDKey::illuminationToggle, HUDSteps::Grid::fine}};
    EXPECT_EQ(delegate->steps, pressed);
    EXPECT_TRUE(delegate->huds.empty());

    // A mute for the brightness, a missing direction or a "fine" that is not a boolean press nothing.
    for (const char* body : {R"({"step":"brightness","direction":"mute"})", R"({"step":"volume"})",
                             R"({"step":"volume","direction":"up","fine":"yes"})", R"({"step":42,"direction":"up"})"}) {
        const auto bad = call(request("POST", "/v1/hud", body, hudToken));
        EXPECT_EQ(bad.status, 400) << body;
        EXPECT_NE(bad.body.find(R"("error":"bad_hud_step")"), std::string::npos) << body;
    }
    EXPECT_EQ(delegate->steps.size(), 2u);

    delegate->stepOutcome = std::unexpected(HUDStepFailure{"No backlight."});
    const auto missing = call(request("POST", "/v1/hud", R"({"step":"brightness","direction":"down"})", hudToken));
    EXPECT_EQ(missing.status, 503);
    EXPECT_EQ(missing.body, R"({"error":"hud_unavailable","message":"No backlight."})");
}

TEST_F(Bridge, HookCallsAnswerInTheAgentsOwnForm) {
    auto hook = [&](const std::string& agent, const std::string& body) {
        auto made = request("POST", "/v1/agents/hook?agent=" + agent, body);
        made.headers["x-vantaquill-hook"] = "hook-secret";
        made.headers["x-vantaquill-tty"] = "pts/3";
        made.headers["x-vantaquill-tmux-pane"] = "%12; rm -rf /";
        made.headers["x-vantaquill-pid"] = " 4242 ";
        made.headers["x-vantaquill-kitty-window"] = "7 && x";
        return call(std::move(made));
    };
    const auto quiet = hook("claude-code", R"({"hook_event_name":"PreToolUse","session_id":"s","tool_name":"Bash","tool_input":{"command":"ls"}})");
    EXPECT_EQ(quiet.status, 200);
    EXPECT_EQ(quiet.body, "");
    EXPECT_FALSE(quiet.headers.contains("Content-Type"));
    // Headers that could smuggle a shell command are dropped.
    ASSERT_EQ(delegate->agentEvents.size(), 1u);
    AgentTerminalInfo terminal;
    terminal.tty = "/dev/pts/3";
    terminal.processID = "4242";
    EXPECT_EQ(delegate->agentEvents[0].terminalInfo, terminal);

    const auto prompt = hook("cursor", R"({"hook_event_name":"beforeSubmitPrompt","conversation_id":"c"})");
    EXPECT_EQ(prompt.body, R"({"continue":true})");
    EXPECT_EQ(prompt.headers.at("Content-Type"), "application/json");

    // A read-only tool's permission request is not held for the user.
    const auto read = hook("claude-code", R"({"hook_event_name":"PermissionRequest","session_id":"s","tool_name":"Read","tool_input":{"file_path":"/a"}})");
    EXPECT_EQ(read.body, "");
    EXPECT_TRUE(broker.openRequests().empty());

    EXPECT_EQ(hook("generic", "{}").status, 400);
    EXPECT_EQ(hook("claude-code", "not json").body, R"({"error":"bad_event","message":"Couldn't read the hook payload."})");
    auto stranger = request("POST", "/v1/agents/hook?agent=codex", "{}");
    stranger.headers["x-vantaquill-hook"] = "wrong";
    EXPECT_EQ(call(std::move(stranger)).status, 401);
}

TEST_F(Bridge, PermissionRequestsWaitForTheBroker) {
    auto config = bridge.config();
    config.approvalTimeout = 0.05;
    bridge.setConfig(config);
    const auto timedOut = call(request("POST", "/v1/agents/event",
                                       R"({"event":"permission","session":"deploy","tool":"Bash","command":"./deploy.sh"})", token));
    EXPECT_EQ(timedOut.body, R"({"decision":"none","ok":true})");

    config.approvalsEnabled = false;
    bridge.setConfig(config);
    EXPECT_EQ(call(request("POST", "/v1/agents/event", R"({"event":"permission","session":"d","tool":"Bash"})", token)).body,
              R"({"decision":"none","ok":true})");
    EXPECT_EQ(call(request("POST", "/v1/agents/event", R"({"session":"d"})", token)).body,
              R"({"error":"bad_event","message":"Body: {\"event\":\"start\",\"session\":\"build\",\"name\":\"Build\"}"})");
}

TEST_F(Bridge, EventStreamsHearHelloActionsAndGoAwayOnDisconnect) {
    std::vector<std::string> sent;
    bool closed = false;
    auto connection = std::make_shared<SDKConnection>([&](std::string bytes) { sent.push_back(std::move(bytes)); },
                                                      [&] { closed = true; });
    std::optional<SDKRouteResult> result;
    asio::co_spawn(io, bridge.handle(request("GET", "/v1/events", {}, token), connection),
                   [&](std::exception_ptr, SDKRouteResult value) { result = std::move(value); });
    io.run_for(std::chrono::milliseconds(50));
    ASSERT_TRUE(result);
    EXPECT_TRUE(std::holds_alternative<SDKRouteResult::Stream>(result->kind));
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0], SDKHTTPResponse::sseHead());
    EXPECT_EQ(sent[1], "event: hello\ndata: {\"app\":\"lumetta\"}\n\n");
    EXPECT_EQ(bridge.subscriberCount(), 1u);

    bridge.publishAction("sdk.lumetta.upload", "cancel");
    bridge.publishAction("sdk.someone-else.upload", "cancel");
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_EQ(sent[2], "event: action\ndata: {\"action\":\"cancel\",\"activity\":\"upload\",\"id\":\"sdk.lumetta.upload\"}\n\n");

    bridge.disconnect("lumetta");
    EXPECT_TRUE(closed);
    EXPECT_EQ(delegate->endedPrefixes, (std::vector<std::string>{"sdk.lumetta."}));
    EXPECT_FALSE(auth.client("lumetta"));
    connection->markClosed();
    EXPECT_EQ(bridge.subscriberCount(), 0u);
    io.restart();
    io.run(); // the keep-alive loop ends once the stream has closed
}


TEST_F(Bridge, AnswersWhatNeedsNoWaitingAsHandleDoesAndLeavesTheRestUntouched) {
    // A client that may also flash the HUD, whose rate the test counts from the start.
    const std::string client = auth.issue("wirebird", "Wirebird", {SDKScope::activities, SDKScope::hud}, now);
    const std::string activity = R"({"id":"up","title":"Uploading"})";
    const std::vector<SDKHTTPRequest> immediate{
        request("GET", "/v1/status"),
        request("GET", "/v2/status"),
        request("POST", "/v1/activities", activity, client),
        request("POST", "/v1/activities", activity, "not-a-token"),
        request("POST", "/v1/activities", "{", client),
        request("DELETE", "/v1/activities/up", {}, client),
        request("DELETE", "/v1/activities", {}, client),
        request("PUT", "/v1/activities", activity, client),
    };
    for (const auto& sent : immediate) {
        SCOPED_TRACE(sent.method + " " + sent.path);
        const auto now = bridge.answerNow(sent);
        ASSERT_TRUE(now);
        EXPECT_EQ(std::get<SDKRouteResult::Response>(now->kind).response, call(sent));
    }
    EXPECT_EQ(delegate->shown.size() + delegate->ended.size(), 4u); // posted and ended once by each of the two ways

    auto fromBrowser = request("POST", "/v1/hud", R"({"kind":"custom","text":"Hi"})", client);
    fromBrowser.headers["origin"] = "https://example.com";
    ASSERT_TRUE(bridge.answerNow(fromBrowser));
    EXPECT_EQ(std::get<SDKRouteResult::Response>(bridge.answerNow(fromBrowser)->kind).response.status, 403);

    // The waiting routes are left alone, and so are charged to the client's rate only once, by
    // `handle`: a burst of 40 is allowed, the 41st is not.
    const auto hud = request("POST", "/v1/hud", R"({"kind":"custom","text":"Hi"})", client);
    for (const auto& waiting : {hud, request("POST", "/v1/register", "{}"), request("GET", "/v1/events", {}, client),
                                request("POST", "/v1/agents/hook", "{}")})
        EXPECT_FALSE(bridge.answerNow(waiting)) << waiting.path;
    // The authorised activity requests above cost six of the 40; asking about the HUD cost nothing.
    for (int i = 0; i < 34; ++i)
        ASSERT_EQ(call(hud).status, 200) << i;
    EXPECT_EQ(call(hud).status, 429);
    EXPECT_EQ(delegate->huds.size(), 34u);
}

TEST_F(Bridge, StatusWrittenAsTextIsTheJSONOfItsObject) {
    for (const std::string reason : {"plain", "a \"quoted\" \\ reason\nwith\tcontrols \x01 and é", "broken \xC3("}) {
        auto config = bridge.config();
        config.surface = "x11";
        config.surfaceReason = reason;
        config.version = "2.0\u2028";
        bridge.setConfig(config);
        const JSON expected{{"ok", true},
                            {"app", "vantaquill"},
                            {"version", config.version},
                            {"port", 47829},
                            {"surface", JSON{{"kind", "x11"}, {"reason", reason}}}};
        EXPECT_EQ(call(request("GET", "/v1/status")), SDKHTTPResponse::json(200, expected)) << reason;
    }
}
