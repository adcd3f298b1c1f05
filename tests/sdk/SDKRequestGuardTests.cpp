#include "BrindKit/sdk/SDKRequestGuard.hpp"
#include "tests/sdk/TestData.hpp"

#include <gtest/gtest.h>

using brind::JSON;
using brind::SDKHTTPRequest;
using brind::SDKHTTPResponse;
namespace SDKRequestGuard = brind::SDKRequestGuard;

TEST(SDKRequestGuard, RefusesBrowsersForeignHostsPreflightsAndNonJSONBodies) {
    const std::map<std::string, SDKHTTPResponse> refusals = {
        {"browser", SDKHTTPResponse::error(403, "forbidden", "Browser requests are not accepted.")},
        {"host", SDKHTTPResponse::error(403, "forbidden", "Bad Host header.")},
        {"json",
         SDKHTTPResponse::error(415, "unsupported_media_type", "Send Content-Type: application/json.")},
        {"preflight", SDKHTTPResponse::error(405, "method_not_allowed", "No CORS here.")},
    };
    for (const JSON& row : brindtest::testTable("sdk/guard-cases.json")) {
        const SDKHTTPRequest request{.method = row["method"].get<std::string>(),
                                     .path = "/v1/hud",
                                     .query = {},
                                     .headers = row["headers"].get<std::map<std::string, std::string>>(),
                                     .body = row.value("body", "")};
        const auto refusal = row["refusal"].is_null()
                                 ? std::nullopt
                                 : std::optional(refusals.at(row["refusal"].get<std::string>()));
        EXPECT_EQ(SDKRequestGuard::check(request, 47829), refusal) << row["name"];
    }
}
