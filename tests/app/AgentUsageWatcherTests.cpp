#include "vantaquill/AgentUsageWatcher.hpp"

#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace vq {

namespace {

using namespace std::chrono_literals;

std::string reply(const std::string& id, int input, int output) {
    return R"({"type":"assistant","message":{"id":")" + id + R"(","usage":{"input_tokens":)" +
           std::to_string(input) + R"(,"output_tokens":)" + std::to_string(output) + "}}}\n";
}

// The watcher's results come back through a queue that the test thread drains, as the application's
// event loop would.
struct Watcher {
    Watcher()
        : watcher([this](std::function<void()> work) {
              {
                  std::lock_guard guard(lock);
                  posted.push_back(std::move(work));
              }
              arrived.notify_one();
          }) {
        watcher.onUsage = [this](const std::string& key, const brind::AgentUsage& usage) { told[key] = usage; };
    }

    /// Runs what the worker posted until `key` was told, or a few seconds passed.
    bool waitFor(const std::string& key) {
        const auto deadline = std::chrono::steady_clock::now() + 20s;
        while (!told.contains(key)) {
            std::unique_lock guard(lock);
            if (!arrived.wait_until(guard, deadline, [this] { return !posted.empty(); }))
                return false;
            auto work = std::move(posted.front());
            posted.pop_front();
            guard.unlock();
            work();
        }
        return true;
    }

    std::mutex lock;
    std::condition_variable arrived;
    std::deque<std::function<void()>> posted;
    std::map<std::string, brind::AgentUsage> told;
    AgentUsageWatcher watcher;
};

} // namespace

TEST(AgentUsageWatcher, ABacklogLongerThanOneReadIsReadToItsEndAfterOneEvent) {
    brindtest::TemporaryFolder folder{"vq-usage-watcher"};
    const auto transcript = folder.path() / "long.jsonl";
    {
        std::ofstream out(transcript);
        out << reply("msg_a", 10, 1);
        // Tool output between the replies, more than one read takes.
        const std::string filler(1024 * 1024 - 1, 'x');
        for (std::size_t read = 0; read <= AgentUsageWatcher::maxReadPerEvent; read += filler.size() + 1)
            out << filler << '\n';
        out << reply("msg_b", 20, 2);
    }
    Watcher watching;
    watching.watcher.touched("long", transcript.string());
    ASSERT_TRUE(watching.waitFor("long"));
    // The first turn's count may be shown on the way; the last one holds both replies.
    for (int turn = 0; turn < 3 && watching.told["long"].inputTokens != 30; ++turn) {
        watching.told.erase("long");
        ASSERT_TRUE(watching.waitFor("long"));
    }
    EXPECT_EQ(watching.told["long"].inputTokens, 30);
    EXPECT_EQ(watching.told["long"].outputTokens, 3);
}

TEST(AgentUsageWatcher, ASessionForgottenDuringItsReadIsNotTold) {
    brindtest::TemporaryFolder folder{"vq-usage-watcher"};
    const auto transcript = folder.path() / "t.jsonl";
    std::ofstream(transcript) << reply("msg_a", 10, 1);
    Watcher watching;
    watching.watcher.touched("gone", transcript.string());
    watching.watcher.forget("gone");
    // Reads are made one after another: once the second is told, the first came back.
    watching.watcher.touched("kept", transcript.string());
    ASSERT_TRUE(watching.waitFor("kept"));
    EXPECT_FALSE(watching.told.contains("gone"));
}

} // namespace vq
