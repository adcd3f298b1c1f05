#include "vantaquill/Scheduler.hpp"

#include <gtest/gtest.h>
#include <string>

using vq::ManualScheduler;

TEST(ManualScheduler, FiresDueTimersInOrderAtTheirOwnTime) {
    ManualScheduler scheduler(brind::Date{100});
    std::string log;
    auto late = scheduler.schedule(
        2, [&] { log += "late@" + std::to_string(int(scheduler.now().secondsSince1970)) + " "; });
    auto early = scheduler.schedule(
        1, [&] { log += "early@" + std::to_string(int(scheduler.now().secondsSince1970)) + " "; });
    auto tie = scheduler.schedule(2, [&] { log += "tie "; });
    EXPECT_EQ(scheduler.pendingCount(), 3u);
    EXPECT_EQ(scheduler.nextDue(), brind::Date{101});

    scheduler.advance(1.5);
    EXPECT_EQ(log, "early@101 ");
    EXPECT_EQ(scheduler.now(), brind::Date{101.5});
    scheduler.advance(10);
    EXPECT_EQ(log, "early@101 late@102 tie ");
    EXPECT_EQ(scheduler.pendingCount(), 0u);
    EXPECT_FALSE(scheduler.nextDue());
}

TEST(ManualScheduler, DestroyingATimerCancelsItEvenFromItsOwnAction) {
    ManualScheduler scheduler;
    int fired = 0;
    auto cancelled = scheduler.schedule(1, [&] { ++fired; });
    cancelled.reset();
    EXPECT_EQ(scheduler.pendingCount(), 0u);

    std::unique_ptr<vq::Scheduler::Timer> self;
    std::unique_ptr<vq::Scheduler::Timer> chained;
    self = scheduler.schedule(1, [&] {
        ++fired;
        self.reset();
        chained = scheduler.schedule(0.5, [&] { fired += 10; });
    });
    scheduler.advance(2);
    EXPECT_EQ(fired, 11);
}
