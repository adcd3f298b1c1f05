#include "BrindKit/clipboard/ClipLinkDetector.hpp"

#include <gtest/gtest.h>

using namespace brind;

TEST(ClipLinkDetector, RecognisesLinksAndKeepsThemAsCopied) {
    const std::string base = "https://example.org/";
    const std::string atLimit = base + std::string(4096 - base.size(), 'a');
    const struct {
        std::string text;
        bool link;
    } cases[] = {
        {"https://example.org/path?q=1#top", true},
        {"HTTPS://EXAMPLE.ORG", true},
        {"ftp://files.example.org/a.zip", true},
        {"sftp://user@host/dir", true},
        {"ssh://git@example.org:22", true},
        {"mailto:a@b.org", true},
        {"file:///tmp/report.pdf", true},
        {"x-apple.systempreferences:com.apple.preference", true},
        // A "www." address is kept as copied, without the scheme that made it parse.
        {"www.example.org", true},
        {"WWW.Example.org/page", true},
        {"http://[::1]:8080/", true},
        {atLimit, true},
        {atLimit + "a", false},
        {"   ", false},
        {"www.example", false},
        {"www.", false},
        {"https://", false},
        {"https:///path", false},
        {"http:relative", false},
        {"mailto:abcdefg", false},
        {"see https://example.org", false},
        {"https://exa mple.org", false},
        {"https://example.org/\u00A0x", false},
        {"javascript:alert(1)", false},
        {"data:text/plain,hi", false},
        {"gopher://example.org", false},
        {"example.org", false},
        {"/usr/bin/env", false},
        {"https://example.org/<tag>", false},
        {"https://exam%zzple.org", false},
    };
    for (const auto& test : cases)
        EXPECT_EQ(ClipLinkDetector::link(test.text), test.link ? std::optional(test.text) : std::nullopt)
            << test.text;
    // Surrounding blanks are trimmed and do not count towards the length limit.
    EXPECT_EQ(ClipLinkDetector::link("  http://example.org\n"), "http://example.org");
    EXPECT_EQ(ClipLinkDetector::link("   " + atLimit + "\n\n"), atLimit);
}
