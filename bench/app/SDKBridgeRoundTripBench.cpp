// POST /v1/activities through the real server and bridge, a fresh loopback connection per request,
// as a script calling the API does. Reports the median and 99th percentile round trip.
// Beside it, the work the server's thread does between reading a request and sending its reply
// (parse, guard, token, rate, body, reply text), without sockets: GET /v1/status, and POST
// /v1/activities with 64 and 2,048 registered clients, each request from the next client.
#include "BrindKit/sdk/SDKBridge.hpp"
#include "BrindKit/sdk/SDKHTTPParser.hpp"
#include "BrindKit/sdk/SDKHTTPServer.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>

using namespace brind;

namespace {

class DiscardingDelegate final : public SDKBridgeDelegate {
public:
    void showActivity(LiveActivity) override {}
    void endActivity(std::string) override {}
    void endActivities(std::string) override {}
    void showHUD(HUDEvent) override {}
    void stepHUD(HUDKey, HUDSteps::Grid,
                 std::function<void(std::expected<HUDEvent, HUDStepFailure>)> done) override {
        done(std::unexpected(HUDStepFailure{}));
    }
    void addToShelf(std::vector<std::string>, std::function<void(std::size_t)> done) override { done(0); }
    void askConsent(std::string, std::string, std::vector<SDKScope>, std::function<void(bool)> answer) override {
        answer(false);
    }
    void agentEvent(AgentHookEvent) override {}
};

// Sends one request and reads the reply up to its Content-Length, without waiting for the close.
bool roundTrip(std::uint16_t port, const std::string& request) {
    asio::io_context context;
    asio::ip::tcp::socket socket(context);
    asio::error_code error;
    socket.connect({asio::ip::make_address_v4("127.0.0.1"), port}, error);
    if (error)
        return false;
    socket.set_option(asio::ip::tcp::no_delay(true), error);
    asio::write(socket, asio::buffer(request), error);
    std::string reply;
    char buffer[4096];
    for (;;) {
        const std::size_t count = socket.read_some(asio::buffer(buffer), error);
        reply.append(buffer, count);
        const auto headEnd = reply.find("\r\n\r\n");
        const auto length = reply.find("Content-Length: ");
        if (headEnd != std::string::npos && length != std::string::npos &&
            reply.size() >= headEnd + 4 + std::stoul(reply.substr(length + 16)))
            return reply.starts_with("HTTP/1.1 200");
        if (error)
            return false;
    }
}

void postActivityRoundTrip(benchmark::State& state) {
    SDKAuthorizer auth;
    AgentApprovalBroker broker;
    SDKBridge bridge(auth, broker, "hook");
    auto delegate = std::make_shared<DiscardingDelegate>();
    bridge.setDelegate(delegate);
    const std::string token = auth.issue("bench", "Bench", {SDKScope::activities}, Date::now());
    SDKHTTPServer server(
        [&bridge](SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection) {
            return bridge.handle(std::move(request), std::move(connection));
        },
        [&bridge](const SDKHTTPRequest& request) { return bridge.answerNow(request); });
    if (!server.start(0)) {
        state.SkipWithError("the server did not start");
        return;
    }
    bridge.setPort(server.port());
    const std::string body = R"({"id":"build","title":"Building","subtitle":"lighthouse","symbol":"hammer","progress":0.4})";
    const std::string request = "POST /v1/activities HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.port()) +
                                "\r\nAuthorization: Bearer " + token +
                                "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
                                "\r\n\r\n" + body;
    std::vector<double> microseconds;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        if (!roundTrip(server.port(), request)) {
            state.SkipWithError("a request failed");
            break;
        }
        microseconds.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
    }
    server.stop();
    if (microseconds.empty())
        return;
    std::sort(microseconds.begin(), microseconds.end());
    state.counters["p50_us"] = microseconds[microseconds.size() / 2];
    state.counters["p99_us"] = microseconds[microseconds.size() * 99 / 100];
}

// Parse, answer and serialise, as the server's thread does for a request that arrived in one piece.
void answerWithoutSockets(benchmark::State& state) {
    const auto clients = static_cast<int>(state.range(0));
    const bool posting = clients > 0;
    std::vector<SDKClient> registered;
    std::vector<std::string> requests;
    const std::string body = R"({"id":"bench","title":"Uploading report.pdf","subtitle":"42 of 80 MB","progress":0.52})";
    for (int n = 0; n < std::max(clients, 1); ++n) {
        const std::string token = "vq_bench_client_" + std::to_string(n);
        registered.push_back(SDKClient{"bench-" + std::to_string(n), "Bench", {SDKScope::activities},
                                       SDKAuthorizer::hash(token), Date{1}, Date{1}});
        requests.push_back(posting ? "POST /v1/activities HTTP/1.1\r\nConnection: close\r\nHost: 127.0.0.1:47829\r\n"
                                     "Content-Type: application/json\r\nAuthorization: Bearer " +
                                         token + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body
                                   : "GET /v1/status HTTP/1.1\r\nHost: 127.0.0.1:47829\r\nConnection: close\r\n\r\n");
    }
    SDKAuthorizer auth(registered);
    AgentApprovalBroker broker;
    SDKBridge bridge(auth, broker, "hook", 47829);
    auto delegate = std::make_shared<DiscardingDelegate>();
    bridge.setDelegate(delegate);
    // Each client's turn comes a twentieth of a second after its last: its allowance is back, and
    // no client is seen a minute after it was last reported.
    double now = 1;
    const double step = 0.05 / std::max(clients, 1);
    bridge.setClock([&now] { return Date{now}; });
    std::size_t next = 0;
    for (auto _ : state) {
        now += step;
        SDKHTTPParser parser;
        auto request = parser.feed(requests[next]);
        next = (next + 1) % requests.size();
        auto answer = bridge.answerNow(**request);
        const auto* response = std::get_if<SDKRouteResult::Response>(&answer->kind);
        if (!response || response->response.status != 200) {
            state.SkipWithError("a request was refused");
            break;
        }
        benchmark::DoNotOptimize(response->response.serialized());
    }
}

} // namespace

BENCHMARK(answerWithoutSockets)->ArgName("clients")->Arg(0)->Arg(64)->Arg(2048);

// A client may send 40 requests at once (then 20 a second): each repetition builds a fresh bridge
// and sends 35, so the rate limit never answers instead of the route.
BENCHMARK(postActivityRoundTrip)->Iterations(35)->Repetitions(20)->UseRealTime();

BENCHMARK_MAIN();
