#include "BrindKit/sdk/SDKRateLimiter.hpp"

#include <gtest/gtest.h>

using brind::Date;
using brind::SDKRateLimiter;

namespace {

const Date start{1763770000.25};

} // namespace

// The registrations' bucket (three, then 429) is pinned through the bridge in tests/bridge.
TEST(SDKRateLimiter, AllowsABurstThenOneRequestPerRefillInterval) {
    SDKRateLimiter limiter = SDKRateLimiter::requests();
    for (int i = 0; i < 40; ++i)
        ASSERT_TRUE(limiter.allow("app", start)) << i;
    EXPECT_FALSE(limiter.allow("app", start));
    EXPECT_EQ(limiter.retryAfter("app", start + 0.025), 1); // whole seconds, rounded up
    // Exactly one interval later is a whole token, although the two dates' difference is not exact.
    EXPECT_TRUE(limiter.allow("app", start + 0.05));
    EXPECT_FALSE(limiter.allow("app", start + 0.05));
    // Other clients have their own buckets.
    EXPECT_TRUE(limiter.allow("other", start + 0.05));
    EXPECT_EQ(limiter.retryAfter("unknown", start), 0);
    // Refills cap at the capacity however long the pause.
    EXPECT_EQ(limiter.retryAfter("app", start + 3600), 0);
    for (int i = 0; i < 40; ++i)
        ASSERT_TRUE(limiter.allow("app", start + 3600)) << i;
    EXPECT_FALSE(limiter.allow("app", start + 3600));
}

TEST(SDKRateLimiter, RefusesCostsAboveWhatIsLeftAndIgnoresClockSteppingBack) {
    SDKRateLimiter limiter{.capacity = 5, .refillPerSecond = 1, .buckets = {}};
    EXPECT_FALSE(limiter.allow("k", start, 6));
    EXPECT_TRUE(limiter.allow("k", start, 5));
    EXPECT_EQ(limiter.retryAfter("k", start + 0.5), 1);
    EXPECT_EQ(limiter.retryAfter("k", start + 1), 0);
    // A clock that steps back refills nothing.
    EXPECT_FALSE(limiter.allow("k", start - 100));
    EXPECT_EQ(limiter.retryAfter("k", start - 100), 1);
}

TEST(SDKRateLimiter, PrunesIdleBucketsOnceThereAreTooMany) {
    SDKRateLimiter limiter = SDKRateLimiter::requests();
    for (int i = 0; i < 511; ++i)
        limiter.allow("old" + std::to_string(i), start);
    limiter.allow("recent", start + 500);
    EXPECT_EQ(limiter.buckets.size(), 512u);
    // The 513th bucket triggers pruning: the old ones are now 600 s idle, "recent" only 100 s.
    limiter.allow("new", start + 600);
    EXPECT_EQ(limiter.buckets.size(), 2u);
    EXPECT_TRUE(limiter.buckets.contains("recent"));
    EXPECT_TRUE(limiter.buckets.contains("new"));
}
