#include "BrindKit/foundation/URL.hpp"

#include <gtest/gtest.h>

using brind::URL;

TEST(URL, SplitsAbsoluteURLsIntoComponents) {
    const auto url = URL::parse("https://user@example.com:8080/a/b%20c?x=1&y=two%20words#top");
    ASSERT_TRUE(url);
    EXPECT_EQ(url->scheme, "https");
    EXPECT_EQ(url->userInfo, "user");
    EXPECT_EQ(url->host, "example.com");
    EXPECT_EQ(url->port, "8080");
    EXPECT_EQ(url->path, "/a/b%20c");
    EXPECT_EQ(url->pathSegments(), (std::vector<std::string>{"a", "b c"}));
    EXPECT_EQ(url->query, "x=1&y=two%20words");
    EXPECT_EQ(url->queryItems(), (std::vector<URL::QueryItem>{{"x", "1"}, {"y", "two words"}}));
    EXPECT_EQ(url->fragment, "top");
}

TEST(URL, KeepsCustomSchemesAndEmptyParts) {
    const auto command = URL::parse("vantaquill://notify?title=Hi");
    ASSERT_TRUE(command);
    EXPECT_EQ(command->host, "notify");
    EXPECT_EQ(command->path, "");
    const auto file = URL::parse("file:///tmp/a%20b.txt");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->host, "");
    EXPECT_EQ(file->decodedPath(), "/tmp/a b.txt");
    const auto mail = URL::parse("mailto:someone@example.com");
    ASSERT_TRUE(mail);
    EXPECT_FALSE(mail->host);
    EXPECT_EQ(mail->path, "someone@example.com");
    const auto ipv6 = URL::parse("http://[::1]:47829/v1/status");
    ASSERT_TRUE(ipv6);
    EXPECT_EQ(ipv6->host, "[::1]");
}

TEST(URL, RefusesWhatRFC3986DoesNotAllow) {
    for (const char* text : {"http://exa mple.com", "http://a/%zz", "http://a/b c", "ht tp://a", "http://[::1/",
                             "http://a/\x01"}) {
        EXPECT_FALSE(URL::parse(text)) << text;
    }
}

TEST(URL, EncodesAndDecodesPercentEscapes) {
    EXPECT_EQ(URL::percentDecode("a%20b%2fc%zz%4"), "a b/c%zz%4");
    EXPECT_EQ(URL::percentEncode("a b/é"), "a%20b%2F%C3%A9");
    EXPECT_EQ(URL::encodeQuery({{"name", "São Paulo"}, {"count", "1&2"}}), "name=S%C3%A3o%20Paulo&count=1%262");
    EXPECT_EQ(URL::fileURL("/tmp/a b#c.txt"), "file:///tmp/a%20b%23c.txt");
}
