#include "BrindKit/clipboard/ClipKind.hpp"

#include <gtest/gtest.h>
#include <set>

using namespace brind;

// The raw values are stored in the index on disk: renaming one would drop every stored clip of that kind.
TEST(ClipKind, RawValuesAreTheStoredNamesInCaseOrder) {
    const char* names[] = {"text", "richText", "link", "image", "file", "colour"};
    ASSERT_EQ(allClipKinds.size(), std::size(names));
    std::set<std::string_view> titles;
    std::set<std::string_view> symbols;
    for (std::size_t index = 0; index < allClipKinds.size(); ++index) {
        const ClipKind kind = allClipKinds[index];
        EXPECT_EQ(static_cast<std::size_t>(kind), index);
        EXPECT_EQ(name(kind), names[index]);
        EXPECT_EQ(clipKindNamed(names[index]), kind);
        titles.insert(title(kind));
        symbols.insert(symbol(kind));
    }
    // Each kind is told apart in filters and lists.
    EXPECT_EQ(titles.size(), allClipKinds.size());
    EXPECT_EQ(symbols.size(), allClipKinds.size());
    for (const char* unknown : {"Text", "color", ""})
        EXPECT_FALSE(clipKindNamed(unknown)) << unknown;
}
