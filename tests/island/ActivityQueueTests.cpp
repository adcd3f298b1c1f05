#include "BrindKit/island/ActivityQueue.hpp"

#include <gtest/gtest.h>

using namespace brind;
using Result = ActivityQueue::PostResult;

namespace {

const Date t0{1'700'000'000};

LiveActivity activity(std::string id, std::string title = "Title",
                      ActivityPriority priority = ActivityPriority::normal) {
    LiveActivity made;
    made.id = std::move(id);
    made.source = "test";
    made.title = std::move(title);
    made.priority = priority;
    return made;
}

LiveActivity expiring(std::string id, Date at) {
    LiveActivity made = activity(std::move(id));
    made.expiresAt = at;
    return made;
}

std::vector<std::string> orderedIDs(const ActivityQueue& queue) {
    std::vector<std::string> ids;
    for (const LiveActivity& item : queue.ordered())
        ids.push_back(item.id);
    return ids;
}

using IDs = std::vector<std::string>;

} // namespace

TEST(ActivityQueue, InsertsThenLeavesRepeatsAloneThenUpdatesInPlace) {
    ActivityQueue queue;
    EXPECT_EQ(queue.post(activity("a", "Tea"), t0), Result::inserted);
    EXPECT_EQ(queue.post(activity("a", "Tea"), t0 + 1), Result::unchanged);
    EXPECT_EQ(queue.post(activity("a", "Green tea"), t0 + 2), Result::updated);

    ASSERT_NE(queue.activity("a"), nullptr);
    EXPECT_EQ(queue.activity("a")->title, "Green tea");
    EXPECT_EQ(queue.activity("a")->postedAt, t0);
    EXPECT_EQ(queue.count(), 1u);
}

TEST(ActivityQueue, OrdersByPriorityThenArrivalThenID) {
    ActivityQueue queue;
    queue.post(activity("first"), t0);
    queue.post(activity("second"), t0 + 1);
    EXPECT_EQ(orderedIDs(queue), (IDs{"first", "second"}));

    queue.post(activity("urgent", "Now", ActivityPriority::important), t0 + 2);
    queue.post(activity("quiet", "Later", ActivityPriority::ambient), t0 + 3);
    EXPECT_EQ(orderedIDs(queue), (IDs{"urgent", "first", "second", "quiet"}));

    // Same priority, same instant: the id decides, whatever the insertion order.
    ActivityQueue tie;
    tie.post(activity("b"), t0);
    tie.post(activity("a"), t0);
    EXPECT_EQ(orderedIDs(tie), (IDs{"a", "b"}));
    EXPECT_EQ(tie.top()->id, "a");

    // An update keeps its place even when it was posted later.
    queue.post(activity("first", "Changed"), t0 + 10);
    EXPECT_EQ(orderedIDs(queue), (IDs{"urgent", "first", "second", "quiet"}));
    EXPECT_EQ(queue.top()->id, "urgent");
    EXPECT_FALSE(ActivityQueue{}.top());
}

TEST(ActivityQueue, ExpiredPostIsSuppressedAndEndsTheStoredOne) {
    ActivityQueue queue;
    queue.post(activity("a"), t0);
    EXPECT_EQ(queue.post(expiring("a", t0 + 5), t0 + 5), Result::suppressed);
    EXPECT_EQ(queue.activity("a"), nullptr);
    EXPECT_EQ(queue.post(expiring("b", t0 - 1), t0), Result::suppressed);
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_EQ(queue.post(expiring("c", t0 + 0.001), t0), Result::inserted);
}

TEST(ActivityQueue, DismissalSticksUntilTitleChangesOrPriorityRises) {
    struct Case {
        const char* title;
        ActivityPriority priority;
        Result expected;
    };
    const Case cases[] = {
        {"Tea", ActivityPriority::important, Result::suppressed},
        {"Tea", ActivityPriority::normal, Result::suppressed},
        {"Tea", ActivityPriority::critical, Result::inserted},
        {"Coffee", ActivityPriority::ambient, Result::inserted},
    };
    for (const auto& [title, priority, expected] : cases) {
        ActivityQueue queue;
        queue.post(activity("a", "Tea", ActivityPriority::important), t0);
        ASSERT_TRUE(queue.dismiss("a"));
        EXPECT_TRUE(queue.isDismissed("a"));
        EXPECT_EQ(queue.activity("a"), nullptr);

        const ActivityQueue before = queue;
        EXPECT_EQ(queue.post(activity("a", title, priority), t0 + 1), expected) << title;
        if (expected == Result::suppressed) {
            EXPECT_EQ(queue, before);
            continue;
        }
        EXPECT_FALSE(queue.isDismissed("a"));
        EXPECT_EQ(queue.activity("a")->postedAt, t0 + 1);
    }
}

TEST(ActivityQueue, DismissNeedsAStoredDismissibleActivity) {
    ActivityQueue queue;
    LiveActivity pinned = activity("pinned");
    pinned.dismissible = false;
    queue.post(pinned, t0);
    const ActivityQueue before = queue;
    EXPECT_FALSE(queue.dismiss("pinned"));
    EXPECT_FALSE(queue.dismiss("unknown"));
    EXPECT_EQ(queue, before);
    EXPECT_EQ(queue.dismissed().size(), 0u);
}

TEST(ActivityQueue, EndForgetsDismissalEvenWhenNothingIsStored) {
    ActivityQueue queue;
    queue.post(activity("a"), t0);
    queue.dismiss("a");
    EXPECT_FALSE(queue.end("a"));
    EXPECT_FALSE(queue.isDismissed("a"));
    EXPECT_EQ(queue.post(activity("a"), t0 + 1), Result::inserted);
    EXPECT_TRUE(queue.end("a"));
    EXPECT_FALSE(queue.end("a"));
}

TEST(ActivityQueue, PurgeAndEndAllReturnSortedIDs) {
    ActivityQueue queue;
    for (const char* id : {"c", "b-2", "a", "b-1"}) {
        LiveActivity item = expiring(id, std::string(id) == "a" ? t0 + 100 : t0 + 10);
        item.source = std::string(id) == "a" ? "other" : "timer";
        queue.post(item, t0);
    }
    queue.post(activity("forever"), t0);
    EXPECT_EQ(queue.nextExpiry(), t0 + 10);

    ActivityQueue copy = queue;
    EXPECT_EQ(queue.purgeExpired(t0 + 9), IDs{});
    EXPECT_EQ(queue.purgeExpired(t0 + 10), (IDs{"b-1", "b-2", "c"}));
    EXPECT_EQ(queue.nextExpiry(), t0 + 100);
    EXPECT_EQ(orderedIDs(queue), (IDs{"a", "forever"}));

    EXPECT_EQ(copy.endAll("timer"), (IDs{"b-1", "b-2", "c"}));
    EXPECT_EQ(copy.endAll("timer"), IDs{});
    EXPECT_EQ(copy.count(), 2u);
    queue.end("a");
    EXPECT_FALSE(queue.nextExpiry());
}

TEST(ActivityQueue, ClampsProgressOfWhatItStores) {
    ActivityQueue queue;
    LiveActivity item = activity("a");
    item.progress = 3;
    queue.post(item, t0);
    EXPECT_EQ(queue.activity("a")->progress, 1.0);
    // The clamped form of the same post is not a change.
    EXPECT_EQ(queue.post(item, t0 + 1), Result::unchanged);
}
