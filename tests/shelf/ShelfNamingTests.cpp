#include "BrindKit/shelf/ShelfNaming.hpp"

#include <gtest/gtest.h>
#include <set>

namespace ShelfNaming = brind::ShelfNaming;

TEST(ShelfNaming, UniqueNumbersTakenNames) {
    struct Case {
        std::set<std::string, std::less<>> taken;
        std::string name;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {{}, "report.pdf", "report.pdf"},
        {{"report.pdf"}, "report.pdf", "report (2).pdf"},
        {{"report.pdf", "report (2).pdf", "report (3).pdf"}, "report.pdf", "report (4).pdf"},
        {{"report 7.pdf"}, "report 7.pdf", "report (8).pdf"},
        // The lowest free number, counted from the name's own.
        {{"report 7.pdf", "report (8).pdf"}, "report 7.pdf", "report (9).pdf"},
        {{"report.pdf", "report (3).pdf"}, "report.pdf", "report (2).pdf"},
        // A parenthesised number does not match the " <digits>" ending, so another number follows it.
        {{"report (2).pdf"}, "report (2).pdf", "report (2) (2).pdf"},
        {{"report 0.pdf"}, "report 0.pdf", "report 0 (2).pdf"},
        {{"v2.pdf"}, "v2.pdf", "v2 (2).pdf"},
        {{"7.pdf"}, "7.pdf", "7 (2).pdf"},
        {{"notes"}, "notes", "notes (2)"},
        {{"notes 3"}, "notes 3", "notes (4)"},
        {{".profile"}, ".profile", ".profile (2)"},
        {{"archive.tar.gz"}, "archive.tar.gz", "archive.tar (2).gz"},
        {{"x 99999999999999999999999.txt"},
         "x 99999999999999999999999.txt",
         "x 99999999999999999999999 (2).txt"},
    };
    for (const auto& [taken, name, expected] : cases) {
        const auto exists = [&](std::string_view candidate) { return taken.contains(candidate); };
        EXPECT_EQ(ShelfNaming::unique(name, exists), expected) << name;
    }
    EXPECT_EQ(ShelfNaming::unique("a.txt", [](std::string_view) { return true; }), std::nullopt)
        << "every name is taken";
}

TEST(ShelfNaming, SanitisedRenameCleansOrRefuses) {
    const std::vector<std::tuple<std::string, std::string, std::optional<std::string>>> cases = {
        {"  Holiday photo.jpg \n", "IMG_1.jpg", "Holiday photo.jpg"},
        {"a/b/c.txt", "x.txt", "a-b-c.txt"},
        {"...hidden", "x", "hidden"},
        {". .x", "x", " .x"},
        {std::string("nul\0byte", 8), "x", "nul-byte"},
        {" \t\n", "x", std::nullopt},
        {"...", "x", std::nullopt},
        {"same.txt", "same.txt", std::nullopt},
        {"/", "x", "-"},
    };
    for (const auto& [proposed, current, expected] : cases)
        EXPECT_EQ(ShelfNaming::sanitisedRename(proposed, current), expected) << proposed;
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
