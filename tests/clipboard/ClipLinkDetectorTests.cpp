#include "BrindKit/clipboard/ClipLinkDetector.hpp"

#include <gtest/gtest.h>

using namespace brind;

TEST(ClipLinkDetector, RecognisesLinksAndKeepsThemAsCopied) {
    // A "www." address is kept as copied, without the scheme that made it parse.
    const std::string links[] = {
        "https://example.org/path?q=1#top",
        "HTTPS://EXAMPLE.ORG",
        "ftp://files.example.org/a.zip",
        "sftp://user@host/dir",
        "ssh://git@example.org:22",
        "mailto:a@b.org",
        "file:///tmp/report.pdf",
        "x-apple.systempreferences:com.apple.preference",
        "www.example.org",
        "WWW.Example.org/page",
        "http://[::1]:8080/",
    };
    for (const auto& text : links)
        EXPECT_EQ(ClipLinkDetector::link(text), text);
    EXPECT_EQ(ClipLinkDetector::link("  http://example.org\n"), "http://example.org");
}

TEST(ClipLinkDetector, RejectsWhatIsNotALink) {
    const std::string cases[] = {
        "   ",
        "www.example",
        "www.",
        "https://",
        "https:///path",
        "http:relative",
        "mailto:abcdefg",
        "see https://example.org",
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
