// The island under a flood: 100,000 requests from eight threads, every route mixed with malformed
// requests and randomly damaged ones. Every reply must be a complete HTTP response, the island must
// stay up, and its descriptors and memory must not grow once warmed up.

#include "bench/soak/ProcessSampler.hpp"
#include "bench/soak/SoakSupport.hpp"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <mutex>
#include <random>
#include <thread>

namespace vq::soak {

using namespace vq::e2e;
using Clock = std::chrono::steady_clock;

namespace {

// SOAK_REQUESTS=<n> runs a shorter flood.
const std::size_t requestCount =
    std::getenv("SOAK_REQUESTS") ? std::strtoul(std::getenv("SOAK_REQUESTS"), nullptr, 10) : 100000;
const std::size_t warmUpCount = requestCount / 10;
constexpr std::size_t threadCount = 8;
// Registered clients; beyond their rate limits the flood is answered 429. Many more clients would
// measure something else: each one's first request of a minute rewrites the client file.
constexpr std::size_t clientCount = 8;
// Memory the allocator may keep after warm-up without it counting as growth.
constexpr std::size_t residentSlackKiB = 1024;

// What the flood needs to know about the island.
struct Target {
    std::uint16_t port = 0;
    std::string hookToken;
    std::string shelfFile;
};

std::string post(const Target& target, const std::string& path, const std::string& token, const std::string& body,
                 const std::string& extra = {}) {
    return "POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(target.port) +
           (token.empty() ? std::string{} : "\r\nAuthorization: Bearer " + token) +
           "\r\nContent-Type: application/json\r\n" + extra + "Content-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

std::string get(const Target& target, const std::string& method, const std::string& path, const std::string& token) {
    return method + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(target.port) +
           (token.empty() ? std::string{} : "\r\nAuthorization: Bearer " + token) + "\r\n\r\n";
}

// A well-formed request of every route, by number.
std::string validRequest(const Target& target, std::size_t n) {
    const std::string token = clientToken(n % clientCount);
    const std::string id = "flood" + std::to_string(n % 16);
    switch (n % 9) {
    case 0:
        return get(target, "GET", "/v1/status", "");
    case 1:
        return post(target, "/v1/activities", token,
                    R"({"id":")" + id + R"(","title":"Flood","progress":)" + std::to_string((n % 100) / 100.0) + "}");
    case 2:
        return get(target, "DELETE", "/v1/activities/" + id, token);
    case 3:
        return post(target, "/v1/hud", token, R"({"kind":"custom","text":"Flood"})");
    case 4:
        return post(target, "/v1/shelf", token, R"({"paths":[")" + target.shelfFile + R"("]})");
    case 5:
        return post(target, "/v1/agents/event", token,
                    R"({"event":"status","session":"flood)" + std::to_string(n % 8) + R"(","message":"working"})");
    case 6:
        return post(target, "/v1/agents/hook?agent=claude-code", "",
                    R"({"session_id":"flood)" + std::to_string(n % 8) +
                        R"(","hook_event_name":"PostToolUse","tool_name":"Bash","tool_input":{"command":"ls"},"cwd":"/tmp"})",
                    "x-vantaquill-hook: " + target.hookToken + "\r\n");
    case 7:
        return post(target, "/v1/register", "", R"({"app":"flood","name":"Flood","scopes":["hud"]})");
    default:
        return get(target, "GET", "/v1/events", "");
    }
}

// Requests the server must refuse with a complete answer.
std::vector<std::string> malformedRequests(const Target& target) {
    const std::string host = "Host: 127.0.0.1:" + std::to_string(target.port) + "\r\n";
    const std::string token = clientToken(0);
    return {
        "GARBAGE\r\n\r\n",
        // A head framed with bare line feeds never ends for the server; a bare one inside a CR LF head is refused.
        "GET /v1/status HTTP/1.1\r\n" + host + "X-Split: a\nb\r\n\r\n",
        "GET  /v1/status HTTP/1.1\r\n" + host + "\r\n",
        "GET v1/status HTTP/1.1\r\n" + host + "\r\n",
        "GET /v1/status SPDY/3\r\n" + host + "\r\n",
        "GET /v1/status HTTP/1.1\r\n" + host + "X-Bell: \x07\r\n\r\n",
        "GET /v1/status HTTP/1.1\r\n" + host + "NoColon\r\n\r\n",
        "POST /v1/hud HTTP/1.1\r\n" + host + "Content-Length: 2\r\nContent-Length: 3\r\n\r\n{}",
        "POST /v1/hud HTTP/1.1\r\n" + host + "Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
        "GET /v1/status HTTP/1.1\r\n" + host + "X-Big: " + std::string(17000, 'a') + "\r\n\r\n",
        "POST /v1/hud HTTP/1.1\r\n" + host + "Content-Length: 9000000\r\n\r\n",
        post(target, "/v1/activities", token, "{not json"),
        post(target, "/v1/activities", token, R"({"id":"a b","title":"x"})"),
        "POST /v1/hud HTTP/1.1\r\n" + host + "Authorization: Bearer " + token + "\r\nContent-Type: text/plain\r\nContent-Length: 2\r\n\r\n{}",
        "GET /v1/status HTTP/1.1\r\n" + host + "Origin: http://evil.example\r\n\r\n",
        "OPTIONS /v1/hud HTTP/1.1\r\n" + host + "\r\n",
        "GET /v1/status HTTP/1.1\r\nHost: evil.example\r\n\r\n",
        get(target, "GET", "/v1/nowhere", token),
        post(target, "/v1/hud", "vq_wrong", R"({"kind":"custom","text":"x"})"),
        post(target, "/v1/agents/hook?agent=nobody", "", "{}", "x-vantaquill-hook: " + target.hookToken + "\r\n"),
    };
}

