#include "BrindKit/sdk/SDKHTTPServer.hpp"
#include "BrindKit/sdk/SDKSSE.hpp"

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <netinet/in.h>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace brind;
using namespace std::chrono_literals;

namespace {

// A blocking loopback TCP client; a read that gets nothing for five seconds gives up.
struct Client {
    explicit Client(std::uint16_t port) : fd(::socket(AF_INET, SOCK_STREAM, 0)) {
        const timeval limit{.tv_sec = 5, .tv_usec = 0};
        ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connected = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~Client() { ::close(fd); }
    Client(const Client&) = delete;

    bool send(std::string_view bytes) {
        return ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }

    struct Read {
        std::string bytes;
        bool closedByPeer = false; ///< false when the wait ran out first
        friend bool operator==(const Read&, const Read&) = default;
        friend std::ostream& operator<<(std::ostream& out, const Read& read) {
            return out << (read.closedByPeer ? "closed after " : "open after ")
                       << ::testing::PrintToString(read.bytes);
        }
    };
    /// Reads until the server closes, or `enough` bytes have arrived.
    Read read(std::size_t enough = SIZE_MAX) {
        Read result;
        char chunk[65536];
        while (result.bytes.size() < enough) {
            const ssize_t count = ::recv(fd, chunk, sizeof chunk, 0);
            if (count <= 0) {
                result.closedByPeer = count == 0 || errno != EAGAIN;
                break;
            }
            result.bytes.append(chunk, static_cast<std::size_t>(count));
        }
        return result;
    }

    int fd;
    bool connected = false;
};

Client::Read closedAfter(std::string bytes) {
    return {std::move(bytes), true};
}

// Sends `request` on a new connection and reads until the server closes it.
Client::Read exchange(std::uint16_t port, std::string_view request) {
    Client client(port);
    EXPECT_TRUE(client.send(request));
    return client.read();
}

std::string echoed(const std::string& method, const std::string& path) {
    return SDKHTTPResponse::json(200, JSON{{"method", method}, {"path", path}}).serialized();
}

// The tests' handler: answers {"method": ..., "path": ...}, after `slowFor` on "/slow"; takes
// "/v1/events" over as an event stream; throws on "/throw-now" and "/throw-later". The connection of
// the stream or of the slow request is handed to the test.
struct Router {
    SDKHTTPServer::Handler handler() {
        return [this](SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection) {
            ++calls;
            if (request.path == "/throw-now")
                throw std::runtime_error("before the coroutine");
            return route(std::move(request), std::move(connection));
        };
    }

    asio::awaitable<SDKRouteResult> route(SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection) {
        if (request.path == "/throw-later")
            throw std::runtime_error("inside the coroutine");
        if (request.path == "/v1/events") {
            connection->send(SDKHTTPResponse::sseHead());
            connection->send(SDKSSE::event("hello", "line one\nline two"));
            handedOver.set_value(connection);
            co_return SDKRouteResult::stream();
        }
        if (request.path == "/slow") {
            handedOver.set_value(connection);
            asio::steady_timer wait(co_await asio::this_coro::executor, slowFor);
            co_await wait.async_wait(asio::use_awaitable);
        }
        co_return SDKRouteResult::response(
            SDKHTTPResponse::json(200, JSON{{"method", request.method}, {"path", request.path}}));
    }

    std::shared_ptr<SDKConnection> connection() {
        auto future = handedOver.get_future();
        return future.wait_for(5s) == std::future_status::ready ? future.get() : nullptr;
    }

    std::chrono::milliseconds slowFor = 600ms;
    std::atomic<int> calls = 0;
    std::promise<std::shared_ptr<SDKConnection>> handedOver;
};

std::unique_ptr<SDKHTTPServer> started(Router& router) {
    auto server = std::make_unique<SDKHTTPServer>(router.handler());
    EXPECT_TRUE(server->start(0).has_value());
    return server;
}

// Polls `condition` for up to five seconds.
template <typename Condition>
bool eventually(Condition condition) {
    for (int i = 0; i < 1000 && !condition(); ++i)
        std::this_thread::sleep_for(5ms);
    return condition();
}

// Whether /proc/net/tcp holds a connection in TIME_WAIT (state 06) whose local port is `port`.
bool timeWaitOnPort(std::uint16_t port) {
    std::ifstream table("/proc/net/tcp");
    std::string line;
    std::getline(table, line);
    char wanted[8];
    std::snprintf(wanted, sizeof wanted, ":%04X", port);
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        std::string slot, local, remote, state;
        fields >> slot >> local >> remote >> state;
        if (state == "06" && local.ends_with(wanted))
            return true;
    }
    return false;
}

} // namespace

