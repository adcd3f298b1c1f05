// The history, and finding a clip in it: retention, search scores and moving through the rows.

#include "BrindKit/clipboard/ClipClassifier.hpp"
#include "BrindKit/clipboard/ClipHistory.hpp"
#include "BrindKit/clipboard/ClipQuickKeys.hpp"
#include "BrindKit/clipboard/ClipSearch.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

constexpr double day = 86400;

using Texts = std::vector<std::string>;

ClipItem textItem(const std::string& text, Date when = Date{0}, bool pinned = false) {
    ClipItem item;
    item.id = UUID::random();
    item.text = text;
    item.created = when;
    item.lastUsed = when;
    item.pinned = pinned;
    item.contentHash = ClipClassifier::hash("text", text);
    item.byteSize = static_cast<std::int64_t>(text.size());
    return item;
}

const ClipItem& itemOf(const ClipItem& item) {
    return item;
}

const ClipItem& itemOf(const ClipItem* item) {
    return *item;
}

// The texts of items, or of the items pointed to, in order.
template <typename Items>
Texts texts(const Items& items) {
    Texts result;
    for (const auto& item : items)
        result.push_back(itemOf(item).text.value_or(""));
    return result;
}

ClipSettings limits(std::int64_t maxItems, std::int64_t maxDays) {
    ClipSettings settings;
    settings.maxItems = maxItems;
    settings.maxDays = maxDays;
    return settings;
}

ClipItem item(ClipKind kind, std::optional<std::string> text) {
    ClipItem result;
    result.id = UUID::random();
    result.kind = kind;
    result.text = std::move(text);
    return result;
}

} // namespace

TEST(ClipHistory, InsertingTheSameContentRefreshesTheExistingItem) {
    ClipHistory history;
    ClipItem original = textItem("same", Date{100}, true);
    original.rtfFile = "kept.rtf";
    const auto first = history.insert(original, ClipSettings{}, Date{100});
    EXPECT_FALSE(first.deduped);
    EXPECT_TRUE(first.removed.empty());
    EXPECT_EQ(first.item, original);
    history.insert(textItem("other"), ClipSettings{}, Date{150});
    EXPECT_EQ(texts(history.items()), (Texts{"other", "same"}));

    ClipItem again = textItem("same", Date{200});
    again.sourceBundleID = "org.example.editor";
    again.sourceAppName = "Editor";
    const auto result = history.insert(again, ClipSettings{}, Date{200});
    // The stored item keeps its identity, pin and side files; without a source of its own it takes
    // the new one.
    ClipItem expected = original;
    expected.lastUsed = Date{200};
    expected.useCount = 1;
    expected.sourceBundleID = "org.example.editor";
    expected.sourceAppName = "Editor";
    EXPECT_TRUE(result.deduped);
    EXPECT_EQ(result.item, expected);
    EXPECT_EQ(texts(history.items()), (Texts{"same", "other"}));
    EXPECT_EQ(history.items().front(), expected);

    // A known source is not overwritten.
    ClipItem third = textItem("same");
    third.sourceBundleID = "org.example.other";
    third.sourceAppName = "Other";
    history.insert(third, ClipSettings{}, Date{300});
    expected.lastUsed = Date{300};
    expected.useCount = 2;
    EXPECT_EQ(history.items().front(), expected);
}

// A list loaded from disk may hold copies of one content; whichever of them the history remembers
// may go, and a new copy must still find the one that is left rather than be stored twice.
TEST(ClipHistory, InsertFindsTheCopyThatIsLeftInALoadedList) {
    const ClipItem front = textItem("same", Date{30});
    ClipItem back = textItem("same", Date{10});
    back.pinned = true;
    for (const bool removeFront : {true, false}) {
        ClipHistory history({front, textItem("between", Date{20}), back});
        // Touching brings the back copy to the front, so it is the one remembered.
        if (!removeFront)
            history.touch(back.id, Date{40});
        history.remove(removeFront ? front.id : back.id);
        const auto result = history.insert(textItem("same"), ClipSettings{}, Date{50});
        EXPECT_TRUE(result.deduped) << removeFront;
        EXPECT_EQ(result.item.id, removeFront ? back.id : front.id);
        EXPECT_EQ(texts(history.items()), (Texts{"same", "between"}));
    }
}

TEST(ClipHistory, CountLimitNeverRemovesPinnedItems) {
    ClipHistory history;
    const ClipSettings one = limits(1, 0);
    history.insert(textItem("pinned a", Date{0}, true), one, Date{1});
    history.insert(textItem("pinned b", Date{0}, true), one, Date{2});
    history.insert(textItem("u1"), one, Date{3});
    EXPECT_EQ(texts(history.insert(textItem("u2"), one, Date{4}).removed), Texts{"u1"});
    EXPECT_EQ(texts(history.insert(textItem("u3"), one, Date{5}).removed), Texts{"u2"});
    EXPECT_EQ(texts(history.items()), (Texts{"u3", "pinned b", "pinned a"}));
    EXPECT_FALSE(history.contains(ClipClassifier::hash("text", "u1")));

    // A limit below one still keeps the newest unpinned item.
    history.applyRetention(limits(0, 0), Date{6});
    EXPECT_EQ(texts(history.items()), (Texts{"u3", "pinned b", "pinned a"}));

    // Many removals at once rebuild the list instead of erasing one by one; both must keep the same items.
    std::vector<ClipItem> items;
    for (int index = 0; index < 40; ++index)
        items.push_back(
            textItem("item " + std::to_string(index), Date{1000.0 - index}, index == 5 || index == 30));
    history = ClipHistory(items);
    const auto removed = history.applyRetention(limits(10, 0), Date{1000});
    EXPECT_EQ(removed.size(), 28u);
    EXPECT_EQ(history.items().size(), 12u);
    EXPECT_EQ(history.items()[5].text, "item 5");
    EXPECT_EQ(history.items()[10].text, "item 10");
    EXPECT_EQ(history.items()[11].text, "item 30");
    for (const ClipItem& item : removed)
        EXPECT_FALSE(history.contains(item.contentHash)) << *item.text;
}

