#include "BrindKit/sdk/SDKHTTPParser.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using brind::SDKHTTPParseError;
using brind::SDKHTTPParser;
using brind::SDKHTTPRequest;

namespace {

const std::string post = "POST /v1/activities?x=1 HTTP/1.1\r\n"
                         "Host: 127.0.0.1:47829\r\n"
                         "Content-Type: application/json\r\n"
                         "Content-Length: 11\r\n"
                         "\r\n"
                         "{\"a\":\"bcd\"}";

// Feeds `bytes` in pieces of `chunk` bytes and collects every request and the first error.
struct Fed {
    std::vector<SDKHTTPRequest> requests;
    std::optional<SDKHTTPParseError> error;
    std::size_t completedAtByte = 0;
};

Fed feedInChunks(const std::string& bytes, std::size_t chunk) {
    SDKHTTPParser parser;
    Fed fed;
    for (std::size_t at = 0; at < bytes.size(); at += chunk) {
        const auto result = parser.feed(std::string_view(bytes).substr(at, chunk));
        if (!result) {
            fed.error = result.error();
            return fed;
        }
        if (*result) {
            fed.requests.push_back(**result);
            fed.completedAtByte = std::min(at + chunk, bytes.size());
        }
    }
    return fed;
}

SDKHTTPParser::FeedResult parseWhole(const std::string& bytes) {
    SDKHTTPParser parser;
    return parser.feed(bytes);
}

std::string headWithContentLength(const std::string& value) {
    return "POST / HTTP/1.1\r\nContent-Length: " + value + "\r\n\r\n";
}

// A request line plus one padding field, `headBytes` long before the blank line.
std::string headOfSize(std::size_t headBytes) {
    std::string head = "GET / HTTP/1.1\r\nX-Pad: ";
    head.append(headBytes - head.size(), 'a');
    return head;
}

} // namespace

TEST(SDKHTTPParser, ReadsARequestWithItsBody) {
    const auto result = parseWhole(post);
    ASSERT_TRUE(result.has_value());
    ASSERT_TRUE(result->has_value());
    const SDKHTTPRequest& request = **result;
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.path, "/v1/activities");
    EXPECT_EQ(request.query, (std::map<std::string, std::string>{{"x", "1"}}));
    EXPECT_EQ(request.header("content-type"), "application/json");
    EXPECT_EQ(request.header("host"), "127.0.0.1:47829");
    EXPECT_EQ(request.body, "{\"a\":\"bcd\"}");
}

TEST(SDKHTTPParser, AgreesWhateverTheChunkSize) {
    const auto whole = parseWhole(post);
    ASSERT_TRUE(whole && *whole);
    for (const std::size_t chunk : {1, 2, 3, 7, 64}) {
        SCOPED_TRACE(chunk);
        const Fed fed = feedInChunks(post, chunk);
        ASSERT_FALSE(fed.error);
        ASSERT_EQ(fed.requests.size(), 1u);
        EXPECT_EQ(fed.requests.front(), **whole);
        // Nothing comes out before the final byte of the body.
        EXPECT_EQ(fed.completedAtByte, post.size());
    }
}

TEST(SDKHTTPParser, ResumesAtTheBodyWithoutReparsingTheHead) {
    SDKHTTPParser parser;
    const auto first = parser.feed(post.substr(0, post.size() - 4));
    ASSERT_TRUE(first && !*first);
    ASSERT_TRUE(parser.head().has_value());
    EXPECT_EQ(parser.head()->length, 11u);
    EXPECT_EQ(parser.head()->bodyStart, post.find("\r\n\r\n") + 4);
    const auto second = parser.feed(post.substr(post.size() - 4));
    ASSERT_TRUE(second && *second);
    EXPECT_EQ((*second)->body, "{\"a\":\"bcd\"}");
    EXPECT_FALSE(parser.head().has_value());
    EXPECT_TRUE(parser.buffer().empty());
}

TEST(SDKHTTPParser, KeepsBytesAfterARequestForTheNextFeed) {
    SDKHTTPParser parser;
    const auto first = parser.feed(post + "GET /v1/status HTTP/1.1\r\n\r\nGET /v1/ev");
    ASSERT_TRUE(first && *first);
    EXPECT_EQ((*first)->method, "POST");
    const auto second = parser.feed("");
    ASSERT_TRUE(second && *second);
    EXPECT_EQ((*second)->path, "/v1/status");
    EXPECT_EQ(parser.buffer(), "GET /v1/ev");
    const auto third = parser.feed("ents HTTP/1.1\r\n\r\n");
    ASSERT_TRUE(third && *third);
    EXPECT_EQ((*third)->path, "/v1/events");
}