TEST(SDKHTTPServer, AnswersOneRequestWithExactBytesThenCloses) {
    Router router;
    const auto server = started(router);
    for (const bool finishSending : {false, true}) {
        SCOPED_TRACE(finishSending);
        Client client(server->port());
        // The request arrives in pieces; the server waits for all of it.
        for (const std::string_view piece :
             {"post /v1/act", "ivities HTTP/1.1\r\nContent-Length: 2\r\n\r\n{", "}"}) {
            ASSERT_TRUE(client.send(piece));
            std::this_thread::sleep_for(20ms);
        }
        // A peer that has finished sending is closed at once after the response, which it still gets.
        if (finishSending)
            ::shutdown(client.fd, SHUT_WR);
        EXPECT_EQ(client.read(), closedAfter(echoed("POST", "/v1/activities")));
    }
    EXPECT_TRUE(eventually([&] { return server->connectionCount() == 0; }));
}

TEST(SDKHTTPServer, AnswersBadRequestsAndFailingHandlersWithFixedErrorsAndKeepsServing) {
    Router router;
    const auto server = started(router);
    // Every request that does not parse gets the same body; only the status tells why.
    const auto malformed = [](int status) {
        return SDKHTTPResponse::error(status, "bad_request", "Malformed request.");
    };
    const auto failed = SDKHTTPResponse::error(500, "internal_error", "The request couldn't be handled.");
    const std::tuple<std::string, std::string, SDKHTTPResponse> cases[] = {
        {"GET v1/status HTTP/1.1\r\n\r\n", "400 Bad Request", malformed(400)},
        {"POST / HTTP/1.1\r\nContent-Length: 8388609\r\n\r\n", "413 Payload Too Large", malformed(413)},
        {"GET / HTTP/1.1\r\nX: " + std::string(16400, 'a'), "413 Payload Too Large", malformed(413)},
        {"POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", "411 Status", malformed(411)},
        {"GET /throw-now HTTP/1.1\r\n\r\n", "500 Internal Server Error", failed},
        {"GET /throw-later HTTP/1.1\r\n\r\n", "500 Internal Server Error", failed},
    };
    for (const auto& [request, statusLine, response] : cases) {
        const auto read = exchange(server->port(), request);
        EXPECT_TRUE(read.bytes.starts_with("HTTP/1.1 " + statusLine + "\r\n")) << statusLine;
        EXPECT_EQ(read, closedAfter(response.serialized()));
    }
    // Requests that did not parse never reached the handler.
    EXPECT_EQ(router.calls.load(), 2);
    EXPECT_EQ(exchange(server->port(), "GET /fine HTTP/1.1\r\n\r\n"), closedAfter(echoed("GET", "/fine")));
}

TEST(SDKHTTPServer, StreamsEventsInOrderFromAnyThreadUntilTheClientLeaves) {
    Router router;
    const auto server = started(router);
    std::promise<void> closed;
    {
        Client client(server->port());
        ASSERT_TRUE(client.send("GET /v1/events HTTP/1.1\r\n\r\n"));
        const auto connection = router.connection();
        ASSERT_TRUE(connection);
        connection->onClose([&] { closed.set_value(); });
        std::thread([connection] {
            for (int i = 0; i < 50; ++i)
                connection->send(SDKSSE::comment(std::to_string(i)));
        }).join();

        std::string expected =
            SDKHTTPResponse::sseHead() + "event: hello\ndata: line one\ndata: line two\n\n";
        for (int i = 0; i < 50; ++i)
            expected += SDKSSE::comment(std::to_string(i));
        EXPECT_EQ(client.read(expected.size()), (Client::Read{expected, false}));
        EXPECT_FALSE(connection->isClosed());
    }
    // The client has gone: the stream's close handlers run.
    EXPECT_EQ(closed.get_future().wait_for(5s), std::future_status::ready);
    EXPECT_TRUE(eventually([&] { return server->connectionCount() == 0; }));
}

