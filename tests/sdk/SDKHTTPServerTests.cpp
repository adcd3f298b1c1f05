#include "BrindKit/sdk/SDKHTTPServer.hpp"

#include "BrindKit/sdk/SDKSSE.hpp"
#include "LoopbackClient.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>

using brind::JSON;
using brind::SDKConnection;
using brind::SDKHTTPRequest;
using brind::SDKHTTPResponse;
using brind::SDKHTTPServer;
using brind::SDKRouteResult;
using brind::testing::LoopbackClient;
using namespace std::chrono_literals;

namespace {

// Answers {"method": ..., "path": ...} for every request.
asio::awaitable<SDKRouteResult> echo(SDKHTTPRequest request, std::shared_ptr<SDKConnection>) {
    co_return SDKRouteResult::response(SDKHTTPResponse::json(200, JSON{{"method", request.method}, {"path", request.path}}));
}

std::string echoWire(const std::string& method, const std::string& path) {
    return SDKHTTPResponse::json(200, JSON{{"method", method}, {"path", path}}).serialized();
}

// Polls `condition` for up to five seconds.
template <typename Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (std::chrono::steady_clock::now() < deadline) {
        if (condition())
            return true;
        std::this_thread::sleep_for(5ms);
    }
    return condition();
}

} // namespace

TEST(SDKHTTPServer, AnswersOneRequestWithExactBytesThenCloses) {
    SDKHTTPServer server(echo);
    ASSERT_TRUE(server.start(0).has_value());
    ASSERT_NE(server.port(), 0);
    EXPECT_TRUE(server.isRunning());

    LoopbackClient client(server.port());
    ASSERT_TRUE(client.isConnected());
    // The request arrives in pieces; the server waits for all of it.
    ASSERT_TRUE(client.send("post /v1/act"));
    std::this_thread::sleep_for(20ms);
    ASSERT_TRUE(client.send("ivities HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2\r\n\r\n{"));
    std::this_thread::sleep_for(20ms);
    ASSERT_TRUE(client.send("}"));
    const auto read = client.read();
    EXPECT_TRUE(read.closedByPeer);
    EXPECT_EQ(read.bytes, echoWire("POST", "/v1/activities"));
    EXPECT_TRUE(eventually([&] { return server.connectionCount() == 0; }));
}

TEST(SDKHTTPServer, AnswersParseErrorsWithTheirFixedResponseWithoutCallingTheHandler) {
    std::atomic<int> calls = 0;
    SDKHTTPServer server([&](SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection) {
        ++calls;
        return echo(std::move(request), std::move(connection));
    });
    ASSERT_TRUE(server.start(0).has_value());
    const std::string body = R"({"error":"bad_request","message":"Malformed request."})";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"GET v1/status HTTP/1.1\r\n\r\n", "HTTP/1.1 400 Bad Request"},
        {"GET /v1/status HTTP/2\r\n\r\n", "HTTP/1.1 400 Bad Request"},
        {"POST / HTTP/1.1\r\nContent-Length: 8388609\r\n\r\n", "HTTP/1.1 413 Payload Too Large"},
        {"GET / HTTP/1.1\r\nX: " + std::string(16400, 'a'), "HTTP/1.1 413 Payload Too Large"},
        {"POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", "HTTP/1.1 411 Status"},
    };
    for (const auto& [request, statusLine] : cases) {
        SCOPED_TRACE(statusLine);
        LoopbackClient client(server.port());
        ASSERT_TRUE(client.send(request));
        const auto read = client.read();
        EXPECT_TRUE(read.closedByPeer);
        EXPECT_EQ(read.bytes, statusLine + "\r\nContent-Type: application/json\r\nContent-Length: " +
                                  std::to_string(body.size()) +
                                  "\r\nConnection: close\r\nCache-Control: no-store\r\n\r\n" + body);
    }
    EXPECT_EQ(calls.load(), 0);
}

TEST(SDKHTTPServer, AnswersAThrowingHandlerWith500AndKeepsServing) {
    SDKHTTPServer server([](SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection) -> asio::awaitable<SDKRouteResult> {
        if (request.path == "/throw-now")
            throw std::runtime_error("before the coroutine");
        return [](SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection) -> asio::awaitable<SDKRouteResult> {
            if (request.path == "/throw-later")
                throw std::runtime_error("inside the coroutine");
            co_return co_await echo(std::move(request), std::move(connection));
        }(std::move(request), std::move(connection));
    });
    ASSERT_TRUE(server.start(0).has_value());
    const std::string failure =
        SDKHTTPResponse::error(500, "internal_error", "The request couldn't be handled.").serialized();
    for (const std::string path : {"/throw-now", "/throw-later"}) {
        LoopbackClient client(server.port());
        ASSERT_TRUE(client.send("GET " + path + " HTTP/1.1\r\n\r\n"));
        EXPECT_EQ(client.read().bytes, failure) << path;
    }
    LoopbackClient after(server.port());
    ASSERT_TRUE(after.send("GET /fine HTTP/1.1\r\n\r\n"));
    EXPECT_EQ(after.read().bytes, echoWire("GET", "/fine"));
}

