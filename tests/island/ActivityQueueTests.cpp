#include "BrindKit/island/ActivityQueue.hpp"

#include <gtest/gtest.h>

using namespace brind;
using Result = ActivityQueue::PostResult;
using IDs = std::vector<std::string>;

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

IDs orderedIDs(const ActivityQueue& queue) {
    IDs ids;
    for (const LiveActivity& item : queue.ordered())
        ids.push_back(item.id);
    return ids;
}

} // namespace

TEST(ActivityQueue, InsertsClampedThenLeavesRepeatsAloneThenUpdatesInPlace) {
    ActivityQueue queue;
    LiveActivity tea = activity("a", "Tea");
    tea.progress = 3;
    EXPECT_EQ(queue.post(tea, t0), Result::inserted);
    ASSERT_NE(queue.activity("a"), nullptr);
    EXPECT_EQ(queue.activity("a")->progress, 1.0);
    // The stored copy is clamped, yet the same post again is not a change.
    EXPECT_EQ(queue.post(tea, t0 + 1), Result::unchanged);

    EXPECT_EQ(queue.post(activity("a", "Green tea"), t0 + 2), Result::updated);
    EXPECT_EQ(queue.activity("a")->title, "Green tea");
    EXPECT_EQ(queue.activity("a")->postedAt, t0);
    EXPECT_EQ(queue.count(), 1u);
}

TEST(ActivityQueue, OrdersByPriorityThenArrivalThenID) {
    ActivityQueue queue;
    EXPECT_FALSE(queue.top());
    queue.post(activity("quiet", "Later", ActivityPriority::ambient), t0);
    queue.post(activity("z"), t0 + 1);
    // Same priority, same instant: the id decides, whatever the insertion order.
    queue.post(activity("b"), t0 + 2);
    queue.post(activity("a"), t0 + 2);
    queue.post(activity("urgent", "Now", ActivityPriority::important), t0 + 3);
    EXPECT_EQ(orderedIDs(queue), (IDs{"urgent", "z", "a", "b", "quiet"}));
    EXPECT_EQ(queue.top()->id, "urgent");

    // An update keeps its place even when it was posted later.
    queue.post(activity("z", "Changed"), t0 + 10);
    queue.end("urgent");
    EXPECT_EQ(orderedIDs(queue), (IDs{"z", "a", "b", "quiet"}));
    EXPECT_EQ(queue.top()->id, "z");
}

TEST(ActivityQueue, DismissalSticksUntilTitleChangesPriorityRisesOrTheActivityEnds) {
    const std::tuple<const char*, ActivityPriority, Result> cases[] = {
        {"Tea", ActivityPriority::important, Result::suppressed},
        {"Tea", ActivityPriority::normal, Result::suppressed},
        {"Tea", ActivityPriority::critical, Result::inserted},
        {"Coffee", ActivityPriority::ambient, Result::inserted}};
    ActivityQueue dismissed;
    dismissed.post(activity("a", "Tea", ActivityPriority::important), t0);
    ASSERT_TRUE(dismissed.dismiss("a"));
    EXPECT_TRUE(dismissed.isDismissed("a"));
    EXPECT_EQ(dismissed.activity("a"), nullptr);
    for (const auto& [title, priority, expected] : cases) {
        ActivityQueue queue = dismissed;
        EXPECT_EQ(queue.post(activity("a", title, priority), t0 + 1), expected) << title;
        if (expected == Result::suppressed) {
            EXPECT_EQ(queue, dismissed);
        } else {
            EXPECT_FALSE(queue.isDismissed("a"));
            EXPECT_EQ(queue.activity("a")->postedAt, t0 + 1);
        }
    }

    // Only a stored, dismissible activity can be dismissed.
    ActivityQueue queue;
    LiveActivity pinned = activity("pinned");
    pinned.dismissible = false;
    queue.post(pinned, t0);
    const ActivityQueue before = queue;
    EXPECT_FALSE(queue.dismiss("pinned"));
    EXPECT_FALSE(queue.dismiss("unknown"));
    EXPECT_EQ(queue, before);

    // Ending forgets the dismissal, even when nothing is stored.
    queue = dismissed;
    EXPECT_FALSE(queue.end("a"));
    EXPECT_FALSE(queue.isDismissed("a"));
    EXPECT_EQ(queue.post(activity("a"), t0 + 1), Result::inserted);
    EXPECT_TRUE(queue.end("a"));
    EXPECT_FALSE(queue.end("a"));
}

TEST(ActivityQueue, PurgeAndEndAllReturnSortedIDs) {
    ActivityQueue queue;
    for (const char* id : {"c", "b-2", "b-1"})
        queue.post(expiring(id, t0 + 10), t0);
    LiveActivity other = expiring("a", t0 + 100);
    other.source = "other";
    queue.post(other, t0);
    queue.post(activity("forever"), t0);
    EXPECT_EQ(queue.nextExpiry(), t0 + 10);

    ActivityQueue copy = queue;
    EXPECT_EQ(queue.post(expiring("past", t0 - 1), t0), Result::suppressed);
    EXPECT_EQ(queue.purgeExpired(t0 + 9), IDs{});
    EXPECT_EQ(queue.purgeExpired(t0 + 10), (IDs{"b-1", "b-2", "c"}));
    EXPECT_EQ(queue.nextExpiry(), t0 + 100);
    EXPECT_EQ(orderedIDs(queue), (IDs{"a", "forever"}));
    queue.end("a");
    EXPECT_FALSE(queue.nextExpiry());

    EXPECT_EQ(copy.endAll("test"), (IDs{"b-1", "b-2", "c", "forever"}));
    EXPECT_EQ(copy.endAll("test"), IDs{});
    EXPECT_EQ(copy.count(), 1u);
}
