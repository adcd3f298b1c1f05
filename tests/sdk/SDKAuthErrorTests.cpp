#include "BrindKit/sdk/SDKAuthError.hpp"

#include <gtest/gtest.h>

using brind::SDKAuthError;
using brind::SDKScope;

TEST(SDKAuthError, AnswersWithItsFixedResponse) {
    const std::vector<std::tuple<SDKAuthError, int, std::string>> cases = {
        {SDKAuthError::missingToken(), 401,
         R"({"error":"unauthorized","message":"Send Authorization: Bearer <token> from POST /v1/register."})"},
        {SDKAuthError::invalidToken(), 401,
         R"({"error":"unauthorized","message":"Unknown or revoked token. Register again."})"},
        {SDKAuthError::scopeNotGranted(SDKScope::hud), 403,
         R"({"error":"forbidden","message":"This app wasn't granted the 'hud' scope."})"},
        {SDKAuthError::scopeNotGranted(SDKScope::agents), 403,
         R"({"error":"forbidden","message":"This app wasn't granted the 'agents' scope."})"},
    };
    for (const auto& [error, status, body] : cases) {
        SCOPED_TRACE(body);
        EXPECT_EQ(error.status(), status);
        EXPECT_EQ(error.response().status, status);
        EXPECT_EQ(error.response().body, body);
        EXPECT_EQ(error.response().headers.at("Content-Type"), "application/json");
    }
}
