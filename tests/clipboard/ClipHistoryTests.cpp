#include "BrindKit/clipboard/ClipHistory.hpp"

#include "BrindKit/clipboard/ClipClassifier.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

constexpr double day = 86400;

ClipItem textItem(const std::string& text, Date when = Date{0}) {
    ClipItem item;
    item.id = UUID::random();
    item.kind = ClipKind::text;
    item.text = text;
    item.created = when;
    item.lastUsed = when;
    item.contentHash = ClipClassifier::hash("text", text);
    item.byteSize = static_cast<std::int64_t>(text.size());
    return item;
}

std::vector<std::string> texts(const std::vector<ClipItem>& items) {
    std::vector<std::string> result;
    for (const ClipItem& item : items)
        result.push_back(item.text.value_or(""));
    return result;
}

std::vector<std::string> texts(const std::vector<const ClipItem*>& items) {
    std::vector<std::string> result;
    for (const ClipItem* item : items)
        result.push_back(item->text.value_or(""));
    return result;
}

std::vector<std::string> texts(const ClipHistory& history) {
    return texts(std::vector<ClipItem>(history.items().begin(), history.items().end()));
}

ClipSettings limits(std::int64_t maxItems, std::int64_t maxDays) {
    ClipSettings settings;
    settings.maxItems = maxItems;
    settings.maxDays = maxDays;
    return settings;
}

} // namespace

TEST(ClipHistory, InsertPutsNewItemsInFront) {
    ClipHistory history;
    const auto first = history.insert(textItem("one"), ClipSettings{}, Date{10});
    EXPECT_FALSE(first.deduped);
    EXPECT_TRUE(first.removed.empty());
    EXPECT_EQ(first.item.text, "one");
    history.insert(textItem("two"), ClipSettings{}, Date{11});
    EXPECT_EQ(texts(history), (std::vector<std::string>{"two", "one"}));
    EXPECT_TRUE(history.contains(ClipClassifier::hash("text", "one")));
    EXPECT_FALSE(history.contains(ClipClassifier::hash("text", "three")));
}

TEST(ClipHistory, InsertingTheSameContentRefreshesTheExistingItem) {
    ClipHistory history;
    ClipItem original = textItem("same", Date{100});
    original.pinned = true;
    original.rtfFile = "kept.rtf";
    history.insert(original, ClipSettings{}, Date{100});
    history.insert(textItem("other"), ClipSettings{}, Date{150});

    ClipItem again = textItem("same", Date{200});
    again.sourceBundleID = "org.example.editor";
    again.sourceAppName = "Editor";
    const auto result = history.insert(again, ClipSettings{}, Date{200});

    EXPECT_TRUE(result.deduped);
    EXPECT_EQ(history.items().size(), 2u);
    EXPECT_EQ(texts(history), (std::vector<std::string>{"same", "other"}));
    const ClipItem& refreshed = history.items().front();
    EXPECT_EQ(refreshed, result.item);
    EXPECT_EQ(refreshed.id, original.id);
    EXPECT_EQ(refreshed.created, Date{100});
    EXPECT_EQ(refreshed.lastUsed, Date{200});
    EXPECT_EQ(refreshed.useCount, 1);
    EXPECT_TRUE(refreshed.pinned);
    EXPECT_EQ(refreshed.rtfFile, "kept.rtf");
    // Without a source of its own it takes the new one ...
    EXPECT_EQ(refreshed.sourceBundleID, "org.example.editor");
    EXPECT_EQ(refreshed.sourceAppName, "Editor");
    // ... but a known source is not overwritten.
    ClipItem third = textItem("same");
    third.sourceBundleID = "org.example.other";
    third.sourceAppName = "Other";
    history.insert(third, ClipSettings{}, Date{300});
    EXPECT_EQ(history.items().front().sourceBundleID, "org.example.editor");
    EXPECT_EQ(history.items().front().useCount, 2);
}

TEST(ClipHistory, CountLimitNeverRemovesPinnedItems) {
    ClipHistory history;
    ClipItem pinnedA = textItem("pinned a");
    pinnedA.pinned = true;
    ClipItem pinnedB = textItem("pinned b");
    pinnedB.pinned = true;
    const ClipSettings one = limits(1, 0);
    history.insert(pinnedA, one, Date{1});
    history.insert(pinnedB, one, Date{2});
    history.insert(textItem("u1"), one, Date{3});
    const auto second = history.insert(textItem("u2"), one, Date{4});
    EXPECT_EQ(texts(second.removed), std::vector<std::string>{"u1"});
    const auto third = history.insert(textItem("u3"), one, Date{5});
    EXPECT_EQ(texts(third.removed), std::vector<std::string>{"u2"});
    EXPECT_EQ(texts(history), (std::vector<std::string>{"u3", "pinned b", "pinned a"}));
    EXPECT_FALSE(history.contains(ClipClassifier::hash("text", "u1")));

    // A limit below one still keeps the newest unpinned item.
    history.applyRetention(limits(0, 0), Date{6});
    EXPECT_EQ(texts(history), (std::vector<std::string>{"u3", "pinned b", "pinned a"}));
}

