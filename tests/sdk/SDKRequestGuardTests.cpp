#include "BrindKit/sdk/SDKRequestGuard.hpp"

#include <gtest/gtest.h>

using brind::SDKHTTPRequest;
namespace SDKRequestGuard = brind::SDKRequestGuard;

namespace {

constexpr std::uint16_t port = 47829;

SDKHTTPRequest request(std::string method, std::map<std::string, std::string> headers, std::string body = "") {
    return SDKHTTPRequest{
        .method = std::move(method), .path = "/v1/hud", .query = {}, .headers = std::move(headers), .body = std::move(body)};
}

} // namespace

TEST(SDKRequestGuard, RefusesBrowsersForeignHostsPreflightsAndNonJSONBodies) {
    struct Case {
        std::string name;
        SDKHTTPRequest request;
        std::optional<int> status; // nothing: let through
        std::string message;
    };
    const std::string browser = "Browser requests are not accepted.";
    const std::vector<Case> cases = {
        {"plain status", request("GET", {{"host", "127.0.0.1:47829"}}), std::nullopt, ""},
        {"origin null", request("GET", {{"host", "127.0.0.1:47829"}, {"origin", "null"}}), 403, browser},
        {"empty origin", request("GET", {{"host", "localhost"}, {"origin", ""}}), std::nullopt, ""},
        {"fetch mode only", request("GET", {{"host", "localhost"}, {"sec-fetch-mode", "cors"}}), 403, browser},
        {"fetch site only", request("GET", {{"host", "localhost"}, {"sec-fetch-site", ""}}), 403, browser},
        {"browser before host", request("GET", {{"host", "evil.test"}, {"origin", "https://evil.test"}}), 403, browser},
        {"upper-case host", request("GET", {{"host", "LOCALHOST:47829"}}), std::nullopt, ""},
        {"bare loopback", request("GET", {{"host", "127.0.0.1"}}), std::nullopt, ""},
        {"other loopback", request("GET", {{"host", "127.0.0.2"}}), 403, "Bad Host header."},
        {"other port", request("GET", {{"host", "127.0.0.1:8080"}}), 403, "Bad Host header."},
        {"rebinding name", request("GET", {{"host", "attacker.example:47829"}}), 403, "Bad Host header."},
        {"no host", request("GET", {}), 403, "Bad Host header."},
        {"preflight", request("OPTIONS", {{"host", "localhost"}}), 405, "No CORS here."},
        {"json with charset", request("POST", {{"host", "localhost"}, {"content-type", "Application/JSON; charset=utf-8"}}, "{}"), std::nullopt, ""},
        {"text body", request("POST", {{"host", "localhost"}, {"content-type", "text/plain"}}, "{}"), 415, "Send Content-Type: application/json."},
        {"untyped put", request("PUT", {{"host", "localhost"}}, "{}"), 415, "Send Content-Type: application/json."},
        {"untyped patch", request("PATCH", {{"host", "localhost"}}, "x"), 415, "Send Content-Type: application/json."},
        {"empty post", request("POST", {{"host", "localhost"}}), std::nullopt, ""},
        {"delete", request("DELETE", {{"host", "localhost"}}), std::nullopt, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto refusal = SDKRequestGuard::check(c.request, port);
        if (!c.status) {
            EXPECT_EQ(refusal, std::nullopt);
            continue;
        }
        ASSERT_TRUE(refusal);
        EXPECT_EQ(refusal->status, *c.status);
        const auto body = brind::JSON::parse(refusal->body);
        EXPECT_EQ(body.at("message"), c.message);
        const std::map<int, std::string> codes = {{403, "forbidden"}, {405, "method_not_allowed"}, {415, "unsupported_media_type"}};
        EXPECT_EQ(body.at("error"), codes.at(*c.status));
    }
}
