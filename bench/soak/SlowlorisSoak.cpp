// The island under a slowloris of 1,000 sockets while eight well-behaved clients keep posting
// activities: the connection cap, the read time-out and the good clients' latency.

#include "bench/soak/ProcessSampler.hpp"
#include "bench/soak/SlowSockets.hpp"
#include "bench/soak/SoakSupport.hpp"

#include <algorithm>
#include <cstdio>
#include <thread>

namespace vq::soak {

using namespace vq::e2e;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::size_t slowSocketCount = 1000;
constexpr std::size_t goodClientCount = 8;
constexpr auto attackLength = std::chrono::seconds(30);
constexpr auto calmLength = std::chrono::seconds(3);
// Ten posts a second each, half the rate limit of a client.
constexpr auto goodInterval = std::chrono::milliseconds(100);
// A good request that was refused is tried again shortly after, for at most this long.
constexpr auto giveUpAfter = std::chrono::seconds(2);
constexpr auto retryPause = std::chrono::milliseconds(5);
constexpr double readTimeoutSeconds = 10;
constexpr std::size_t connectionCap = 64;
constexpr double goodP99LimitMilliseconds = 50;

struct GoodFigures {
    std::vector<double> milliseconds; ///< per request, from the first attempt to its answer
    std::size_t requests = 0;
    std::size_t attempts = 0;
    std::size_t refusedAttempts = 0; ///< connections closed without an answer
    std::size_t rateLimited = 0;
    std::size_t cutShort = 0;        ///< some bytes of an answer, but not a whole one
    std::size_t failed = 0;          ///< requests never answered 200 within `giveUpAfter`

    void add(const GoodFigures& other) {
        milliseconds.insert(milliseconds.end(), other.milliseconds.begin(), other.milliseconds.end());
        requests += other.requests;
        attempts += other.attempts;
        refusedAttempts += other.refusedAttempts;
        rateLimited += other.rateLimited;
        cutShort += other.cutShort;
        failed += other.failed;
    }

    double percentile(double fraction) const {
        if (milliseconds.empty())
            return 0;
        auto sorted = milliseconds;
        std::ranges::sort(sorted);
        return sorted[std::min(sorted.size() - 1, static_cast<std::size_t>(fraction * static_cast<double>(sorted.size())))];
    }
};

GoodFigures postFor(std::uint16_t port, std::size_t index, Clock::duration length) {
    GoodFigures figures;
    const std::string token = clientToken(index);
    const auto end = Clock::now() + length;
    // A request that took long is not made up for with a burst: the next one is due a pause later.
    for (auto next = Clock::now(); next < end; next = std::max(next + goodInterval, Clock::now())) {
        std::this_thread::sleep_until(next);
        const std::string body = R"({"id":"good)" + std::to_string(index) + R"(","title":"Good","progress":)" +
                                 std::to_string(static_cast<double>(figures.requests % 100) / 100) + "}";
        const std::string request = "POST /v1/activities HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                                    "\r\nAuthorization: Bearer " + token +
                                    "\r\nContent-Type: application/json\r\nContent-Length: " +
                                    std::to_string(body.size()) + "\r\n\r\n" + body;
        ++figures.requests;
        const auto started = Clock::now();
        bool answered = false;
        while (Clock::now() - started < giveUpAfter) {
            ++figures.attempts;
            const auto reply = rawExchange(port, request, std::chrono::duration_cast<std::chrono::milliseconds>(giveUpAfter));
            const int status = statusOf(reply);
            if (status == 200) {
                figures.milliseconds.push_back(std::chrono::duration<double, std::milli>(Clock::now() - started).count());
                answered = true;
                break;
            }
            if (status == 429)
                ++figures.rateLimited;
            else if (reply.empty())
                ++figures.refusedAttempts;
            else
                ++figures.cutShort;
            std::this_thread::sleep_for(retryPause);
        }
        if (!answered)
            ++figures.failed;
    }
    return figures;
}

GoodFigures goodClients(std::uint16_t port, Clock::duration length) {
    std::vector<GoodFigures> each(goodClientCount);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < goodClientCount; ++i)
        threads.emplace_back([&, i] { each[i] = postFor(port, i, length); });
    for (auto& thread : threads)
        thread.join();
    GoodFigures all;
    for (const auto& figures : each)
        all.add(figures);
    return all;
}

