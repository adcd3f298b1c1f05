#include "BrindKit/sdk/SDKHTTPParser.hpp"
#include "tests/sdk/TestData.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using brind::JSON;
using brind::SDKHTTPParseError;
using brind::SDKHTTPParser;
using brind::SDKHTTPRequest;
using enum brind::SDKHTTPParseError;

namespace {

const std::string post = "post /v1/activities?x=1 HTTP/1.1\r\n"
                         "Host: 127.0.0.1:47829\r\n"
                         "Content-Type: text/plain\r\n"
                         "X-Thing :\t spaced out \t\r\n"
                         "content-type: application/json\r\n"
                         "Empty:\r\n"
                         "Content-Length: 11\r\n"
                         "\r\n"
                         "{\"a\":\"bcd\"}";

// Feeds `bytes` in pieces of `chunk` bytes and collects every request and the first error.
struct Fed {
    std::vector<SDKHTTPRequest> requests;
    std::optional<SDKHTTPParseError> error;
    // How many bytes had been fed when the last request or the error came out.
    std::size_t lastOutcomeAtByte = 0;
};

Fed feedInChunks(const std::string& bytes, std::size_t chunk) {
    SDKHTTPParser parser;
    Fed fed;
    for (std::size_t at = 0; at < bytes.size() && !fed.error; at += chunk) {
        const auto result = parser.feed(std::string_view(bytes).substr(at, chunk));
        if (!result)
            fed.error = result.error();
        else if (*result)
            fed.requests.push_back(**result);
        else
            continue;
        fed.lastOutcomeAtByte = std::min(at + chunk, bytes.size());
    }
    return fed;
}

SDKHTTPParser::FeedResult parseWhole(const std::string& bytes) {
    SDKHTTPParser parser;
    return parser.feed(bytes);
}

// A request line plus one padding field, `headBytes` long before the blank line.
std::string headOfSize(std::size_t headBytes) {
    std::string head = "GET / HTTP/1.1\r\nX-Pad: ";
    head.append(headBytes - head.size(), 'a');
    return head;
}

} // namespace

TEST(SDKHTTPParser, ReadsARequestAlikeWhateverTheChunkSize) {
    const auto whole = parseWhole(post);
    ASSERT_TRUE(whole && *whole);
    const SDKHTTPRequest& request = **whole;
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.path, "/v1/activities");
    EXPECT_EQ(request.query, (std::map<std::string, std::string>{{"x", "1"}}));
    // Names lower-cased, values trimmed, and the later of two fields with one name wins.
    const std::map<std::string, std::string> headers = {{"host", "127.0.0.1:47829"},
                                                        {"content-type", "application/json"},
                                                        {"x-thing", "spaced out"},
                                                        {"empty", ""},
                                                        {"content-length", "11"}};
    EXPECT_EQ(request.headers, headers);
    EXPECT_EQ(request.header("X-Thing"), "spaced out");
    EXPECT_EQ(request.body, "{\"a\":\"bcd\"}");
    for (const std::size_t chunk : {1, 2, 3, 7, 64}) {
        SCOPED_TRACE(chunk);
        const Fed fed = feedInChunks(post, chunk);
        ASSERT_FALSE(fed.error);
        ASSERT_EQ(fed.requests.size(), 1u);
        EXPECT_EQ(fed.requests.front(), request);
        // Nothing comes out before the final byte of the body.
        EXPECT_EQ(fed.lastOutcomeAtByte, post.size());
    }
}

TEST(SDKHTTPParser, FindsAFieldByItsNameInAnyCase) {
    // A name outside ASCII is keyed by its Unicode lower case, and looked up the same way.
    const auto parsed = parseWhole("GET / HTTP/1.1\r\nX-Caf\xC3\x89: 1\r\n\r\n");
    ASSERT_TRUE(parsed && *parsed);
    for (const std::string name : {"X-Caf\xC3\x89", "x-caf\xC3\xA9", "X-CAF\xC3\xA9"})
        EXPECT_EQ((*parsed)->header(name), "1") << name;
}

