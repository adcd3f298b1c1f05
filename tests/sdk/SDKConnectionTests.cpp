#include "BrindKit/sdk/SDKConnection.hpp"
#include "BrindKit/sdk/SDKOnce.hpp"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using brind::SDKConnection;
using brind::SDKOnce;

TEST(SDKConnection, RunsEachCloseHandlerExactlyOnceOutsideTheLock) {
    SDKConnection connection;
    std::atomic<int> runs = 0;
    std::atomic<bool> sawOpen = false;
    for (int i = 0; i < 8; ++i) {
        connection.onClose([&] {
            ++runs;
            // Asking the connection again from a close handler must not deadlock.
            sawOpen = sawOpen || !connection.isClosed();
        });
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] { connection.markClosed(); });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(runs.load(), 8);
    EXPECT_FALSE(sawOpen.load());

    // A handler added after the close runs at once.
    connection.onClose([&] { ++runs; });
    EXPECT_EQ(runs.load(), 9);
}

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
