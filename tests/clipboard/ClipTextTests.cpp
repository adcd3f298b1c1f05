// What the history reads out of copied text: plain text from RTF, links and colour literals.

#include "BrindKit/clipboard/ClipColourParser.hpp"
#include "BrindKit/clipboard/ClipLinkDetector.hpp"
#include "BrindKit/clipboard/ClipPlainText.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"

#include <filesystem>
#include <gtest/gtest.h>

using namespace brind;

namespace {

JSON dataFile(const std::string& name) {
    return JSON::parse(AtomicFile::read(BRIND_TEST_DATA "/clipboard/" + name).value());
}

} // namespace

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

// The blank after a control word belongs to it, a second blank is text; raw line breaks in the source
// are layout, not text. That any bytes give valid UTF-8 without reading past the end is StripRTFFuzzer's
// to hold. It found that "\bin" counts bytes, and in text decoded from Mac OS Roman one byte of a
// two-byte character was skipped, leaving half a character in the output.
TEST(ClipPlainText, StripRTFHandlesEscapesAndControlWords) {
    const JSON cases = dataFile("rtf-escapes.json");
    for (const JSON& test : cases.at("escapes"))
        EXPECT_EQ(ClipPlainText::stripRTF(test[0].get<std::string>()), test[1].get<std::string>()) << test[0];
    EXPECT_EQ(ClipPlainText::stripRTF("\xFF{\\rtf1 \\bin1 \xE9x}"), "\u02C7x");
}

// Surrounding blanks are trimmed and do not count towards the length limit; a "www." address is kept
// as copied, without the scheme that made it parse.
TEST(ClipLinkDetector, RecognisesLinksAndKeepsThemAsCopied) {
    const JSON cases = dataFile("links.json");
    for (const std::string text : cases.at("links"))
        EXPECT_EQ(ClipLinkDetector::link(text), text);
    for (const std::string text : cases.at("notLinks"))
        EXPECT_EQ(ClipLinkDetector::link(text), std::nullopt) << text;
    const std::string base = "https://example.org/";
    const std::string atLimit = base + std::string(4096 - base.size(), 'a');
    EXPECT_EQ(ClipLinkDetector::link(atLimit), atLimit);
    EXPECT_EQ(ClipLinkDetector::link(atLimit + "a"), std::nullopt);
    EXPECT_EQ(ClipLinkDetector::link("  http://example.org\n"), "http://example.org");
    EXPECT_EQ(ClipLinkDetector::link("   " + atLimit + "\n\n"), atLimit);
}

// Expected channels are on the 0...255 scale.
TEST(ClipColourParser, AcceptsColourLiteralsAndNothingElse) {
    const JSON cases = dataFile("colours.json");
    for (const JSON& test : cases.at("colours")) {
        const auto colour = ClipColourParser::parse(test[0].get<std::string>());
        ASSERT_TRUE(colour.has_value()) << test[0];
        EXPECT_NEAR(colour->r * 255, test[1][0].get<double>(), 1e-9) << test[0];
        EXPECT_NEAR(colour->g * 255, test[1][1].get<double>(), 1e-9) << test[0];
        EXPECT_NEAR(colour->b * 255, test[1][2].get<double>(), 1e-9) << test[0];
        EXPECT_NEAR(colour->a * 255, test[1][3].get<double>(), 1e-9) << test[0];
    }
    // "nan" passes every range comparison, so it must be refused as a number.
    for (const std::string text : cases.at("notColours"))
        EXPECT_FALSE(ClipColourParser::parse(text).has_value()) << text;
}