TEST(SDKHTTPServer, ClosesTheConnectionOverTheLimitWhileTheOthersStayOpen) {
    Router router;
    const auto server = started(router);
    server->setMaxConnections(3);
    std::vector<std::unique_ptr<Client>> clients;
    for (int i = 0; i < 3; ++i)
        clients.push_back(std::make_unique<Client>(server->port()));
    ASSERT_TRUE(eventually([&] { return server->connectionCount() == 3; }));

    EXPECT_EQ(Client(server->port()).read(), closedAfter(""));
    EXPECT_EQ(server->connectionCount(), 3u);
    for (const auto& client : clients) {
        ASSERT_TRUE(client->send("GET /still-open HTTP/1.1\r\n\r\n"));
        EXPECT_EQ(client->read(), closedAfter(echoed("GET", "/still-open")));
    }
}

// One server's life: a second server cannot take its port; stopping closes every connection, and
// the server's executor still runs posted work; it starts again on the same port.
TEST(SDKHTTPServer, ReportsAPortInUseStopsClosingEverythingAndStartsAgain) {
    Router router;
    const auto server = started(router);
    const std::uint16_t port = server->port();
    SDKHTTPServer second(router.handler());
    const auto refused = second.start(port);
    ASSERT_FALSE(refused.has_value());
    EXPECT_EQ(refused.error().message(),
              std::to_string(port) + " is in use by another app. Quit it, then turn the bridge off and on.");
    EXPECT_FALSE(second.isRunning());
    EXPECT_EQ(second.port(), 0);

    Client streaming(port);
    ASSERT_TRUE(streaming.send("GET /v1/events HTTP/1.1\r\n\r\n"));
    const auto connection = router.connection();
    ASSERT_TRUE(connection);
    Client idle(port);
    ASSERT_TRUE(eventually([&] { return server->connectionCount() == 2; }));
    EXPECT_TRUE(server->isRunning());

    server->stop();
    EXPECT_TRUE(connection->isClosed());
    EXPECT_EQ(server->connectionCount(), 0u);
    EXPECT_FALSE(server->isRunning());
    EXPECT_EQ(server->port(), 0);
    EXPECT_TRUE(idle.read().closedByPeer);
    EXPECT_FALSE(Client(port).connected);
    std::promise<bool> ran;
    asio::post(server->executor(), [&] { ran.set_value(server->executor().running_in_this_thread()); });
    auto future = ran.get_future();
    ASSERT_EQ(future.wait_for(5s), std::future_status::ready);
    EXPECT_TRUE(future.get());

    ASSERT_TRUE(server->start(port).has_value());
    EXPECT_EQ(server->port(), port);
    EXPECT_EQ(exchange(port, "GET /again HTTP/1.1\r\n\r\n"), closedAfter(echoed("GET", "/again")));
}

TEST(SDKHTTPServer, ShutsDownWhileAHandlerIsStillWaiting) {
    Router router;
    router.slowFor = 60s;
    auto server = started(router);
    Client client(server->port());
    ASSERT_TRUE(client.send("POST /slow HTTP/1.1\r\n\r\n"));
    const auto held = router.connection();
    ASSERT_TRUE(held);

    // Destroyed with the handler suspended: the client is closed, not answered, and nothing hangs.
    server.reset();
    EXPECT_EQ(client.read(), closedAfter(""));
    EXPECT_TRUE(held->isClosed());
}

