#include "BrindKit/sdk/SDKHTTPParser.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

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

TEST(SDKHTTPParser, FramesTheBodyByContentLengthAlone) {
    // The body length read, or why the head was refused.
    using Length = std::expected<std::size_t, SDKHTTPParseError>;
    const std::vector<std::pair<std::string, Length>> cases = {
        {"Content-Length: 5", 5},
        {"Content-Length: +5", 5},
        {"Content-Length: -0", 0},
        {"Content-Length:   7  ", 7},
        {"Content-Length: 8388608", 8388608},
        {"Content-Length: 8388609", std::unexpected(bodyTooLarge)},
        {"Content-Length: 9223372036854775807", std::unexpected(bodyTooLarge)},
        // Past 64 bits: refused rather than wrapped around to a small length.
        {"Content-Length: 9223372036854775808", std::unexpected(malformed)},
        {"Content-Length: 18446744073709551616", std::unexpected(malformed)},
        {"Content-Length: -9223372036854775808", std::unexpected(malformed)},
        {"Content-Length: +-5", std::unexpected(malformed)},
        {"Content-Length: -1", std::unexpected(malformed)},
        {"Content-Length: +", std::unexpected(malformed)},
        {"Content-Length: 12abc", std::unexpected(malformed)},
        {"Content-Length: 1 2", std::unexpected(malformed)},
        {"Content-Length: 2\r\ncontent-length: 2", 2},
        // Two different lengths for one body is the request-smuggling shape.
        {"Content-Length: 2\r\nContent-Length: 3", std::unexpected(malformed)},
        {"Transfer-Encoding: IDENTITY", 0},
        {"Transfer-Encoding: chunked", std::unexpected(unsupportedTransferEncoding)},
        {"Transfer-Encoding: ", std::unexpected(unsupportedTransferEncoding)},
    };
    for (const auto& [fields, length] : cases) {
        const auto result =
            parseWhole("POST / HTTP/1.1\r\n" + fields + "\r\n\r\n" + std::string(length.value_or(0), 'x'));
        const Length read =
            result ? Length(*result ? (*result)->body.size() : SIZE_MAX) : std::unexpected(result.error());
        EXPECT_EQ(read, length) << fields;
    }
}

TEST(SDKHTTPParser, RefusesMalformedHeads) {
    const std::vector<std::string> heads = {
        "GET v1/status HTTP/1.1",   // target without a leading "/"
        "GET /v1/status HTTP/2.0",  // not HTTP/1.x
        "GET /v1/status",           // missing version
        "",                         // empty request line
        "GET  /v1/status HTTP/1.1", // double space
        " /v1/status HTTP/1.1",     // empty method
        "G(T /v1/status HTTP/1.1",  // not a method token
        "GET /v1/status HTTP/1.1\r\nNo colon here",
        "GET /v1/status HTTP/1.1\r\n: no name",
        "GET /v1/status HTTP/1.1\r\nX: a\nb", // a bare LF would let one request be read two ways
        std::string("GET /v1/status HTTP/1.1\r\nX: a\0b", 31),
        "GET /v1/status HTTP/1.1\r\nX: \xff\xfe", // not UTF-8
    };
    for (const auto& head : heads)
        EXPECT_EQ(parseWhole(head + "\r\n\r\n"), std::unexpected(malformed)) << head;
}

TEST(SDKHTTPParser, SplitsAndDecodesTargets) {
    struct Case {
        std::string target;
        SDKHTTPParser::Target split;
    };
    const std::vector<Case> cases = {
        // "+" is a space, but an escaped "+" stays a plus.
        {"/v1/status?x=a+b%21%2B", {"/v1/status", {{"x", "a b!+"}}}},
        {"/v1/status", {"/v1/status", {}}},
        {"/p?", {"/p", {}}},
        {"/p?flag&a=1&&b=2&", {"/p", {{"flag", ""}, {"a", "1"}, {"b", "2"}}}},
        {"/p?a=1&a=2&k=a=b", {"/p", {{"a", "2"}, {"k", "a=b"}}}},
        {"/p?na%6De=%E2%82%AC", {"/p", {{"name", "\xE2\x82\xAC"}}}},
        // Invalid escapes, and escapes that decode to ill-formed UTF-8, stay as written.
        {"/p?bad=100%&worse=%zz+x&raw=%FF", {"/p", {{"bad", "100%"}, {"worse", "%zz x"}, {"raw", "%FF"}}}},
        {"/a%20b?q=1?2", {"/a%20b", {{"q", "1?2"}}}},
    };
    for (const auto& [target, split] : cases)
        EXPECT_EQ(SDKHTTPParser::splitTarget(target), split) << target;
}
