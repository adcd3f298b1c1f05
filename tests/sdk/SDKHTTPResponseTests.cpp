#include "BrindKit/sdk/SDKHTTPResponse.hpp"
#include "BrindKit/sdk/SDKSSE.hpp"

#include <gtest/gtest.h>

using brind::JSON;
using brind::SDKHTTPResponse;
namespace SDKSSE = brind::SDKSSE;

namespace {

const std::string fixedFields = "Connection: close\r\nCache-Control: no-store\r\n\r\n";

} // namespace

TEST(SDKHTTPResponse, SerializesStatusSortedFieldsLengthAndFixedFields) {
    SDKHTTPResponse response = SDKHTTPResponse::error(429, "rate_limited", "Slow down.");
    response.headers["Retry-After"] = "1";
    EXPECT_EQ(response.serialized(), "HTTP/1.1 429 Too Many Requests\r\n"
                                     "Content-Type: application/json\r\n"
                                     "Retry-After: 1\r\n"
                                     "Content-Length: 47\r\n" +
                                         fixedFields +
                                         "{\"error\":\"rate_limited\",\"message\":\"Slow down.\"}");
    // A Content-Length of the response's own is kept whatever its case, never written twice.
    for (const std::string name : {"content-length", "CONTENT-LENGTH"}) {
        SDKHTTPResponse raw = SDKHTTPResponse::raw(200, "abc", std::nullopt);
        raw.headers[name] = "3";
        EXPECT_EQ(raw.serialized(), "HTTP/1.1 200 OK\r\n" + name + ": 3\r\n" + fixedFields + "abc");
    }
}

TEST(SDKHTTPResponse, BuildsJSONAndRawBodies) {
    const SDKHTTPResponse json{
        200, {{"Content-Type", "application/json"}}, "{\"id\":\"sdk.a.b/c\",\"ok\":true}"};
    EXPECT_EQ(SDKHTTPResponse::json(200, JSON{{"ok", true}, {"id", "sdk.a.b/c"}}), json);

    // Ill-formed UTF-8 in a value is replaced, never a failure.
    const auto repaired = SDKHTTPResponse::json(200, JSON{{"t", std::string("a\xff")}});
    EXPECT_EQ(repaired.body, "{\"t\":\"a\xEF\xBF\xBD\"}");

    EXPECT_EQ(SDKHTTPResponse::raw(202, "hi", "text/plain"),
              (SDKHTTPResponse{202, {{"Content-Type", "text/plain"}}, "hi"}));
}

TEST(SDKHTTPResponse, StartsEventStreamsWithTheFixedPaddedHead) {
    EXPECT_EQ(SDKHTTPResponse::sseHead(),
              "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nCache-Control: no-store\r\n"
              "Connection: keep-alive\r\nX-Content-Type-Options: nosniff\r\nX-Accel-Buffering: no\r\n\r\n: " +
                  std::string(2048, ' ') + "\n\n");
}

// Several lines of data: SDKHTTPServer's stream test.
TEST(SDKSSE, WritesOneDataLinePerLineAndCommentsAsIgnoredLines) {
    EXPECT_EQ(SDKSSE::event("hello", "{\"app\":\"lumetta\"}", "7"),
              "id: 7\nevent: hello\ndata: {\"app\":\"lumetta\"}\n\n");
    EXPECT_EQ(SDKSSE::event("empty", ""), "event: empty\ndata: \n\n");
    EXPECT_EQ(SDKSSE::event("edge", "a\n"), "event: edge\ndata: a\ndata: \n\n");
    EXPECT_EQ(SDKSSE::comment("keep-alive"), ": keep-alive\n\n");
}
