#include "BrindKit/sdk/SDKHTTPResponse.hpp"

#include <gtest/gtest.h>

using brind::JSON;
using brind::SDKHTTPResponse;

TEST(SDKHTTPResponse, SerializesStatusSortedFieldsLengthAndFixedFields) {
    SDKHTTPResponse response = SDKHTTPResponse::error(429, "rate_limited", "Slow down.");
    response.headers["Retry-After"] = "1";
    EXPECT_EQ(response.serialized(), "HTTP/1.1 429 Too Many Requests\r\n"
                                     "Content-Type: application/json\r\n"
                                     "Retry-After: 1\r\n"
                                     "Content-Length: 47\r\n"
                                     "Connection: close\r\n"
                                     "Cache-Control: no-store\r\n"
                                     "\r\n"
                                     "{\"error\":\"rate_limited\",\"message\":\"Slow down.\"}");
}

TEST(SDKHTTPResponse, KeepsAGivenContentLengthWhateverItsCase) {
    for (const std::string name : {"content-length", "Content-Length", "CONTENT-LENGTH"}) {
        SCOPED_TRACE(name);
        SDKHTTPResponse response = SDKHTTPResponse::raw(200, "abc", std::nullopt);
        response.headers[name] = "3";
        const std::string wire = response.serialized();
        EXPECT_EQ(wire, "HTTP/1.1 200 OK\r\n" + name + ": 3\r\nConnection: close\r\nCache-Control: no-store\r\n\r\nabc");
    }
}

TEST(SDKHTTPResponse, UsesTheGenericPhraseForStatusesWithoutOne) {
    const std::vector<std::pair<int, std::string>> cases = {
        {200, "OK"}, {415, "Unsupported Media Type"}, {503, "Service Unavailable"},
        {299, "Status"}, {411, "Status"}, {431, "Status"}, {409, "Status"},
    };
    for (const auto& [status, phrase] : cases)
        EXPECT_EQ(SDKHTTPResponse::reason(status), phrase) << status;
    EXPECT_TRUE(SDKHTTPResponse::raw(299, "", std::nullopt).serialized().starts_with("HTTP/1.1 299 Status\r\n"));
}

TEST(SDKHTTPResponse, BuildsJSONAndRawBodies) {
    const auto json = SDKHTTPResponse::json(200, JSON{{"ok", true}, {"id", "sdk.a.b/c"}});
    EXPECT_EQ(json.body, "{\"id\":\"sdk.a.b/c\",\"ok\":true}");
    EXPECT_EQ(json.headers, (std::map<std::string, std::string>{{"Content-Type", "application/json"}}));

    // Ill-formed UTF-8 in a value is replaced, never a failure.
    const auto repaired = SDKHTTPResponse::json(200, JSON{{"t", std::string("a\xff")}});
    EXPECT_EQ(repaired.body, "{\"t\":\"a\xEF\xBF\xBD\"}");

    const auto plain = SDKHTTPResponse::raw(202, "hi", "text/plain");
    EXPECT_EQ(plain, (SDKHTTPResponse{.status = 202, .headers = {{"Content-Type", "text/plain"}}, .body = "hi"}));
    EXPECT_TRUE(SDKHTTPResponse::raw(204, "", std::nullopt).headers.empty());
}

TEST(SDKHTTPResponse, StartsEventStreamsWithTheFixedPaddedHead) {
    const std::string head = SDKHTTPResponse::sseHead();
    const std::string fields = "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nCache-Control: no-store\r\n"
                               "Connection: keep-alive\r\nX-Content-Type-Options: nosniff\r\nX-Accel-Buffering: no\r\n\r\n";
    ASSERT_TRUE(head.starts_with(fields));
    EXPECT_EQ(head.substr(fields.size()), ": " + std::string(2048, ' ') + "\n\n");
}
