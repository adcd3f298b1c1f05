#include "BrindKit/clipboard/ClipKind.hpp"

#include <gtest/gtest.h>

using namespace brind;

TEST(ClipKind, NamesTitlesAndSymbolsInCaseOrder) {
    const struct {
        ClipKind kind;
        const char* raw;
        const char* title;
        const char* symbol;
    } cases[] = {
        {ClipKind::text, "text", "Text", "text.alignleft"},
        {ClipKind::richText, "richText", "Rich text", "textformat"},
        {ClipKind::link, "link", "Link", "link"},
        {ClipKind::image, "image", "Image", "photo"},
        {ClipKind::file, "file", "File", "doc"},
        {ClipKind::colour, "colour", "Colour", "paintpalette"},
    };
    ASSERT_EQ(allClipKinds.size(), std::size(cases));
    for (std::size_t index = 0; index < allClipKinds.size(); ++index) {
        const auto& test = cases[index];
        EXPECT_EQ(allClipKinds[index], test.kind);
        EXPECT_EQ(rawValue(test.kind), test.raw);
        EXPECT_EQ(title(test.kind), test.title);
        EXPECT_EQ(symbol(test.kind), test.symbol);
        EXPECT_EQ(clipKindFromRawValue(test.raw), test.kind);
    }
    EXPECT_FALSE(clipKindFromRawValue("Text"));
    EXPECT_FALSE(clipKindFromRawValue("color"));
    EXPECT_FALSE(clipKindFromRawValue(""));
}
