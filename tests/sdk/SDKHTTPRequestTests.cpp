#include "BrindKit/sdk/SDKHTTPRequest.hpp"

#include <gtest/gtest.h>

using brind::SDKHTTPRequest;

TEST(SDKHTTPRequest, SplitsThePathIntoSegmentsDroppingEmptyPieces) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"/v1/activities/abc", {"v1", "activities", "abc"}},
        {"", {}},
        {"//v1///status/", {"v1", "status"}},
        {"/a%2Fb", {"a%2Fb"}},
    };
    for (const auto& [path, segments] : cases) {
        SCOPED_TRACE(path);
        SDKHTTPRequest request;
        request.path = path;
        EXPECT_EQ(request.segments(), segments);
    }
}

TEST(SDKHTTPRequest, ReadsOnlyBearerTokens) {
    const std::vector<std::pair<std::optional<std::string>, std::optional<std::string>>> cases = {
        {"Bearer vq_abc", "vq_abc"},  {"Bearer   vq_abc  ", "vq_abc"},  {"Basic dXNlcjpwYXNz", std::nullopt},
        {"Bearer ", std::nullopt},    {"BearerX vq_abc", std::nullopt}, // the scheme is a whole word
        {std::nullopt, std::nullopt},
    };
    for (const auto& [value, token] : cases) {
        SCOPED_TRACE(value.value_or("(no field)"));
        SDKHTTPRequest request;
        if (value)
            request.headers["authorization"] = *value;
        EXPECT_EQ(request.bearerToken(), token);
    }
}