TEST(SDKHTTPParser, AcceptsAHeadOfExactlyTheLimitInAnyChunking) {
    const std::string request = headOfSize(SDKHTTPParser::maxHeaderBytes) + "\r\n\r\n";
    ASSERT_EQ(request.find("\r\n\r\n"), SDKHTTPParser::maxHeaderBytes);
    for (const std::size_t chunk : {std::size_t{1}, std::size_t{5}, request.size()}) {
        SCOPED_TRACE(chunk);
        const Fed fed = feedInChunks(request, chunk);
        EXPECT_FALSE(fed.error);
        EXPECT_EQ(fed.requests.size(), 1u);
    }
}

TEST(SDKHTTPParser, RefusesAHeadOverTheLimitAsSoonAsItIsCertain) {
    // 16385 bytes without a blank line: no more bytes could make it fit.
    const auto unfinished = parseWhole(headOfSize(SDKHTTPParser::maxHeaderBytes + 1));
    ASSERT_FALSE(unfinished.has_value());
    EXPECT_EQ(unfinished.error(), SDKHTTPParseError::headersTooLarge);

    const auto finished = parseWhole(headOfSize(SDKHTTPParser::maxHeaderBytes + 1) + "\r\n\r\n");
    ASSERT_FALSE(finished.has_value());
    EXPECT_EQ(finished.error(), SDKHTTPParseError::headersTooLarge);

    // Byte by byte, the error comes with the byte that makes the head too long, not later.
    const Fed fed = feedInChunks(headOfSize(SDKHTTPParser::maxHeaderBytes + 1) + "more", 1);
    EXPECT_EQ(fed.error, SDKHTTPParseError::headersTooLarge);
}

