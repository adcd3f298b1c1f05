// Finding a clip: search scores, and the keys that pick and move through the rows.

#include "BrindKit/clipboard/ClipQuickKeys.hpp"
#include "BrindKit/clipboard/ClipSearch.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

ClipItem item(ClipKind kind, std::optional<std::string> text) {
    ClipItem result;
    result.id = UUID::random();
    result.kind = kind;
    result.text = std::move(text);
    return result;
}

} // namespace

TEST(ClipSearch, HaystackJoinsTextFileNamesAndColour) {
    ClipItem files = item(ClipKind::file, "/Tmp/A.pdf");
    files.fileURLs = {"file:///Tmp/A.pdf", "not a url", "file:///home/Notes%20Today.TXT"};
    EXPECT_EQ(ClipSearch::haystack(files), "/tmp/a.pdf\na.pdf\nnotes today.txt");

    ClipItem colour = item(ClipKind::colour, "RGB(255, 0, 0)");
    colour.colour = RGBA{1, 0, 0, 1};
    EXPECT_EQ(ClipSearch::haystack(colour), "rgb(255, 0, 0)\n#ff0000");

    EXPECT_EQ(ClipSearch::haystack(item(ClipKind::image, std::nullopt)), "");
    EXPECT_EQ(ClipSearch::haystack(item(ClipKind::text, "\u00C9T\u00C9")), "\u00E9t\u00E9");

    // Only the beginning of a long clip is searched.
    const std::string longText = std::string(20000, 'a') + "needle";
    EXPECT_EQ(ClipSearch::haystack(item(ClipKind::text, longText)).size(), 20000u);
    EXPECT_EQ(ClipSearch::score(item(ClipKind::text, longText), "needle"), 0);
}

// Each token scores by the first rule that applies, and every token must match; the file says why
// each case scores as it does.
TEST(ClipSearch, EachTokenScoresByTheFirstRuleThatApplies) {
    const JSON cases = JSON::parse(AtomicFile::read(BRIND_TEST_DATA "/clipboard/search-scores.json").value());
    for (const JSON& test : cases) {
        const auto text = [&](const char* key) {
            return test.contains(key) ? std::optional(test[key].get<std::string>()) : std::nullopt;
        };
        ClipItem scored = item(clipKindNamed(test.at("kind").get<std::string>()).value(), text("text"));
        scored.sourceAppName = text("source");
        scored.pinned = test.value("pinned", false);
        EXPECT_EQ(ClipSearch::score(scored, test.at("query").get<std::string>()), test.at("score").get<int>())
            << test.dump();
    }
    // Scattered matches keep the order of the query.
    EXPECT_TRUE(ClipSearch::isSubsequence("abc", "a-b-c"));
    EXPECT_TRUE(ClipSearch::isSubsequence("", "anything"));
    EXPECT_TRUE(ClipSearch::isSubsequence("\u00E9t\u00E9", "\u00E9 t \u00E9"));
    EXPECT_FALSE(ClipSearch::isSubsequence("cba", "abc"));
    EXPECT_FALSE(ClipSearch::isSubsequence("aa", "a"));
    EXPECT_FALSE(ClipSearch::isSubsequence("a", ""));
}

TEST(ClipQuickKeys, DigitsOneToNinePickAndLabelTheFirstNineRows) {
    for (std::int64_t digit = 1; digit <= 9; ++digit)
        EXPECT_EQ(ClipQuickKeys::index(digit), static_cast<std::size_t>(digit - 1));
    for (const std::int64_t digit : {0, 10, -1, 99})
        EXPECT_FALSE(ClipQuickKeys::index(digit)) << digit;

    std::vector<ClipItem> items(3);
    items[2].text = "third";
    EXPECT_EQ(ClipQuickKeys::item(3, items)->text, "third");
    EXPECT_FALSE(ClipQuickKeys::item(4, items));
    EXPECT_FALSE(ClipQuickKeys::item(0, items));
    EXPECT_EQ(ClipQuickKeys::label(0), "\u23181");
    EXPECT_EQ(ClipQuickKeys::label(8), "\u23189");
    EXPECT_FALSE(ClipQuickKeys::label(9));
    EXPECT_FALSE(ClipQuickKeys::label(-1));
}

TEST(ClipQuickKeys, MoveStopsAtTheEnds) {
    const struct {
        std::int64_t current, step, count, expected;
    } cases[] = {
        {0, 1, 5, 1}, {0, -1, 5, 0}, {4, 1, 5, 4},         {2, -10, 5, 0},       {2, 10, 5, 4},
        {3, 0, 0, 0}, {3, 1, -2, 0}, {0, INT64_MAX, 5, 4}, {0, INT64_MIN, 5, 0}, {9, -1, 5, 4},
    };
    for (const auto& test : cases)
        EXPECT_EQ(ClipQuickKeys::move(test.current, test.step, test.count), test.expected)
            << test.current << " by " << test.step << " of " << test.count;
}
