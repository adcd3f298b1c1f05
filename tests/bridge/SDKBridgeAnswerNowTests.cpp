#include "BrindKit/sdk/SDKBridge.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

class CountingDelegate final : public SDKBridgeDelegate {
public:
    int activities = 0;
    int huds = 0;

    void showActivity(LiveActivity) override { ++activities; }
    void endActivity(std::string) override { ++activities; }
    void endActivities(std::string) override {}
    void showHUD(HUDEvent) override { ++huds; }
    void stepHUD(HUDKey, HUDSteps::Grid, std::function<void(std::expected<HUDEvent, HUDStepFailure>)>) override {}
    void addToShelf(std::vector<std::string> paths, std::function<void(std::size_t)> done) override {
        done(paths.size());
    }
    void askConsent(std::string, std::string, std::vector<SDKScope>, std::function<void(bool)> answer) override {
        answer(false);
    }
    void agentEvent(AgentHookEvent) override {}
};

SDKHTTPRequest request(std::string method, std::string path, std::string body = {}, std::string token = {}) {
    SDKHTTPRequest made{.method = std::move(method), .path = std::move(path), .query = {}, .headers = {}, .body = {}};
    made.headers["host"] = "127.0.0.1:47829";
    if (!body.empty())
        made.headers["content-type"] = "application/json";
    if (!token.empty())
        made.headers["authorization"] = "Bearer " + token;
    made.body = std::move(body);
    return made;
}

class AnswerNow : public ::testing::Test {
protected:
    AnswerNow() : bridge(auth, broker, "hook-secret") {
        bridge.setDelegate(delegate);
        bridge.setClock([this] { return now; });
        token = auth.issue("lumetta", "Lumetta", {SDKScope::activities, SDKScope::hud}, now);
    }

    SDKHTTPResponse viaHandle(const SDKHTTPRequest& sent) {
        std::optional<SDKRouteResult> result;
        asio::co_spawn(io, bridge.handle(sent, std::make_shared<SDKConnection>()),
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
    std::shared_ptr<CountingDelegate> delegate = std::make_shared<CountingDelegate>();
    SDKBridge bridge;
    asio::io_context io;
    std::string token;
};

} // namespace

TEST_F(AnswerNow, AnswersWhatNeedsNoWaitingAsHandleDoesAndLeavesTheRestUntouched) {
    const std::string activity = R"({"id":"up","title":"Uploading"})";
    const std::vector<SDKHTTPRequest> immediate{
        request("GET", "/v1/status"),
        request("GET", "/v2/status"),
        request("POST", "/v1/activities", activity, token),
        request("POST", "/v1/activities", activity, "not-a-token"),
        request("POST", "/v1/activities", "{", token),
        request("DELETE", "/v1/activities/up", {}, token),
        request("DELETE", "/v1/activities", {}, token),
        request("PUT", "/v1/activities", activity, token),
    };
    for (const auto& sent : immediate) {
        SCOPED_TRACE(sent.method + " " + sent.path);
        const auto now = bridge.answerNow(sent);
        ASSERT_TRUE(now);
        EXPECT_EQ(std::get<SDKRouteResult::Response>(now->kind).response, viaHandle(sent));
    }
    EXPECT_EQ(delegate->activities, 4); // posted and ended once by each of the two ways

    auto fromBrowser = request("POST", "/v1/hud", R"({"kind":"custom","text":"Hi"})", token);
    fromBrowser.headers["origin"] = "https://example.com";
    ASSERT_TRUE(bridge.answerNow(fromBrowser));
    EXPECT_EQ(std::get<SDKRouteResult::Response>(bridge.answerNow(fromBrowser)->kind).response.status, 403);

    // The waiting routes are left alone, and so are charged to the client's rate only once, by
    // `handle`: a burst of 40 is allowed, the 41st is not.
    const auto hud = request("POST", "/v1/hud", R"({"kind":"custom","text":"Hi"})", token);
    for (const auto& waiting : {hud, request("POST", "/v1/register", "{}"), request("GET", "/v1/events", {}, token),
                                request("POST", "/v1/agents/hook", "{}")})
        EXPECT_FALSE(bridge.answerNow(waiting)) << waiting.path;
    // The authorised activity requests above cost six of the 40; asking about the HUD cost nothing.
    for (int i = 0; i < 34; ++i)
        ASSERT_EQ(viaHandle(hud).status, 200) << i;
    EXPECT_EQ(viaHandle(hud).status, 429);
    EXPECT_EQ(delegate->huds, 34);
}

TEST_F(AnswerNow, StatusWrittenAsTextIsTheJSONOfItsObject) {
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
        EXPECT_EQ(viaHandle(request("GET", "/v1/status")), SDKHTTPResponse::json(200, expected)) << reason;
    }
}