TEST(SDKHTTPServer, KeepsTheResponseForAPeerThatHasFinishedSending) {
    SDKHTTPServer server(echo);
    ASSERT_TRUE(server.start(0).has_value());
    LoopbackClient client(server.port());
    ASSERT_TRUE(client.send("GET /half HTTP/1.1\r\n\r\n"));
    client.finishSending();
    const auto read = client.read();
    EXPECT_TRUE(read.closedByPeer);
    EXPECT_EQ(read.bytes, echoWire("GET", "/half"));
}

TEST(SDKHTTPServer, StreamsEventsInOrderFromAnyThreadUntilTheClientLeaves) {
    std::promise<std::shared_ptr<SDKConnection>> handedOver;
    SDKHTTPServer server([&](SDKHTTPRequest, std::shared_ptr<SDKConnection> connection) -> asio::awaitable<SDKRouteResult> {
        connection->send(SDKHTTPResponse::sseHead());
        connection->send(brind::SDKSSE::event("hello", "line one\nline two"));
        handedOver.set_value(connection);
        co_return SDKRouteResult::stream();
    });
    ASSERT_TRUE(server.start(0).has_value());

    std::promise<void> closed;
    {
        LoopbackClient client(server.port());
        ASSERT_TRUE(client.send("GET /v1/events HTTP/1.1\r\n\r\n"));
        auto future = handedOver.get_future();
        ASSERT_EQ(future.wait_for(5s), std::future_status::ready);
        const auto connection = future.get();
        connection->onClose([&] { closed.set_value(); });

        std::thread writer([connection] {
            for (int i = 0; i < 50; ++i)
                connection->send(brind::SDKSSE::comment(std::to_string(i)));
        });
        writer.join();

        std::string expected = SDKHTTPResponse::sseHead() + "event: hello\ndata: line one\ndata: line two\n\n";
        for (int i = 0; i < 50; ++i)
            expected += brind::SDKSSE::comment(std::to_string(i));
        const auto read = client.read(5s, expected.size());
        EXPECT_FALSE(read.closedByPeer);
        EXPECT_EQ(read.bytes, expected);
        EXPECT_FALSE(connection->isClosed());
    }
    // The client has gone: the stream's close handlers run.
    EXPECT_EQ(closed.get_future().wait_for(5s), std::future_status::ready);
    EXPECT_TRUE(eventually([&] { return server.connectionCount() == 0; }));
}

TEST(SDKHTTPServer, ClosesTheConnectionOverTheLimitWhileTheOthersStayOpen) {
    SDKHTTPServer server(echo);
    ASSERT_EQ(server.maxConnections(), 64u);
    ASSERT_TRUE(server.start(0).has_value());
    std::vector<std::unique_ptr<LoopbackClient>> clients;
    for (int i = 0; i < 64; ++i) {
        clients.push_back(std::make_unique<LoopbackClient>(server.port()));
        ASSERT_TRUE(clients.back()->isConnected());
    }
    ASSERT_TRUE(eventually([&] { return server.connectionCount() == 64; }));

    LoopbackClient extra(server.port());
    const auto refused = extra.read();
    EXPECT_TRUE(refused.closedByPeer);
    EXPECT_EQ(refused.bytes, "");
    EXPECT_EQ(server.connectionCount(), 64u);

    for (const int i : {0, 63}) {
        ASSERT_TRUE(clients[i]->send("GET /still-open HTTP/1.1\r\n\r\n"));
        EXPECT_EQ(clients[i]->read().bytes, echoWire("GET", "/still-open"));
    }
}

TEST(SDKHTTPServer, DropsIdleClientsButNotRequestsInFlight) {
    SDKHTTPServer server([](SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection) -> asio::awaitable<SDKRouteResult> {
        asio::steady_timer wait(co_await asio::this_coro::executor, 600ms);
        co_await wait.async_wait(asio::use_awaitable);
        co_return co_await echo(std::move(request), std::move(connection));
    });
    server.setReadTimeout(0.2);
    ASSERT_TRUE(server.start(0).has_value());

    LoopbackClient idle(server.port());
    LoopbackClient partial(server.port());
    ASSERT_TRUE(partial.send("GET /never-finished HTTP/1.1\r\n"));
    LoopbackClient held(server.port());
    ASSERT_TRUE(held.send("GET /slow HTTP/1.1\r\n\r\n"));

    for (LoopbackClient* dropped : {&idle, &partial}) {
        const auto read = dropped->read();
        EXPECT_TRUE(read.closedByPeer);
        EXPECT_EQ(read.bytes, "");
    }
    const auto answered = held.read();
    EXPECT_TRUE(answered.closedByPeer);
    EXPECT_EQ(answered.bytes, echoWire("GET", "/slow"));
}

