#include "BrindKit/foundation/URL.hpp"
#include "BrindKit/sdk/SDKBridge.hpp"
#include "tests/sdk/TestData.hpp"

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
    void askConsent(std::string appID, std::string, std::vector<SDKScope>,
                    std::function<void(bool)> answer) override {
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
    SDKHTTPResponse call(SDKHTTPRequest request) {
        std::optional<SDKRouteResult> result;
        asio::co_spawn(io, bridge.handle(std::move(request), std::make_shared<SDKConnection>()),
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

// Each row of the table: a request, whose client ("as") is a token the fixture issued, the hook
// secret, a stranger's secret or nobody; the status and the exact reply it gets. Apart from the
// status, every row is refused before anything reaches the application.
TEST_F(Bridge, AnswersStatusUnknownPathsAndRefusalsWithTheirExactBodies) {
    const std::map<std::string, std::string> tokens = {
        {"lumetta", token},
        {"flash", auth.issue("flash", "Flash", {SDKScope::hud}, now)},
        {"unknown", "vq_nope"}};
    for (const JSON& row : brindtest::testTable("sdk/bridge-refusals.json")) {
        const std::string line = row["request"];
        SCOPED_TRACE(line);
        const std::string as = row.value("as", "");
        auto sent = request(line.substr(0, line.find(' ')), line.substr(line.find(' ') + 1),
                            row.contains("json") ? row["json"].dump() : row.value("body", ""),
                            tokens.contains(as) ? tokens.at(as) : "");
        if (as == "hook" || as == "stranger")
            sent.headers["x-vantaquill-hook"] = as == "hook" ? "hook-secret" : "wrong";
        const auto reply = call(std::move(sent));
        EXPECT_EQ(reply.status, row["status"]);
        EXPECT_EQ(reply.body, row["reply"].dump());
        if (row.contains("allow")) {
            EXPECT_EQ(reply.headers.contains("Allow") ? reply.headers.at("Allow") : "(none)", row["allow"]);
        }
    }
    EXPECT_TRUE(delegate->shown.empty() && delegate->huds.empty() && delegate->steps.empty());
    EXPECT_TRUE(delegate->agentEvents.empty() && delegate->consentAsked.empty() && delegate->ended.empty());
}

TEST_F(Bridge, RegistrationAsksTheUserAndIssuesATokenForTheScopesGranted) {
    const auto allowed =
        call(request("POST", "/v1/register",
                     R"({"app":"kiln","name":"Kiln","scopes":["agents","HUD","hud","activities"]})"));
    ASSERT_EQ(allowed.status, 200);
    const auto json = JSON::parse(allowed.body);
    EXPECT_EQ(json["app"], "kiln");
    EXPECT_EQ(json["scopes"], (JSON{"activities", "hud", "agents"}));
    EXPECT_TRUE(auth.authorize(json["token"].get<std::string>(), SDKScope::hud, now).has_value());

    delegate->consent = false;
    const auto again = request("POST", "/v1/register", R"({"app":"kiln","name":"Kiln","scopes":["hud"]})");
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(call(again).body, R"({"error":"denied","message":"The user didn't allow this app."})");
    // The fourth registration for one app within a minute is refused before anyone is asked, and
    // told when the next one is let through (one every 20 seconds).
    const auto refused = call(again);
    EXPECT_EQ(refused.status, 429);
    EXPECT_EQ(refused.headers.contains("Retry-After") ? refused.headers.at("Retry-After") : "", "20");
    EXPECT_EQ(delegate->consentAsked.size(), 3u);

    auto config = bridge.config();
    config.registrationsEnabled = false;
    bridge.setConfig(config);
    EXPECT_EQ(call(request("POST", "/v1/register", R"({"app":"new","name":"New","scopes":["hud"]})")).status,
              403);
}

TEST_F(Bridge, SecondRegistrationWhilePromptShowsIsRefusedAndSilenceDenies) {
    delegate->consent.reset();
    auto config = bridge.config();
    config.consentTimeout = 0.2;
    bridge.setConfig(config);
    const auto kiln = request("POST", "/v1/register", R"({"app":"kiln","name":"Kiln","scopes":["hud"]})");
    std::optional<SDKRouteResult> first;
    asio::co_spawn(io, bridge.handle(kiln, std::make_shared<SDKConnection>()),
                   [&](std::exception_ptr, SDKRouteResult value) { first = std::move(value); });
    io.run_for(std::chrono::milliseconds(20));
    io.restart();
    const auto second = call(kiln);
    EXPECT_EQ(second.status, 409);
    EXPECT_EQ(second.body,
              R"({"error":"pending","message":"A consent prompt for this app is already showing."})");
    io.run();
    ASSERT_TRUE(first);
    EXPECT_EQ(std::get<SDKRouteResult::Response>(first->kind).response.status, 403);
}

TEST_F(Bridge, ActivitiesLiveInTheClientsOwnNamespace) {
    const auto reply = call(request(
        "POST", "/v1/activities",
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
    call(request("POST", "/v1/activities", R"({"id":"a","title":"A","symbol":"x","leading":{"text":"4:05"}})",
                 token));
    EXPECT_EQ(delegate->shown.back().leading, (ActivityGlyph{ActivityGlyph::Text{"4:05", std::nullopt}}));

    EXPECT_EQ(call(request("DELETE", "/v1/activities/upload", {}, token)).body,
              R"({"id":"sdk.lumetta.upload","ok":true})");
    EXPECT_EQ(delegate->ended, (std::vector<std::string>{"sdk.lumetta.upload"}));
}

// A step that cannot be taken: tests/hud HUDLevels.
TEST_F(Bridge, HUDBodiesFlashInTheClientsWordsOrPressAKey) {
    const std::string hud = auth.issue("keys", "Keys", {SDKScope::hud}, now);
    const auto post = [&](const std::string& body) { return call(request("POST", "/v1/hud", body, hud)); };
    EXPECT_EQ(post(R"({"kind":"volume","text":"Speakers","level":0.5})").status, 200);
    EXPECT_EQ(delegate->huds, std::vector{HUDEvent::make(HUDEvent::Kind::volume, 0.5, false, std::nullopt,
                                                         "Speakers", std::nullopt)});
    const auto stepped = post(R"({"step":"volume","direction":"up"})");
    EXPECT_EQ(stepped.status, 200);
    EXPECT_EQ(stepped.body,
              R"({"hud":{"kind":"volume","label":"Speakers","muted":false,"value":0.5625},"ok":true})");
    EXPECT_EQ(post(R"({"step":"keyboard","direction":"toggle","fine":true})").status, 200);
    const std::vector<std::pair<HUDKey, HUDSteps::Grid>> pressed = {
        {HUDKey::soundUp, HUDSteps::Grid::coarse}, {HUDKey::illuminationToggle, HUDSteps::Grid::fine}};
    EXPECT_EQ(delegate->steps, pressed);
    EXPECT_EQ(delegate->huds.size(), 1u);
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
    const auto quiet = hook("claude-code", R"({"hook_event_name":"PreToolUse","session_id":"s",)"
                                           R"("tool_name":"Bash","tool_input":{"command":"ls"}})");
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
    const auto read = hook("claude-code", R"({"hook_event_name":"PermissionRequest","session_id":"s",)"
                                          R"("tool_name":"Read","tool_input":{"file_path":"/a"}})");
    EXPECT_EQ(read.body, "");
    EXPECT_TRUE(broker.openRequests().empty());
}

TEST_F(Bridge, PermissionRequestsWaitForTheBroker) {
    auto config = bridge.config();
    config.approvalTimeout = 0.05;
    bridge.setConfig(config);
    const auto decision = [&](const std::string& body) {
        return call(request("POST", "/v1/agents/event", body, token)).body;
    };
    const std::string none = R"({"decision":"none","ok":true})";
    EXPECT_EQ(decision(R"({"event":"permission","session":"deploy","tool":"Bash","command":"./deploy.sh"})"),
              none);
    config.approvalsEnabled = false;
    bridge.setConfig(config);
    EXPECT_EQ(decision(R"({"event":"permission","session":"d","tool":"Bash"})"), none);
}

// Hello and action bytes: tests/e2e Activities.EventStreamHearsHelloThenActionPresses.
TEST_F(Bridge, EventStreamsHearHelloActionsAndGoAwayOnDisconnect) {
    std::vector<std::string> sent;
    bool closed = false;
    auto connection = std::make_shared<SDKConnection>(
        [&](std::string bytes) { sent.push_back(std::move(bytes)); }, [&] { closed = true; });
    std::optional<SDKRouteResult> result;
    asio::co_spawn(io, bridge.handle(request("GET", "/v1/events", {}, token), connection),
                   [&](std::exception_ptr, SDKRouteResult value) { result = std::move(value); });
    io.run_for(std::chrono::milliseconds(50));
    ASSERT_TRUE(result);
    EXPECT_TRUE(std::holds_alternative<SDKRouteResult::Stream>(result->kind));
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0], SDKHTTPResponse::sseHead());
    EXPECT_EQ(bridge.subscriberCount(), 1u);

    bridge.publishAction("sdk.lumetta.upload", "cancel");
    bridge.publishAction("sdk.someone-else.upload", "cancel");
    EXPECT_EQ(sent.size(), 3u) << "only the client's own activity's action";

    bridge.disconnect("lumetta");
    EXPECT_TRUE(closed);
    EXPECT_FALSE(connection->isClosed()) << "closing only asks the server, which marks it closed";
    EXPECT_EQ(delegate->endedPrefixes, (std::vector<std::string>{"sdk.lumetta."}));
    EXPECT_FALSE(auth.client("lumetta"));
    connection->markClosed();
    EXPECT_EQ(bridge.subscriberCount(), 0u);
    io.restart();
    io.run(); // the keep-alive loop ends once the stream has closed
}

TEST_F(Bridge, AnswersWhatNeedsNoWaitingAsHandleDoesAndLeavesTheRestUntouched) {
    // A client that may also flash the HUD, whose rate is counted from the start.
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
    // Posted and ended once by each of the two ways.
    EXPECT_EQ(delegate->shown.size() + delegate->ended.size(), 4u);

    auto fromBrowser = request("POST", "/v1/hud", R"({"kind":"custom","text":"Hi"})", client);
    fromBrowser.headers["origin"] = "https://example.com";
    ASSERT_TRUE(bridge.answerNow(fromBrowser));
    EXPECT_EQ(std::get<SDKRouteResult::Response>(bridge.answerNow(fromBrowser)->kind).response.status, 403);

    // The waiting routes are left alone, and so are charged to the client's rate only once, by
    // `handle`: a burst of 40 is allowed, the 41st is not.
    const auto hud = request("POST", "/v1/hud", R"({"kind":"custom","text":"Hi"})", client);
    for (const auto& waiting :
         {hud, request("POST", "/v1/register", "{}"), request("GET", "/v1/events", {}, client),
          request("POST", "/v1/agents/hook", "{}")})
        EXPECT_FALSE(bridge.answerNow(waiting)) << waiting.path;
    // The authorised activity requests above cost six of the 40; asking about the HUD cost nothing.
    for (int i = 0; i < 34; ++i)
        ASSERT_EQ(call(hud).status, 200) << i;
    const auto limited = call(hud);
    EXPECT_EQ(limited.status, 429);
    EXPECT_EQ(limited.headers.at("Retry-After"), "1");
    EXPECT_EQ(limited.body, R"({"error":"rate_limited","message":"Slow down."})");
    EXPECT_EQ(delegate->huds.size(), 34u);
}

TEST_F(Bridge, StatusWrittenAsTextIsTheJSONOfItsObject) {
    for (const std::string reason :
         {"plain", "a \"quoted\" \\ reason\nwith\tcontrols \x01 and é", "broken \xC3("}) {
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
    // A new port is reported at once.
    bridge.setPort(47830);
    auto moved = request("GET", "/v1/status");
    moved.headers["host"] = "localhost";
    EXPECT_EQ(JSON::parse(call(moved).body)["port"], 47830);
}
