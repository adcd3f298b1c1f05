#include "BrindKit/sdk/SDKRequestGuard.hpp"

#include <gtest/gtest.h>

using brind::SDKHTTPRequest;
using brind::SDKHTTPResponse;
namespace SDKRequestGuard = brind::SDKRequestGuard;

namespace {

SDKHTTPRequest request(std::string method, std::map<std::string, std::string> headers,
                       std::string body = "") {
    return SDKHTTPRequest{.method = std::move(method),
                          .path = "/v1/hud",
                          .query = {},
                          .headers = std::move(headers),
                          .body = std::move(body)};
}

} // namespace

TEST(SDKRequestGuard, RefusesBrowsersForeignHostsPreflightsAndNonJSONBodies) {
    const std::optional<SDKHTTPResponse> through;
    const auto browser = SDKHTTPResponse::error(403, "forbidden", "Browser requests are not accepted.");
    const auto badHost = SDKHTTPResponse::error(403, "forbidden", "Bad Host header.");
    const auto notJSON =
        SDKHTTPResponse::error(415, "unsupported_media_type", "Send Content-Type: application/json.");
    const auto preflight = SDKHTTPResponse::error(405, "method_not_allowed", "No CORS here.");
    const std::vector<std::tuple<std::string, SDKHTTPRequest, std::optional<SDKHTTPResponse>>> cases = {
        {"plain status", request("GET", {{"host", "127.0.0.1:47829"}}), through},
        {"origin null", request("GET", {{"host", "127.0.0.1:47829"}, {"origin", "null"}}), browser},
        {"empty origin", request("GET", {{"host", "localhost"}, {"origin", ""}}), through},
        {"fetch mode only", request("GET", {{"host", "localhost"}, {"sec-fetch-mode", "cors"}}), browser},
        {"fetch site only", request("GET", {{"host", "localhost"}, {"sec-fetch-site", ""}}), browser},
        {"browser before host", request("GET", {{"host", "evil.test"}, {"origin", "https://evil.test"}}),
         browser},
        {"upper-case host", request("GET", {{"host", "LOCALHOST:47829"}}), through},
        {"bare loopback", request("GET", {{"host", "127.0.0.1"}}), through},
        {"other port", request("GET", {{"host", "127.0.0.1:8080"}}), badHost},
        {"rebinding name", request("GET", {{"host", "attacker.example:47829"}}), badHost},
        {"no host", request("GET", {}), badHost},
        {"preflight", request("OPTIONS", {{"host", "localhost"}}), preflight},
        {"json with charset",
         request("POST", {{"host", "localhost"}, {"content-type", "Application/JSON; charset=utf-8"}}, "{}"),
         through},
        {"text body", request("POST", {{"host", "localhost"}, {"content-type", "text/plain"}}, "{}"),
         notJSON},
        {"untyped put", request("PUT", {{"host", "localhost"}}, "{}"), notJSON},
        {"untyped patch", request("PATCH", {{"host", "localhost"}}, "x"), notJSON},
        {"empty post", request("POST", {{"host", "localhost"}}), through},
        {"delete with a body", request("DELETE", {{"host", "localhost"}}, "x"), through},
    };
    for (const auto& [name, incoming, refusal] : cases)
        EXPECT_EQ(SDKRequestGuard::check(incoming, 47829), refusal) << name;
}
