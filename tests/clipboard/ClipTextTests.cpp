// What the history reads out of copied text: plain text from RTF, links and colour literals.

#include "BrindKit/clipboard/ClipColourParser.hpp"
#include "BrindKit/clipboard/ClipLinkDetector.hpp"
#include "BrindKit/clipboard/ClipPlainText.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"

#include <filesystem>
#include <gtest/gtest.h>

using namespace brind;

TEST(ClipPlainText, NormalizeUnifiesBreaksAndDropsInvisibleCharacters) {
    const struct {
        std::string input;
        std::string expected;
    } cases[] = {
        {"a\r\nb", "a\nb"},
        {"a\rb\r\r\nc", "a\nb\n\nc"},
        {"no\u00A0break", "no break"},
        {"line\u2028next", "line\nnext"},
        {"para\u2029next", "para\n\nnext"},
        {"z\u200Bw\u200Cj\u200Dn\uFEFFs\u00ADh", "zwjnsh"},
        {"caf\u00E9 \u2014 \u00C0", "caf\u00E9 \u2014 \u00C0"},
        {"", ""},
    };
    for (const auto& test : cases)
        EXPECT_EQ(ClipPlainText::normalize(test.input), test.expected) << test.input;
}

// Each fixture is an RTF document written the way a kind of editor writes it, with the text a
// reader should see beside it.
TEST(ClipPlainText, StripRTFReadsEditorDocuments) {
    const std::filesystem::path folder = std::filesystem::path(BRIND_TEST_DATA) / "rtf";
    int checked = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".rtf")
            continue;
        auto expectedPath = entry.path();
        expectedPath.replace_extension(".txt");
        ASSERT_TRUE(std::filesystem::exists(expectedPath)) << expectedPath;
        EXPECT_EQ(ClipPlainText::stripRTF(AtomicFile::read(entry.path()).value()),
                  AtomicFile::read(expectedPath).value())
            << entry.path();
        ++checked;
    }
    EXPECT_GE(checked, 8);
}

TEST(ClipPlainText, StripRTFHandlesEscapesAndControlWords) {
    const struct {
        std::string rtf;
        std::string expected;
    } cases[] = {
        {R"({\rtf1 a\par b\line c\tab d})", "a\nb\nc\td"},
        {R"({\rtf1 \emdash\endash\bullet\lquote\rquote\ldblquote\rdblquote})",
         "\u2014\u2013\u2022\u2018\u2019\u201C\u201D"},
        {R"({\rtf1 \\ \{ \}})", "\\ { }"},
        // The blank after a control word belongs to it; a second blank is text.
        {R"({\rtf1 \b  bold\b0  x})", "bold x"},
        {R"({\rtf1 \fs-24 neg})", "neg"},
        {R"({\rtf1 \'e9\'E8})", "\u00E9\u00E8"},
        // Raw line breaks in the source are layout, not text.
        {"{\\rtf1 one\r\ntwo\nthree}", "onetwothree"},
        {R"({\rtf1 \u233?t\u233?})", "\u00E9t\u00E9"},
        {R"({\rtf1\uc0 \u8364 5})", "\u20AC5"},
        {R"({\rtf1 \unknownword12 kept})", "kept"},
        {R"({\rtf1 {\*\anything {nested} deep}visible})", "visible"},
        {R"({\rtf1 {\colortbl;\red0;}{\stylesheet{x}}{\generator g}{\info{\title t}}shown})", "shown"},
        {"  {\\rtf1   padded  \\par  }  ", "padded"},
        {"", ""},
        {"plain text without groups", "plain text without groups"},
        // Hostile escapes; that any bytes give valid UTF-8 without reading past the end is StripRTFFuzzer's
        // to hold. It found that "\bin" counts bytes, and in text decoded from Mac OS Roman one byte of a
        // two-byte character was skipped, leaving half a character in the output.
        {"{\\rtf1\\uc0 \\u55357 alone}", "\uFFFDalone"},
        {"\xFF{\\rtf1 \\bin1 \xE9x}", "\u02C7x"},
        {"{\\rtf1 \\\xC3\xA9 x}", "x"},
        {"{\\rtf1 \\'zz ok}", "zz ok"},
    };
    for (const auto& test : cases)
        EXPECT_EQ(ClipPlainText::stripRTF(test.rtf), test.expected) << test.rtf;
}

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