// A valid request with a few bytes changed: never a line end, never the Content-Length line, so that
// the request still ends where it did and the server is never left waiting.
std::string damaged(std::string request, std::mt19937& random) {
    const auto lengthField = request.find("Content-Length:");
    const auto lengthEnd = lengthField == std::string::npos ? lengthField : request.find("\r\n", lengthField);
    std::uniform_int_distribution<std::size_t> position(0, request.size() - 1);
    std::uniform_int_distribution<int> byte(0, 255);
    const int changes = 1 + static_cast<int>(random() % 4);
    for (int i = 0; i < changes; ++i) {
        const auto at = position(random);
        if (request[at] == '\r' || request[at] == '\n' || (lengthField != std::string::npos && at >= lengthField && at < lengthEnd))
            continue;
        char replacement;
        do
            replacement = static_cast<char>(byte(random));
        while (replacement == '\r' || replacement == '\n');
        request[at] = replacement;
    }
    return request;
}

// A complete response: a status line, a head, a Content-Length and exactly that much body.
bool isCompleteResponse(const std::string& reply) {
    const auto headEnd = reply.find("\r\n\r\n");
    if (!reply.starts_with("HTTP/1.1 ") || headEnd == std::string::npos)
        return false;
    const auto field = reply.find("\r\nContent-Length: ");
    if (field == std::string::npos || field > headEnd)
        return false;
    return reply.size() == headEnd + 4 + std::strtoull(reply.c_str() + field + 18, nullptr, 10);
}

} // namespace

bool floodSoak() {
    TemporaryHome home;
    std::filesystem::create_directories(home.path() / ".config/vantaquill");
    registerClients(dataFolder(home), clientCount);
    IslandProcess island(home);
    if (island.port() == 0)
        return check(false, "the island starts:\n" + island.errors());
    const int pid = island.processID();

    Target target;
    target.port = island.port();
    std::ifstream(dataFolder(home) / "hook-token") >> target.hookToken;
    target.shelfFile = (home.path() / "flood.txt").string();
    std::ofstream(target.shelfFile) << "flood";
    const auto malformed = malformedRequests(target);

    std::atomic<std::size_t> next{0};
    std::atomic<std::size_t> incomplete{0};
    std::mutex lock;
    std::map<int, std::size_t> statuses;
    std::vector<std::string> incompleteSamples;
    ProcessSample warm;
    std::atomic<bool> warmTaken{false};
    ProcessSampler sampler(pid, std::chrono::milliseconds(100));
    const auto started = Clock::now();
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < threadCount; ++t) {
        threads.emplace_back([&] {
            std::map<int, std::size_t> seen;
            for (std::size_t n; (n = next.fetch_add(1)) < requestCount;) {
                if (n == warmUpCount && !warmTaken.exchange(true)) {
                    std::lock_guard guard(lock);
                    warm = ProcessSampler::sample(pid);
                }
                std::mt19937 random(static_cast<std::uint32_t>(n));
                // Of every 32 requests: 9 well-formed, 17 malformed, 6 damaged.
                const std::size_t slot = n % 32;
                const std::string request = slot < 9    ? validRequest(target, n / 32 * 9 + slot)
                                            : slot < 26 ? malformed[(n / 32 * 17 + slot - 9) % malformed.size()]
                                                        : damaged(validRequest(target, n), random);
                const auto reply = rawExchange(target.port, request, std::chrono::seconds(15));
                ++seen[statusOf(reply)];
                if (!isCompleteResponse(reply)) {
                    ++incomplete;
                    std::lock_guard guard(lock);
                    if (incompleteSamples.size() < 5)
                        incompleteSamples.push_back(request.substr(0, 120) + "  ->  " + reply.substr(0, 120));
                }
            }
            std::lock_guard guard(lock);
            for (const auto& [status, count] : seen)
                statuses[status] += count;
        });
    }
    for (auto& thread : threads)
        thread.join();
    const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
    const auto peak = sampler.stop();
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const auto end = ProcessSampler::sample(pid);
    const bool alive = ::kill(pid, 0) == 0 && statusOf(rawExchange(target.port, get(target, "GET", "/v1/status", ""))) == 200;

    std::printf("== flood: %zu requests from %zu threads in %.1f s (%.0f a second); every 32: 9 well-formed "
                "(each route), 17 malformed, 6 damaged\n",
                requestCount, threadCount, seconds, static_cast<double>(requestCount) / seconds);
    std::printf("answers by status:");
    for (const auto& [status, count] : statuses)
        std::printf(" %d×%zu", status, count);
    std::printf("\nisland after %zu requests (warm): %zu descriptors, %zu KiB RSS; at most %zu descriptors, %zu KiB; "
                "at the end %zu descriptors, %zu KiB\n",
                warmUpCount, warm.descriptors, warm.residentKiB, peak.descriptors, peak.residentKiB, end.descriptors,
                end.residentKiB);
    for (const auto& sample : incompleteSamples)
        std::printf("incomplete: %s\n", sample.c_str());

    bool holds = true;
    holds &= check(alive, "the island is still up and answering");
    holds &= check(incomplete.load() == 0,
                   "every reply a complete HTTP response (" + std::to_string(incomplete.load()) + " were not)");
    holds &= check(end.descriptors <= warm.descriptors, "no descriptor growth after warm-up");
    holds &= check(end.residentKiB <= warm.residentKiB + residentSlackKiB, "no RSS growth after warm-up (1 MiB slack)");
    return holds;
}

} // namespace vq::soak