TEST(ClipHistory, AgeLimitKeepsTheBoundaryAndReportsAgeRemovalsFirst) {
    const Date now{100 * day};
    ClipItem boundary = textItem("exactly 30 days", now - 30 * day);
    ClipItem older = textItem("a second older", now - 30 * day - 1);
    ClipItem oldPinned = textItem("old but pinned", now - 400 * day);
    oldPinned.pinned = true;
    ClipHistory history({textItem("new 1", now), older, textItem("new 2", now), boundary, oldPinned,
                         textItem("new 3", now)});

    const auto removed = history.applyRetention(limits(3, 30), now);
    // "a second older" goes for age; of the four young unpinned items the fourth goes for count.
    EXPECT_EQ(texts(removed), (std::vector<std::string>{"a second older", "new 3"}));
    EXPECT_EQ(texts(history), (std::vector<std::string>{"new 1", "new 2", "exactly 30 days", "old but pinned"}));

    // Without an age limit nothing is ever too old.
    ClipHistory ageless({textItem("ancient", Date{0})});
    EXPECT_TRUE(ageless.applyRetention(limits(300, 0), Date{1e12}).empty());
    EXPECT_EQ(ageless.items().size(), 1u);
}

TEST(ClipHistory, RetentionRemovesManyItemsAtOnce) {
    std::vector<ClipItem> items;
    for (int index = 0; index < 40; ++index)
        items.push_back(textItem("item " + std::to_string(index), Date{static_cast<double>(1000 - index)}));
    items[5].pinned = true;
    items[30].pinned = true;
    ClipHistory history(items);
    const auto removed = history.applyRetention(limits(10, 0), Date{1000});
    EXPECT_EQ(removed.size(), 28u);
    EXPECT_EQ(history.items().size(), 12u);
    EXPECT_EQ(history.items()[5].text, "item 5");
    EXPECT_EQ(history.items()[10].text, "item 10");
    EXPECT_EQ(history.items()[11].text, "item 30");
    for (const ClipItem& item : removed)
        EXPECT_FALSE(history.contains(item.contentHash)) << *item.text;
}

TEST(ClipHistory, TouchPinRemoveAndClear) {
    const ClipItem a = textItem("a");
    const ClipItem b = textItem("b");
    ClipItem c = textItem("c");
    ClipHistory history({a, b, c});

    EXPECT_TRUE(history.touch(c.id, Date{50}));
    EXPECT_EQ(texts(history), (std::vector<std::string>{"c", "a", "b"}));
    EXPECT_EQ(history.item(c.id)->useCount, 1);
    EXPECT_EQ(history.item(c.id)->lastUsed, Date{50});
    EXPECT_FALSE(history.touch(UUID::random(), Date{50}));

    EXPECT_TRUE(history.setPinned(b.id, true));
    EXPECT_TRUE(history.item(b.id)->pinned);
    EXPECT_EQ(texts(history), (std::vector<std::string>{"c", "a", "b"}));
    EXPECT_EQ(texts(history.ordered()), (std::vector<std::string>{"b", "c", "a"}));
    EXPECT_FALSE(history.setPinned(UUID::random(), true));

    const auto removed = history.remove(a.id);
    ASSERT_TRUE(removed);
    EXPECT_EQ(removed->text, "a");
    EXPECT_FALSE(history.remove(a.id));
    EXPECT_FALSE(history.item(a.id));
    EXPECT_FALSE(history.contains(a.contentHash));

    const auto cleared = history.clear(ClipHistory::PinnedItems::keep);
    EXPECT_EQ(texts(cleared), std::vector<std::string>{"c"});
    EXPECT_EQ(texts(history), std::vector<std::string>{"b"});
    EXPECT_EQ(texts(history.clear(ClipHistory::PinnedItems::remove)), std::vector<std::string>{"b"});
    EXPECT_TRUE(history.items().empty());
    EXPECT_FALSE(history.contains(b.contentHash));
}

TEST(ClipHistory, SearchFiltersByKindAndRanksByScore) {
    ClipItem link = textItem("https://example.org/report");
    link.kind = ClipKind::link;
    ClipItem pinned = textItem("quarterly report draft");
    pinned.pinned = true;
    ClipHistory history({textItem("report"), link, textItem("the report"), pinned, textItem("unrelated")});

    EXPECT_EQ(texts(history.search("")), (std::vector<std::string>{"quarterly report draft", "report",
                                                                    "https://example.org/report", "the report",
                                                                    "unrelated"}));
    EXPECT_EQ(texts(history.search(" \n", ClipKind::link)), std::vector<std::string>{"https://example.org/report"});
    // exact 100; word starts 60 (+5 pinned); "/report" is also a word start.
    EXPECT_EQ(texts(history.search("  REPORT ")),
              (std::vector<std::string>{"report", "quarterly report draft", "https://example.org/report", "the report"}));
    EXPECT_EQ(texts(history.search("report", ClipKind::text)),
              (std::vector<std::string>{"report", "quarterly report draft", "the report"}));
    EXPECT_TRUE(history.search("nothing matches this").empty());
}

// The search keeps prepared data per item; it must follow changes to the history.
TEST(ClipHistory, SearchFollowsChangesToTheHistory) {
    ClipHistory history;
    ClipItem first = textItem("alpha");
    history.insert(first, ClipSettings{}, Date{1});
    EXPECT_EQ(texts(history.search("alpha")), std::vector<std::string>{"alpha"});
    EXPECT_TRUE(history.search("editor").empty());

    ClipItem again = textItem("alpha");
    again.sourceAppName = "Editor";
    history.insert(again, ClipSettings{}, Date{2});
    EXPECT_EQ(texts(history.search("editor")), std::vector<std::string>{"alpha"});

    history.remove(first.id);
    EXPECT_TRUE(history.search("alpha").empty());
    history.insert(textItem("alphabet"), ClipSettings{}, Date{3});
    EXPECT_EQ(texts(history.search("alpha")), std::vector<std::string>{"alphabet"});
}
