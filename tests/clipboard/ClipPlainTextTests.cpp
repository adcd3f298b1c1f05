#include "BrindKit/clipboard/ClipPlainText.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <filesystem>

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
        {R"({\rtf1 \emdash\endash\bullet\lquote\rquote\ldblquote\rdblquote})", "\u2014\u2013\u2022\u2018\u2019\u201C\u201D"},
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
