#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/shelf/ShelfNaming.hpp"

#include <gtest/gtest.h>
#include <set>

namespace ShelfNaming = brind::ShelfNaming;

namespace {

brind::JSON cases(const char* table) {
    return brind::JSON::parse(brind::AtomicFile::read(BRIND_TEST_DATA "/shelf/names.json").value()).at(table);
}

} // namespace

// A name ending in " <digits>" counts on from its own number and takes the lowest free one; a
// parenthesised number does not match that ending, so another number follows it.
TEST(ShelfNaming, UniqueNumbersTakenNames) {
    for (const brind::JSON& test : cases("unique")) {
        const auto taken = test[0].get<std::set<std::string, std::less<>>>();
        const auto exists = [&](std::string_view candidate) { return taken.contains(candidate); };
        EXPECT_EQ(ShelfNaming::unique(test[1].get<std::string>(), exists), test[2].get<std::string>())
            << test[1];
    }
    EXPECT_EQ(ShelfNaming::unique("a.txt", [](std::string_view) { return true; }), std::nullopt)
        << "every name is taken";
}

TEST(ShelfNaming, SanitisedRenameCleansOrRefuses) {
    for (const brind::JSON& test : cases("sanitisedRename")) {
        const auto expected = test[2].is_null() ? std::nullopt : std::optional(test[2].get<std::string>());
        EXPECT_EQ(ShelfNaming::sanitisedRename(test[0].get<std::string>(), test[1].get<std::string>()),
                  expected)
            << test[0];
    }
}

TEST(ShelfNaming, SanitisedRenameFitsTheFileSystemLimitAndKeepsTheExtension) {
    const auto longName = ShelfNaming::sanitisedRename(std::string(300, 'a') + ".jpeg", "x");
    ASSERT_TRUE(longName);
    EXPECT_EQ(longName->size(), ShelfNaming::maxNameBytes);
    EXPECT_TRUE(longName->ends_with("a.jpeg"));

    // Two-byte letters are never cut in half.
    std::string accented;
    for (int index = 0; index < 200; ++index)
        accented += "\xC3\xA9";
    const auto cut = ShelfNaming::sanitisedRename(accented + ".txt", "x");
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->size(), 254u);
    EXPECT_TRUE(cut->ends_with("\xC3\xA9.txt"));

    const auto noExtension = ShelfNaming::sanitisedRename(std::string(400, 'b'), "x");
    ASSERT_TRUE(noExtension);
    EXPECT_EQ(*noExtension, std::string(255, 'b'));
}