TEST(SDKHTTPServer, ReportsAPortInUse) {
    SDKHTTPServer first(echo);
    ASSERT_TRUE(first.start(0).has_value());
    SDKHTTPServer second(echo);
    const auto result = second.start(first.port());
    ASSERT_FALSE(result.has_value());
    EXPECT_EQ(result.error(), SDKHTTPServer::StartError::portInUse(first.port()));
    EXPECT_EQ(result.error().message(),
              std::to_string(first.port()) + " is in use by another app. Quit it, then turn the bridge off and on.");
    EXPECT_FALSE(second.isRunning());
    EXPECT_EQ(second.port(), 0);
}

TEST(SDKHTTPServer, StopClosesEverythingAndTheServerStartsAgain) {
    std::promise<std::shared_ptr<SDKConnection>> handedOver;
    SDKHTTPServer server([&](SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection) -> asio::awaitable<SDKRouteResult> {
        if (request.path != "/v1/events")
            co_return co_await echo(std::move(request), std::move(connection));
        connection->send(SDKHTTPResponse::sseHead());
        handedOver.set_value(connection);
        co_return SDKRouteResult::stream();
    });
    ASSERT_TRUE(server.start(0).has_value());
    const std::uint16_t port = server.port();

    LoopbackClient streaming(port);
    ASSERT_TRUE(streaming.send("GET /v1/events HTTP/1.1\r\n\r\n"));
    auto future = handedOver.get_future();
    ASSERT_EQ(future.wait_for(5s), std::future_status::ready);
    const auto connection = future.get();
    LoopbackClient idle(port);
    ASSERT_TRUE(eventually([&] { return server.connectionCount() == 2; }));

    server.stop();
    EXPECT_TRUE(connection->isClosed());
    EXPECT_EQ(server.connectionCount(), 0u);
    EXPECT_FALSE(server.isRunning());
    EXPECT_EQ(server.port(), 0);
    EXPECT_TRUE(idle.read().closedByPeer);
    EXPECT_FALSE(LoopbackClient(port).isConnected());

    ASSERT_TRUE(server.start(port).has_value());
    EXPECT_EQ(server.port(), port);
    LoopbackClient again(port);
    ASSERT_TRUE(again.send("GET /again HTTP/1.1\r\n\r\n"));
    EXPECT_EQ(again.read().bytes, echoWire("GET", "/again"));
}

TEST(SDKHTTPServer, RunsPostedWorkOnItsExecutorWhileStopped) {
    SDKHTTPServer server(echo);
    std::promise<bool> ran;
    asio::post(server.executor(), [&] { ran.set_value(server.executor().running_in_this_thread()); });
    auto future = ran.get_future();
    ASSERT_EQ(future.wait_for(5s), std::future_status::ready);
    EXPECT_TRUE(future.get());
}

TEST(SDKHTTPServer, ShutsDownWhileAHandlerIsStillWaiting) {
    std::promise<void> started;
    std::shared_ptr<SDKConnection> held;
    auto server = std::make_unique<SDKHTTPServer>(
        [&](SDKHTTPRequest, std::shared_ptr<SDKConnection> connection) -> asio::awaitable<SDKRouteResult> {
            held = connection;
            started.set_value();
            asio::steady_timer wait(co_await asio::this_coro::executor, 60s);
            co_await wait.async_wait(asio::use_awaitable);
            co_return SDKRouteResult::response(SDKHTTPResponse::raw(200, "late", std::nullopt));
        });
    ASSERT_TRUE(server->start(0).has_value());
    LoopbackClient client(server->port());
    ASSERT_TRUE(client.send("POST /v1/agents/hook HTTP/1.1\r\n\r\n"));
    ASSERT_EQ(started.get_future().wait_for(5s), std::future_status::ready);

    // Destroyed with the handler suspended: the client is closed, not answered, and nothing hangs.
    server.reset();
    const auto read = client.read();
    EXPECT_TRUE(read.closedByPeer);
    EXPECT_EQ(read.bytes, "");
    ASSERT_TRUE(held);
    EXPECT_TRUE(held->isClosed());
}