TEST(SDKHTTPParser, ReadsContentLengthAsASignedDecimal) {
    struct Case {
        std::string value;
        std::optional<std::size_t> length; // nothing: the error below
        SDKHTTPParseError error = SDKHTTPParseError::malformed;
    };
    const std::vector<Case> cases = {
        {"5", 5},
        {"+5", 5},
        {"0", 0},
        {"-0", 0},
        {"  7  ", 7}, // the field value is trimmed
        {"8388608", 8388608},
        {"8388609", std::nullopt, SDKHTTPParseError::bodyTooLarge},
        {"9223372036854775807", std::nullopt, SDKHTTPParseError::bodyTooLarge},
        {"9223372036854775808", std::nullopt},
        {"-1", std::nullopt},
        {"12abc", std::nullopt},
        {"", std::nullopt},
        {"+", std::nullopt},
        {"0x10", std::nullopt},
        {"1 2", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        SDKHTTPParser parser;
        const auto result = parser.feed(headWithContentLength(c.value));
        if (!c.length) {
            ASSERT_FALSE(result.has_value());
            EXPECT_EQ(result.error(), c.error);
            continue;
        }
        ASSERT_TRUE(result.has_value());
        ASSERT_TRUE(parser.head().has_value() || result->has_value());
        if (*c.length == 0) {
            EXPECT_TRUE(result->has_value());
            continue;
        }
        EXPECT_FALSE(result->has_value());
        EXPECT_EQ(parser.head()->length, *c.length);
    }
}

TEST(SDKHTTPParser, RefusesConflictingContentLengths) {
    const auto same = parseWhole("POST / HTTP/1.1\r\nContent-Length: 2\r\ncontent-length: 2\r\n\r\nok");
    ASSERT_TRUE(same && *same);
    EXPECT_EQ((*same)->body, "ok");
    const auto differing = parseWhole("POST / HTTP/1.1\r\nContent-Length: 2\r\nContent-Length: 3\r\n\r\nok!");
    ASSERT_FALSE(differing.has_value());
    EXPECT_EQ(differing.error(), SDKHTTPParseError::malformed);
}

TEST(SDKHTTPParser, RefusesEveryTransferCodingButIdentity) {
    const std::vector<std::pair<std::string, bool>> cases = {
        {"chunked", false}, {"gzip, chunked", false}, {"", false},
        {"identity", true}, {"Identity", true},       {"IDENTITY", true},
    };
    for (const auto& [coding, accepted] : cases) {
        SCOPED_TRACE(coding);
        const auto result = parseWhole("POST / HTTP/1.1\r\nTransfer-Encoding: " + coding + "\r\n\r\n");
        if (accepted) {
            EXPECT_TRUE(result && *result);
            continue;
        }
        ASSERT_FALSE(result.has_value());
        EXPECT_EQ(result.error(), SDKHTTPParseError::unsupportedTransferEncoding);
    }
}

TEST(SDKHTTPParser, StoresHeaderNamesLowerCasedAndValuesTrimmed) {
    const auto result = parseWhole("get /x HTTP/1.0\r\nContent-Type: text/plain\r\nX-Thing :\t spaced out \t\r\n"
                                   "content-type: application/json\r\nEmpty:\r\n\r\n");
    ASSERT_TRUE(result && *result);
    const SDKHTTPRequest& request = **result;
    EXPECT_EQ(request.method, "GET");
    // The later of two fields with one name wins.
    EXPECT_EQ(request.headers.at("content-type"), "application/json");
    EXPECT_EQ(request.headers.at("x-thing"), "spaced out");
    EXPECT_EQ(request.headers.at("empty"), "");
    EXPECT_EQ(request.header("Content-Type"), "application/json");
    EXPECT_EQ(request.headers.size(), 3u);
}

TEST(SDKHTTPParser, RefusesMalformedHeads) {
    const std::vector<std::string> heads = {
        "GET v1/status HTTP/1.1",         // target without a leading "/"
        "GET /v1/status HTTP/2",          // not HTTP/1.x
        "GET /v1/status HTTP/2.0",        //
        "GET /v1/status",                 // missing version
        "GET",                            //
        "",                               // empty request line
        "GET  /v1/status HTTP/1.1",       // double space
        "GET /v1/status HTTP/1.1 extra",  // four pieces
        " GET /v1/status HTTP/1.1",       // empty method
        "G(T /v1/status HTTP/1.1",        // not a method token
        "GET /v1/status HTTP/1.1\r\nNo colon here",
        "GET /v1/status HTTP/1.1\r\n: no name",
        "GET /v1/status HTTP/1.1\r\nX: a\nb", // bare LF inside a field
        "GET /v1/status HTTP/1.1\nHost: x",   // bare LF after the request line
        std::string("GET /v1/status HTTP/1.1\r\nX: a\0b", 31),
        "GET /v1/status HTTP/1.1\r\nX: \xff\xfe", // not UTF-8
    };
    for (const auto& head : heads) {
        SCOPED_TRACE(head);
        const auto result = parseWhole(head + "\r\n\r\n");
        ASSERT_FALSE(result.has_value());
        EXPECT_EQ(result.error(), SDKHTTPParseError::malformed);
    }
}

TEST(SDKHTTPParser, SplitsAndDecodesTargets) {
    struct Case {
        std::string target;
        std::string path;
        std::map<std::string, std::string> query;
    };
    const std::vector<Case> cases = {
        {"/v1/status?x=a+b%21", "/v1/status", {{"x", "a b!"}}},
        {"/v1/status", "/v1/status", {}},
        {"/p?", "/p", {}},
        {"/p?flag", "/p", {{"flag", ""}}},
        {"/p?a=1&&b=2&", "/p", {{"a", "1"}, {"b", "2"}}},
        {"/p?a=1&a=2", "/p", {{"a", "2"}}},
        {"/p?k=a=b", "/p", {{"k", "a=b"}}},
        {"/p?na%6De=%E2%82%AC", "/p", {{"name", "\xE2\x82\xAC"}}},
        {"/p?plus=%2B", "/p", {{"plus", "+"}}},
        // Invalid escapes, and escapes that decode to ill-formed UTF-8, stay as written.
        {"/p?bad=100%&worse=%zz+x", "/p", {{"bad", "100%"}, {"worse", "%zz x"}}},
        {"/p?raw=%FF", "/p", {{"raw", "%FF"}}},
        {"/a%20b?q=1?2", "/a%20b", {{"q", "1?2"}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.target);
        const auto split = SDKHTTPParser::splitTarget(c.target);
        EXPECT_EQ(split.path, c.path);
        EXPECT_EQ(split.query, c.query);
    }
}

TEST(SDKHTTPParser, WaitsForMoreWithoutABlankLine) {
    SDKHTTPParser parser;
    const auto result = parser.feed("GET / HTTP/1.1\r\nHost: x\r\n");
    ASSERT_TRUE(result.has_value());
    EXPECT_FALSE(result->has_value());
    EXPECT_FALSE(parser.head().has_value());
}
