#include "BrindKit/foundation/Base64.hpp"
#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/SHA256.hpp"
#include "BrindKit/foundation/URL.hpp"
#include "BrindKit/foundation/UUID.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

using namespace brind;

TEST(Base64, EncodesDecodesAndRefusesAnythingButStrictText) {
    const std::pair<const char*, const char*> cases[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"\xff\xfe", "//4="}};
    for (const auto& [plain, encoded] : cases) {
        EXPECT_EQ(Base64::encode(plain), encoded);
        EXPECT_EQ(Base64::decode(encoded), plain) << encoded;
    }
    for (const char* text : {"Zg", "Zg=", "Z===", "Zm9v\n", "Zm 9v", "-_4=", "Zg==Zg==", "=Zg=", "Zm9v!"})
        EXPECT_FALSE(Base64::decode(text)) << text;
    // The URL form swaps the alphabet and drops the padding.
    EXPECT_EQ(Base64::encodeURL("\xff\xfe"), "__4");
    EXPECT_EQ(Base64::encodeURL(std::string(32, '\xfb')).size(), 43u);
}

// The digest is nettle's; what is ours is the hexadecimal form and feeding the hasher in pieces.
TEST(SHA256, WritesKnownDigestsInLowerCaseHexAlsoFromPieces) {
    EXPECT_EQ(SHA256::hex(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(SHA256::hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    SHA256::Hasher hasher;
    const std::string piece(7, 'a'); // never a block's size, so pieces straddle blocks
    for (std::size_t fed = 0; fed < 1'000'000; fed += piece.size())
        hasher.update(std::string_view(piece).substr(0, std::min(piece.size(), 1'000'000 - fed)));
    EXPECT_EQ(SHA256::hex(hasher.finish()),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(UUID, RandomIdentifiersAreVersionFourAndDistinctAndParseInEitherCase) {
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        const UUID uuid = UUID::random();
        const std::string text = uuid.string();
        EXPECT_EQ(text.size(), 36u);
        EXPECT_EQ(text[14], '4');
        EXPECT_TRUE(seen.insert(text).second);
        EXPECT_EQ(UUID::parse(text), uuid);
    }
    const auto upper = UUID::parse("E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
    const auto lower = UUID::parse("e621e1f8-c36c-495a-93fc-0c247a3e6e5f");
    ASSERT_TRUE(upper);
    EXPECT_EQ(upper, lower);
    EXPECT_EQ(lower->string(), "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
    for (const char* text : {"", "E621E1F8C36C495A93FC0C247A3E6E5F", "E621E1F8-C36C-495A-93FC-0C247A3E6E5",
                             "G621E1F8-C36C-495A-93FC-0C247A3E6E5F", "E621E1F8-C36C-495A-93FC_0C247A3E6E5F",
                             "{E621E1F8-C36C-495A-93FC-0C247A3E6E5F}"})
        EXPECT_FALSE(UUID::parse(text)) << text;
}

TEST(Date, ParsesInternetDateTimesAndRefusesOtherForms) {
    struct Case {
        const char* text;
        double seconds;
    };
    const Case cases[] = {
        {"1970-01-01T00:00:00Z", 0},
        {"2025-03-01T17:30:00Z", 1740850200},
        {"2025-03-01T18:30:00+01:00", 1740850200},
        {"2025-03-01T17:30:00.250Z", 1740850200.25},
        {"2024-02-29T00:00:00z", 1709164800},
        {"1969-12-31T23:59:59Z", -1},
    };
    for (const auto& c : cases) {
        const auto date = Date::parseISO8601(c.text);
        ASSERT_TRUE(date) << c.text;
        EXPECT_DOUBLE_EQ(date->secondsSince1970, c.seconds) << c.text;
    }
    for (const char* text : {"", "2025-03-01", "2025-03-01T17:30:00", "2025-02-30T00:00:00Z",
                             "2025-03-01 17:30:00Z", "2025-03-01T24:00:00Z", "2025-03-01T17:30:00Zjunk",
                             "2025-03-01T17:30:00.Z", "2025-3-01T17:30:00Z", "2025-03-01T17:30:00+0100"})
        EXPECT_FALSE(Date::parseISO8601(text)) << text;
}

TEST(Date, WritesWholeSecondsInUTCAndRoundTrips) {
    EXPECT_EQ(Date{1740850200.75}.iso8601(), "2025-03-01T17:30:00Z");
    EXPECT_EQ(Date{-1}.iso8601(), "1969-12-31T23:59:59Z");
    const Date moment{1709164800};
    EXPECT_EQ(Date::parseISO8601(moment.iso8601()), moment);
}

TEST(URL, SplitsReferencesAsWrittenAndRefusesWhatRFC3986DoesNotAllow) {
    const std::pair<const char*, URL> cases[] = {
        {"https://user@example.com:8080/a/b%20c?x=1&y=two%20words#top",
         {"https", "user", "example.com", "8080", "/a/b%20c", "x=1&y=two%20words", "top"}},
        {"vantaquill://notify?title=Hi", {"vantaquill", {}, "notify", {}, "", "title=Hi", {}}},
        {"file:///tmp/a%20b.txt", {"file", {}, "", {}, "/tmp/a%20b.txt", {}, {}}},
        {"mailto:someone@example.com", {"mailto", {}, {}, {}, "someone@example.com", {}, {}}},
        {"http://[::1]:47829/v1/status", {"http", {}, "[::1]", "47829", "/v1/status", {}, {}}},
    };
    for (const auto& [text, components] : cases)
        EXPECT_EQ(URL::parse(text), components) << text;

    const auto url = URL::parse("https://example.com/a/b%20c?x=1&y=two%20words").value();
    EXPECT_EQ(url.pathSegments(), (std::vector<std::string>{"a", "b c"}));
    EXPECT_EQ(url.queryItems(), (std::vector<URL::QueryItem>{{"x", "1"}, {"y", "two words"}}));
    EXPECT_EQ(URL::parse("file:///tmp/a%20b.txt")->decodedPath(), "/tmp/a b.txt");
    for (const char* text : {"http://exa mple.com", "http://a/%zz", "http://a/b c", "ht tp://a",
                             "http://[::1/", "http://a/\x01"})
        EXPECT_FALSE(URL::parse(text)) << text;
}

TEST(URL, EncodesAndDecodesPercentEscapes) {
    EXPECT_EQ(URL::percentDecode("a%20b%2fc%zz%4"), "a b/c%zz%4");
    EXPECT_EQ(URL::percentEncode("a b/é"), "a%20b%2F%C3%A9");
    EXPECT_EQ(URL::encodeQuery({{"name", "São Paulo"}, {"count", "1&2"}}),
              "name=S%C3%A3o%20Paulo&count=1%262");
    EXPECT_EQ(URL::fileURL("/tmp/a b#c.txt"), "file:///tmp/a%20b%23c.txt");
}
