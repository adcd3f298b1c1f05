#include "BrindKit/sdk/SDKHTTPServer.hpp"

#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

using brind::SDKConnection;
using brind::SDKHTTPRequest;
using brind::SDKHTTPResponse;
using brind::SDKHTTPServer;
using brind::SDKRouteResult;
using Clock = std::chrono::steady_clock;

namespace {

asio::awaitable<SDKRouteResult> trivial(SDKHTTPRequest, std::shared_ptr<SDKConnection>) {
    co_return SDKRouteResult::response(SDKHTTPResponse::json(200, brind::JSON{{"ok", true}}));
}

const std::string request = "GET /v1/status HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";

// One request on a fresh loopback connection; true when the whole response came back. The client
// closes as soon as it has the response, as a well-behaved HTTP client does.
bool roundTrip(std::uint16_t port, std::size_t expectedBytes) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0)
        return false;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bool complete = false;
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        ::send(fd, request.data(), request.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(request.size())) {
        std::size_t received = 0;
        char buffer[1024];
        while (received < expectedBytes) {
            pollfd waiting{.fd = fd, .events = POLLIN, .revents = 0};
            if (::poll(&waiting, 1, 5000) <= 0)
                break;
            const ssize_t count = ::recv(fd, buffer, sizeof buffer, 0);
            if (count <= 0)
                break;
            received += static_cast<std::size_t>(count);
        }
        complete = received == expectedBytes;
    }
    ::close(fd);
    return complete;
}

std::size_t openDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

double residentMiB() {
    std::ifstream statm("/proc/self/statm");
    double size = 0;
    double resident = 0;
    statm >> size >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

const std::size_t responseBytes = SDKHTTPResponse::json(200, brind::JSON{{"ok", true}}).serialized().size();

void SequentialRoundTrips(benchmark::State& state) {
    SDKHTTPServer server(trivial);
    if (!server.start(0)) {
        state.SkipWithError("could not start");
        return;
    }
    std::vector<double> micros;
    std::size_t failures = 0;
    for (auto _ : state) {
        const auto begin = Clock::now();
        if (!roundTrip(server.port(), responseBytes))
            ++failures;
        const std::chrono::duration<double> elapsed = Clock::now() - begin;
        state.SetIterationTime(elapsed.count());
        micros.push_back(elapsed.count() * 1e6);
    }
    std::ranges::sort(micros);
    const auto percentile = [&](double p) { return micros[static_cast<std::size_t>(p * static_cast<double>(micros.size() - 1))]; };
    state.counters["p50_us"] = percentile(0.50);
    state.counters["p99_us"] = percentile(0.99);
    state.counters["failures"] = static_cast<double>(failures);
}
BENCHMARK(SequentialRoundTrips)->UseManualTime()->Iterations(5000)->Unit(benchmark::kMicrosecond);

// 32 clients, each doing round trips back to back on fresh connections, for `duration`.
void load(std::uint16_t port, std::chrono::milliseconds duration, std::atomic<std::size_t>& done,
          std::atomic<std::size_t>& failed) {
    constexpr int clients = 32;
    const auto end = Clock::now() + duration;
    std::vector<std::thread> threads;
    for (int i = 0; i < clients; ++i) {
        threads.emplace_back([&] {
            while (Clock::now() < end) {
                if (roundTrip(port, responseBytes))
                    ++done;
                else
                    ++failed;
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
}

void ConcurrentClients(benchmark::State& state) {
    constexpr auto duration = std::chrono::seconds(5);
    SDKHTTPServer server(trivial);
    if (!server.start(0)) {
        state.SkipWithError("could not start");
        return;
    }
    // A first second of the same load warms the allocator's per-thread arenas and the accept path,
    // so that the baseline below is the steady state.
    std::atomic<std::size_t> warmDone = 0;
    std::atomic<std::size_t> warmFailed = 0;
    load(server.port(), std::chrono::seconds(1), warmDone, warmFailed);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const std::size_t descriptorsBefore = openDescriptors();
    const double residentBefore = residentMiB();

    std::atomic<std::size_t> done = 0;
    std::atomic<std::size_t> failed = 0;
    for (auto _ : state)
        load(server.port(), duration, done, failed);
    // Let the server finish closing what the clients left.
    for (int i = 0; i < 100 && server.connectionCount() > 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));

    const double seconds = std::chrono::duration<double>(duration).count();
    state.counters["requests_per_s"] = static_cast<double>(done.load()) / seconds;
    state.counters["failed"] = static_cast<double>(failed.load() + warmFailed.load());
    state.counters["open_connections_after"] = static_cast<double>(server.connectionCount());
    state.counters["fds_before"] = static_cast<double>(descriptorsBefore);
    state.counters["fds_after"] = static_cast<double>(openDescriptors());
    state.counters["rss_mib_before"] = residentBefore;
    state.counters["rss_mib_after"] = residentMiB();
}
BENCHMARK(ConcurrentClients)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace

BENCHMARK_MAIN();
