#include "tests/e2e/E2EFixture.hpp"

using namespace vq::e2e;

namespace {

class Guard : public IslandTest {};

} // namespace

TEST_F(Guard, StatusNeedsNoTokenAndReportsTheSurface) {
    const auto status = command({"status"});
    EXPECT_EQ(status.exitCode, 0);
    EXPECT_EQ(status.out, "vantaquill 1.0 listening on 127.0.0.1:" + std::to_string(island->port()) + "\n");
    // The status reports how the island is shown, and keeps doing so after the preferences are applied.
    EXPECT_NE(bodyOf(request("GET", "/v1/status")).find(R"("surface":{"kind":"headless")"),
              std::string::npos);
}

TEST_F(Guard, TokensAndScopesAreChecked) {
    const std::string body = R"({"id":"x","title":"X"})";
    const auto missing = request("POST", "/v1/activities", "Content-Type: application/json\r\n", body);
    EXPECT_EQ(statusOf(missing), 401);
    EXPECT_EQ(bodyOf(missing),
              R"({"error":"unauthorized","message":"Send Authorization: Bearer <token> from POST /v1/register."})");
    const auto unknown = request("POST", "/v1/activities",
                                 "Authorization: Bearer vq_nope\r\nContent-Type: application/json\r\n", body);
    EXPECT_EQ(statusOf(unknown), 401);
    EXPECT_EQ(bodyOf(unknown), R"({"error":"unauthorized","message":"Unknown or revoked token. Register again."})");

    // Headless, nobody can allow a new client: registration is denied.
    const auto registration = request("POST", "/v1/register", "Content-Type: application/json\r\n",
                                      R"({"app":"lumetta","name":"Lumetta","scopes":["hud"]})");
    EXPECT_EQ(statusOf(registration), 403);
    EXPECT_EQ(bodyOf(registration), R"({"error":"denied","message":"The user didn't allow this app."})");
    EXPECT_TRUE(island->waitForLine("consent denied app=lumetta"));
}

TEST_F(Guard, ActivityBodiesAreChecked) {
    const std::pair<std::string, std::string> cases[] = {
        {"", R"({"error":"bad_request","message":"JSON body required."})"},
        {"[1]", R"({"error":"bad_request","message":"JSON body required."})"},
        {R"({"id":"a"})", R"({"error":"bad_activity","message":"title is required."})"},
        {R"({"id":"a b","title":"T"})", R"({"error":"bad_id","message":"id: 1–64 letters, digits, - _ ."})"},
        {R"({"id":"a","title":"T","tint":"#GG0000"})",
         R"({"error":"bad_activity","message":"Couldn't read the activity. See docs/SDK.md."})"},
    };
    for (const auto& [body, reply] : cases) {
        const auto answer = authorized("POST", "/v1/activities", body);
        EXPECT_EQ(statusOf(answer), 400) << body;
        EXPECT_EQ(bodyOf(answer), reply) << body;
    }
}

TEST_F(Guard, RateLimitAnswers429WithRetryAfter) {
    int limited = 0;
    std::string lastRefusal;
    for (int i = 0; i < 60 && limited == 0; ++i) {
        const auto reply = authorized("POST", "/v1/hud", R"({"kind":"custom","text":"hi"})");
        if (statusOf(reply) == 429) {
            ++limited;
            lastRefusal = reply;
        }
    }
    ASSERT_EQ(limited, 1) << "no request was limited";
    EXPECT_NE(lastRefusal.find("Retry-After: 1\r\n"), std::string::npos) << lastRefusal;
    EXPECT_EQ(bodyOf(lastRefusal), R"({"error":"rate_limited","message":"Slow down."})");
}

TEST(StartFailure, PortInUseIsReportedAndExitsNonZero) {
    TemporaryHome home;
    IslandProcess first(home);
    ASSERT_NE(first.port(), 0);
    const auto second = run(builtProgram("vantaquill-island"), {"--headless", "--port", std::to_string(first.port())},
                            home.environment());
    EXPECT_NE(second.exitCode, 0);
    EXPECT_NE(second.err.find(std::to_string(first.port()) + " is in use by another app."), std::string::npos)
        << second.err;
}