TEST(ClipColourParser, AcceptsColourLiterals) {
    const struct {
        std::string text;
        RGBA expected;
    } cases[] = {
        {"#F80", {1, 0x88 / 255.0, 0, 1}},
        {"#f808", {1, 0x88 / 255.0, 0, 0x88 / 255.0}},
        {"#FF8000", {1, 128 / 255.0, 0, 1}},
        {"#00000080", {0, 0, 0, 128 / 255.0}},
        {"rgb(255, 128, 0)", {1, 128 / 255.0, 0, 1}},
        {"RGB(255,128,0)", {1, 128 / 255.0, 0, 1}},
        {"rgb(100%, 0%, 0%)", {1, 0, 0, 1}},
        {"rgba(0, 0, 255, 0.5)", {0, 0, 1, 0.5}},
        {"rgba(0 0 255 / 50%)", {0, 0, 1, 0.5}},
        {"rgb(0, 0, 0, 1)", {0, 0, 0, 1}},
        {"rgb(12.75, 0, 0)", {0.05, 0, 0, 1}},
        {"rgb(+255, 0, 0)", {1, 0, 0, 1}},
        {"hsl(0, 100%, 50%)", {1, 0, 0, 1}},
        {"hsl(120 100% 25%)", {0, 0.5, 0, 1}},
        {"hsla(240, 100%, 50%, 0.25)", {0, 0, 1, 0.25}},
        {"hsl(90, 100%, 50%)", {0.5, 1, 0, 1}},
        {"hsl(0, 0%, 40%)", {0.4, 0.4, 0.4, 1}},
        // Hues wrap around the circle both ways.
        {"hsl(-120, 100%, 50%)", {0, 0, 1, 1}},
        {"hsl(600, 100%, 50%)", {0, 0, 1, 1}},
        // Light colours take the other branch of the q formula.
        {"hsl(60, 100%, 75%)", {1, 1, 0.5, 1}},
    };
    for (const auto& test : cases) {
        const auto colour = ClipColourParser::parse(test.text);
        ASSERT_TRUE(colour.has_value()) << test.text;
        EXPECT_NEAR(colour->r, test.expected.r, 1e-9) << test.text;
        EXPECT_NEAR(colour->g, test.expected.g, 1e-9) << test.text;
        EXPECT_NEAR(colour->b, test.expected.b, 1e-9) << test.text;
        EXPECT_NEAR(colour->a, test.expected.a, 1e-9) << test.text;
    }
}

TEST(ClipColourParser, RejectsWhatIsNotAColourLiteral) {
    const std::vector<std::string> hexCases{
        "", "#", "#GGG", "#12345", "#FF8000FF00", "# FF8000", "FF8000", "a colour: rgb(0, 0, 0)",
    };
    // "nan" passes every range comparison, so it must be refused as a number.
    const std::vector<std::string> callCases{
        "rgb(256, 0, 0)",  "rgb(-1, 0, 0)",        "rgb(101%, 0%, 0%)",
        "rgb(0, 0)",       "rgb(0, 0, 0, 0, 0)",   "rgb(, ,)",
        "rgb(0, 0, 0, 2)", "rgb(1e, 0, 0)",        "rgb(10px, 0, 0)",
        "rgb(nan, 0, 0)",  "rgb(inf, 0, 0)",       "rgb(+-1, 0, 0)",
        "rgb(0,\t0, 0)",   "rgb(0, 0, 0",          "rgb (0, 0, 0)",
        "hsl(0, 100, 50)", "hsl(0deg, 100%, 50%)", "hsl(0, 100%, 50%, 2)",
    };
    for (const auto* cases : {&hexCases, &callCases}) {
        for (const std::string& text : *cases)
            EXPECT_FALSE(ClipColourParser::parse(text).has_value()) << text;
    }
}