TEST(ClipHistory, AgeLimitKeepsTheBoundaryAndReportsAgeRemovalsFirst) {
    const Date now{100 * day};
    ClipHistory history({textItem("new 1", now), textItem("a second older", now - 30 * day - 1),
                         textItem("new 2", now), textItem("exactly 30 days", now - 30 * day),
                         textItem("old but pinned", now - 400 * day, true), textItem("new 3", now)});

    const auto removed = history.applyRetention(limits(3, 30), now);
    // "a second older" goes for age; of the four young unpinned items the fourth goes for count.
    EXPECT_EQ(texts(removed), (Texts{"a second older", "new 3"}));
    EXPECT_EQ(texts(history.items()), (Texts{"new 1", "new 2", "exactly 30 days", "old but pinned"}));

    // Without an age limit nothing is ever too old.
    ClipHistory ageless({textItem("ancient", Date{0})});
    EXPECT_TRUE(ageless.applyRetention(limits(300, 0), Date{1e12}).empty());
    EXPECT_EQ(ageless.items().size(), 1u);
}

TEST(ClipHistory, TouchPinRemoveAndClear) {
    const ClipItem a = textItem("a");
    const ClipItem b = textItem("b");
    const ClipItem c = textItem("c");
    ClipHistory history({a, b, c});

    EXPECT_TRUE(history.touch(c.id, Date{50}));
    EXPECT_EQ(texts(history.items()), (Texts{"c", "a", "b"}));
    EXPECT_EQ(history.item(c.id)->useCount, 1);
    EXPECT_EQ(history.item(c.id)->lastUsed, Date{50});
    EXPECT_FALSE(history.touch(UUID::random(), Date{50}));

    EXPECT_TRUE(history.setPinned(b.id, true));
    EXPECT_TRUE(history.item(b.id)->pinned);
    EXPECT_EQ(texts(history.items()), (Texts{"c", "a", "b"}));
    EXPECT_EQ(texts(history.ordered()), (Texts{"b", "c", "a"}));
    EXPECT_FALSE(history.setPinned(UUID::random(), true));

    EXPECT_EQ(history.remove(a.id), a);
    EXPECT_FALSE(history.remove(a.id));
    EXPECT_FALSE(history.item(a.id));
    EXPECT_FALSE(history.contains(a.contentHash));

    EXPECT_EQ(texts(history.clear(ClipHistory::PinnedItems::keep)), Texts{"c"});
    EXPECT_EQ(texts(history.items()), Texts{"b"});
    EXPECT_EQ(texts(history.clear(ClipHistory::PinnedItems::remove)), Texts{"b"});
    EXPECT_TRUE(history.items().empty());
    EXPECT_FALSE(history.contains(b.contentHash));
}

TEST(ClipHistory, SearchFiltersByKindRanksByScoreAndFollowsChanges) {
    ClipItem link = textItem("https://example.org/report");
    link.kind = ClipKind::link;
    ClipHistory history({textItem("report"), link, textItem("the report"),
                         textItem("quarterly report draft", Date{0}, true), textItem("unrelated")});

    EXPECT_EQ(texts(history.search("")), (Texts{"quarterly report draft", "report",
                                                "https://example.org/report", "the report", "unrelated"}));
    EXPECT_EQ(texts(history.search(" \n", ClipKind::link)), Texts{"https://example.org/report"});
    // exact 100; word starts 60 (+5 pinned); "/report" is also a word start.
    EXPECT_EQ(texts(history.search("  REPORT ")),
              (Texts{"report", "quarterly report draft", "https://example.org/report", "the report"}));
    EXPECT_EQ(texts(history.search("report", ClipKind::text)),
              (Texts{"report", "quarterly report draft", "the report"}));
    EXPECT_TRUE(history.search("nothing matches this").empty());

    // The search keeps prepared data per item; it must follow changes to the history.
    history = ClipHistory();
    const ClipItem first = textItem("alpha");
    history.insert(first, ClipSettings{}, Date{1});
    EXPECT_EQ(texts(history.search("alpha")), Texts{"alpha"});
    EXPECT_TRUE(history.search("editor").empty());

    ClipItem again = textItem("alpha");
    again.sourceAppName = "Editor";
    history.insert(again, ClipSettings{}, Date{2});
    EXPECT_EQ(texts(history.search("editor")), Texts{"alpha"});

    history.remove(first.id);
    EXPECT_TRUE(history.search("alpha").empty());
    history.insert(textItem("alphabet"), ClipSettings{}, Date{3});
    EXPECT_EQ(texts(history.search("alpha")), Texts{"alphabet"});
}

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