TEST(SDKHTTPServer, AnswersAtOnceWhatItCanAndHandsTheRestToTheHandler) {
    Router router;
    SDKHTTPServer server(router.handler(),
                         [](const SDKHTTPRequest& request) -> std::optional<SDKRouteResult> {
                             if (request.path == "/throws")
                                 throw std::runtime_error("no answer");
                             if (request.path != "/now")
                                 return std::nullopt;
                             return SDKRouteResult::response(
                                 SDKHTTPResponse::json(200, JSON{{"method", "now"}, {"path", "/now"}}));
                         });
    ASSERT_TRUE(server.start(0).has_value());
    EXPECT_EQ(exchange(server.port(), "GET /now HTTP/1.1\r\n\r\n"), closedAfter(echoed("now", "/now")));
    EXPECT_EQ(router.calls.load(), 0);
    EXPECT_EQ(exchange(server.port(), "GET /later HTTP/1.1\r\n\r\n"), closedAfter(echoed("GET", "/later")));
    EXPECT_EQ(
        exchange(server.port(), "GET /throws HTTP/1.1\r\n\r\n"),
        closedAfter(
            SDKHTTPResponse::error(500, "internal_error", "The request couldn't be handled.").serialized()));
    EXPECT_EQ(router.calls.load(), 1);

    // A client that sends more after a request answered at once, and reads only after the server
    // has stopped waiting for its close, still gets the whole response and then the end.
    Client late(server.port());
    ASSERT_TRUE(late.send("GET /now HTTP/1.1\r\n\r\n"));
    std::this_thread::sleep_for(20ms);
    ASSERT_TRUE(late.send("and more"));
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(late.read(), closedAfter(echoed("now", "/now")));
    EXPECT_EQ(server.connectionCount(), 0u);
}

// Idle clients and unfinished requests are dropped when their time is up, requests in flight are
// not. Every deadline is kept by one timer: a connection whose deadline comes before the one the
// timer waits for must still be closed on time, and one answered meanwhile must not be.
TEST(SDKHTTPServer, DropsIdleClientsOnTheirOwnDeadlinesButNotRequestsInFlight) {
    Router router;
    const auto server = started(router);
    server->setReadTimeout(5);
    Client patient(server->port());
    Client answered(server->port());
    // Both taken in (their time set) before the limit changes.
    ASSERT_TRUE(eventually([&] { return server->connectionCount() == 2; }));
    server->setReadTimeout(0.3);
    const auto start = std::chrono::steady_clock::now();
    Client idle(server->port());
    Client partial(server->port());
    ASSERT_TRUE(partial.send("GET /never-finished HTTP/1.1\r\n"));
    Client held(server->port());
    ASSERT_TRUE(held.send("GET /slow HTTP/1.1\r\n\r\n"));
    ASSERT_TRUE(answered.send("GET /in-time HTTP/1.1\r\n\r\n"));

    EXPECT_EQ(idle.read(), closedAfter(""));
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, 300ms);
    EXPECT_LT(waited, 4s); // long before the first connection's five seconds
    EXPECT_EQ(partial.read(), closedAfter(""));
    EXPECT_EQ(held.read(), closedAfter(echoed("GET", "/slow")));
    EXPECT_EQ(answered.read(), closedAfter(echoed("GET", "/in-time")));
    // The first connection still has its own time: it is answered.
    ASSERT_TRUE(patient.send("GET /patient HTTP/1.1\r\n\r\n"));
    EXPECT_EQ(patient.read(), closedAfter(echoed("GET", "/patient")));
}

// The server ends its sending right behind the response: a client that reads the response and then
// closes gets the end at once, and the TIME_WAIT of the connection stays with the server (as with a
// server that closes first), not with a client that may open thousands of connections a second.
TEST(SDKHTTPServer, EndsItsSideFirstSoTimeWaitStaysWithTheServer) {
    Router router;
    const auto server = started(router);
    {
        // Like wrk or curl: read up to the end of the body, then close at once.
        Client peer(server->port());
        peer.send("GET /done HTTP/1.1\r\n\r\n");
        const std::string expected = echoed("GET", "/done");
        std::string reply(expected.size(), '\0');
        ASSERT_EQ(::recv(peer.fd, reply.data(), reply.size(), MSG_WAITALL),
                  static_cast<ssize_t>(reply.size()));
        EXPECT_EQ(reply, expected);
    }
    EXPECT_TRUE(eventually([&] { return timeWaitOnPort(server->port()); }));
}