void printGood(const char* phase, const GoodFigures& figures) {
    std::printf("good clients, %s: %zu requests, %zu attempts, %zu attempts closed unanswered, %zu rate-limited, "
                "%zu cut short, %zu never answered; p50 %.2f ms, p99 %.2f ms, max %.2f ms\n",
                phase, figures.requests, figures.attempts, figures.refusedAttempts, figures.rateLimited, figures.cutShort,
                figures.failed,
                figures.percentile(0.5), figures.percentile(0.99), figures.percentile(1.0));
}

} // namespace

bool slowlorisSoak() {
    TemporaryHome home;
    std::filesystem::create_directories(home.path() / ".config/vantaquill");
    registerClients(dataFolder(home), goodClientCount);
    IslandProcess island(home);
    if (island.port() == 0)
        return check(false, "the island starts:\n" + island.errors());
    const int pid = island.processID();

    const auto calm = goodClients(island.port(), calmLength);
    std::this_thread::sleep_for(std::chrono::milliseconds(200)); // the last answers' connections close
    const auto before = ProcessSampler::sample(pid);

    ProcessSampler sampler(pid, std::chrono::milliseconds(50));
    SlowSockets slow(island.port(), slowSocketCount);
    const auto attacked = goodClients(island.port(), attackLength);
    const auto slowFigures = slow.stop();
    const auto peak = sampler.stop();

    // Once the attack stops, the island serves as before.
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const auto after = goodClients(island.port(), calmLength);
    // As before the attack: a connection answered at once is closed once its client's close is seen,
    // at the next connection or 50 ms on.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto end = ProcessSampler::sample(pid);

    std::printf("== slowloris: %zu sockets for %lld s, one header byte a second, reopened a second after closing\n",
                slowSocketCount, static_cast<long long>(attackLength.count()));
    std::printf("slow connections: %zu opened, %zu closed at once (over the cap), %zu dropped after being held, "
                "%zu answered, %zu open at the end, %zu could not connect; longest held %.2f s\n",
                slowFigures.connections, slowFigures.refusedAtOnce, slowFigures.droppedLater, slowFigures.answered,
                slowFigures.stillOpen, slowFigures.openFailures, slowFigures.longestHeldSeconds);
    std::printf("island: sockets %zu before, %zu at most, %zu after; descriptors %zu before, %zu at most, %zu after; "
                "RSS %zu KiB before, %zu KiB at most, %zu KiB after\n",
                before.sockets, peak.sockets, end.sockets, before.descriptors, peak.descriptors, end.descriptors,
                before.residentKiB, peak.residentKiB, end.residentKiB);
    printGood("calm", calm);
    printGood("under attack", attacked);
    printGood("after", after);

    bool holds = true;
    // The connection over the cap is accepted before it is closed: for that moment it is counted too.
    holds &= check(peak.sockets <= before.sockets + connectionCap + 1,
                   "connection cap: at most " + std::to_string(connectionCap) +
                       " connections held beside the listener (and the one being turned away)");
    holds &= check(slowFigures.longestHeldSeconds <= readTimeoutSeconds + 1,
                   "read time-out: every slow connection closed within 10 s (+1 s for the client to notice)");
    holds &= check(slowFigures.answered == 0, "slow connections are dropped without an answer");
    holds &= check(attacked.failed == 0 && attacked.percentile(0.99) < goodP99LimitMilliseconds,
                   "good clients under attack: every request answered, p99 under 50 ms");
    holds &= check(after.failed == 0 && after.percentile(0.99) < goodP99LimitMilliseconds,
                   "good clients after the attack: every request answered, p99 under 50 ms");
    holds &= check(end.descriptors <= before.descriptors + 2, "no descriptors left behind");
    return holds;
}

} // namespace vq::soak