TEST(SDKHTTPParser, KeepsBytesAfterARequestForTheNextFeed) {
    SDKHTTPParser parser;
    const auto first = parser.feed(post + "GET /v1/status HTTP/1.0\r\n\r\nGET /v1/ev");
    ASSERT_TRUE(first && *first);
    EXPECT_EQ((*first)->body, "{\"a\":\"bcd\"}");
    const auto second = parser.feed("");
    ASSERT_TRUE(second && *second);
    EXPECT_EQ((*second)->path, "/v1/status");
    EXPECT_EQ(parser.buffer(), "GET /v1/ev");
    const auto third = parser.feed("ents HTTP/1.1\r\n\r\n");
    ASSERT_TRUE(third && *third);
    EXPECT_EQ((*third)->path, "/v1/events");
}

TEST(SDKHTTPParser, AcceptsAHeadOfExactlyTheLimitAndRefusesOneByteMoreInAnyChunking) {
    const std::string request = headOfSize(SDKHTTPParser::maxHeaderBytes) + "\r\n\r\n";
    const std::string tooLong = headOfSize(SDKHTTPParser::maxHeaderBytes + 1) + "\r\n\r\n";
    // The blank line of a head of exactly the limit may arrive split over later chunks.
    for (const std::size_t chunk : {std::size_t{1}, std::size_t{5}, tooLong.size()}) {
        SCOPED_TRACE(chunk);
        const Fed fed = feedInChunks(request, chunk);
        EXPECT_FALSE(fed.error);
        EXPECT_EQ(fed.requests.size(), 1u);
        EXPECT_EQ(feedInChunks(tooLong, chunk).error, headersTooLarge);
    }
    // Without a blank line yet, the error comes with the byte that makes the head too long.
    const Fed unfinished = feedInChunks(headOfSize(SDKHTTPParser::maxHeaderBytes + 1) + "more", 1);
    EXPECT_EQ(unfinished.error, headersTooLarge);
    EXPECT_EQ(unfinished.lastOutcomeAtByte, SDKHTTPParser::maxHeaderBytes + 1);
}

TEST(SDKHTTPParser, FramesTheBodyByContentLengthAndRefusesMalformedHeads) {
    const JSON cases = brindtest::testTable("sdk/parser-cases.json");
    for (const JSON& row : cases["lengths"]) {
        const std::string fields = row[0];
        const std::size_t length = row[1].is_number() ? row[1].get<std::size_t>() : 0;
        const auto result =
            parseWhole("POST / HTTP/1.1\r\n" + fields + "\r\n\r\n" + std::string(length, 'x'));
        const std::string read = result ? std::to_string(*result ? (*result)->body.size() : SIZE_MAX)
                                        : std::string(name(result.error()));
        EXPECT_EQ(read, row[1].is_number() ? std::to_string(length) : row[1].get<std::string>()) << fields;
    }
    for (const JSON& row : cases["malformedHeads"])
        EXPECT_EQ(parseWhole(row[0].get<std::string>() + "\r\n\r\n"), std::unexpected(malformed)) << row[1];
    EXPECT_EQ(parseWhole("GET / HTTP/1.1\r\nX: \xff\xfe\r\n\r\n"), std::unexpected(malformed)) << "not UTF-8";
}

TEST(SDKHTTPParser, SplitsAndDecodesTargets) {
    for (const JSON& row : brindtest::testTable("sdk/parser-cases.json")["targets"])
        EXPECT_EQ(SDKHTTPParser::splitTarget(row[0].get<std::string>()),
                  (SDKHTTPParser::Target{row[1].get<std::string>(),
                                         row[2].get<std::map<std::string, std::string>>()}))
            << row[0];
}

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
        EXPECT_EQ(request.segments(), std::vector<std::string_view>(segments.begin(), segments.end()));
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
