#include "BrindKit/foundation/URL.hpp"

#include <gtest/gtest.h>

using brind::URL;

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
