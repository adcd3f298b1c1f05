#include "BrindKit/sdk/SDKOnce.hpp"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using brind::SDKOnce;

TEST(SDKOnce, RunsOnlyTheFirstBodyAcrossThreads) {
    SDKOnce once;
    std::atomic<int> runs = 0;
    std::atomic<int> reportedRuns = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            if (once.run([&] { ++runs; }))
                ++reportedRuns;
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(runs.load(), 1);
    EXPECT_EQ(reportedRuns.load(), 1);
    EXPECT_TRUE(once.done());
}
