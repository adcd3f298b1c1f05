#include "BrindKit/clipboard/ClipLinkDetector.hpp"

#include <gtest/gtest.h>

using namespace brind;

TEST(ClipLinkDetector, RecognisesLinks) {
    const struct {
        std::string text;
        std::string link;
    } cases[] = {
        {"https://example.org/path?q=1#top", "https://example.org/path?q=1#top"},
        {"  http://example.org\n", "http://example.org"},
        {"HTTPS://EXAMPLE.ORG", "HTTPS://EXAMPLE.ORG"},
        {"ftp://files.example.org/a.zip", "ftp://files.example.org/a.zip"},
        {"sftp://user@host/dir", "sftp://user@host/dir"},
        {"ssh://git@example.org:22", "ssh://git@example.org:22"},
        {"mailto:a@b.org", "mailto:a@b.org"},
        {"file:///tmp/report.pdf", "file:///tmp/report.pdf"},
        {"x-apple.systempreferences:com.apple.preference", "x-apple.systempreferences:com.apple.preference"},
        // Kept as copied, without the scheme that made it parse.
        {"www.example.org", "www.example.org"},
        {"WWW.Example.org/page", "WWW.Example.org/page"},
        {"http://[::1]:8080/", "http://[::1]:8080/"},
    };
    for (const auto& test : cases) {
        const auto link = ClipLinkDetector::link(test.text);
        ASSERT_TRUE(link.has_value()) << test.text;
        EXPECT_EQ(*link, test.link) << test.text;
    }
}

TEST(ClipLinkDetector, RejectsWhatIsNotALink) {
    const std::string cases[] = {
        "",
        "   ",
        "www.example",
        "www.",
        "https://",
        "https:///path",
        "http:relative",
        "mailto:abcdefg",
        "see https://example.org",
        "https://example.org and more",
        "https://exa mple.org",
        "https://example.org/\u00A0x",
        "javascript:alert(1)",
        "data:text/plain,hi",
        "gopher://example.org",
        "example.org",
        "/usr/bin/env",
        "https://example.org/<tag>",
        "https://exam%zzple.org",
    };
    for (const auto& text : cases)
        EXPECT_FALSE(ClipLinkDetector::link(text).has_value()) << text;
}

TEST(ClipLinkDetector, RefusesTextsOverTheLengthLimit) {
    const std::string base = "https://example.org/";
    const std::string atLimit = base + std::string(4096 - base.size(), 'a');
    EXPECT_TRUE(ClipLinkDetector::link(atLimit).has_value());
    EXPECT_FALSE(ClipLinkDetector::link(atLimit + "a").has_value());
    // Surrounding blanks do not count towards the limit.
    EXPECT_TRUE(ClipLinkDetector::link("   " + atLimit + "\n\n").has_value());
}

TEST(ClipLinkDetector, AcceptsExactlyTheListedSchemes) {
    const auto& schemes = ClipLinkDetector::schemes();
    EXPECT_EQ(schemes.size(), 8u);
    for (const char* scheme : {"http", "https", "ftp", "sftp", "mailto", "ssh", "file", "x-apple.systempreferences"})
        EXPECT_TRUE(schemes.contains(scheme)) << scheme;
}
