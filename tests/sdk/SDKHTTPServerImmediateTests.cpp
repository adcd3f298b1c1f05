#include "BrindKit/sdk/SDKHTTPServer.hpp"

#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace brind;
using namespace std::chrono_literals;

namespace {

// A blocking loopback client that reads until the server closes (or ten seconds pass).
struct Peer {
    explicit Peer(std::uint16_t port) : fd(::socket(AF_INET, SOCK_STREAM, 0)) {
        const timeval limit{.tv_sec = 10, .tv_usec = 0};
        ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connected = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~Peer() { ::close(fd); }
    Peer(const Peer&) = delete;

    void send(std::string_view bytes) const { ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL); }

    std::string readToClose() const {
        std::string bytes;
        char chunk[4096];
        while (true) {
            const ssize_t count = ::recv(fd, chunk, sizeof chunk, 0);
            if (count <= 0)
                return bytes;
            bytes.append(chunk, static_cast<std::size_t>(count));
        }
    }

    int fd;
    bool connected = false;
};

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

std::string replyTo(const std::string& path) {
    return SDKHTTPResponse::json(200, JSON{{"path", path}}).serialized();
}

} // namespace

TEST(SDKHTTPServerImmediate, AnswersAtOnceWhatItCanAndHandsTheRestToTheHandler) {
    std::atomic<int> handled = 0;
    SDKHTTPServer server(
        [&](SDKHTTPRequest request, std::shared_ptr<SDKConnection>) -> asio::awaitable<SDKRouteResult> {
            ++handled;
            co_return SDKRouteResult::response(SDKHTTPResponse::json(200, JSON{{"path", request.path}}));
        },
        [](const SDKHTTPRequest& request) -> std::optional<SDKRouteResult> {
            if (request.path == "/throws")
                throw std::runtime_error("no answer");
            if (request.path != "/now")
                return std::nullopt;
            return SDKRouteResult::response(SDKHTTPResponse::json(200, JSON{{"path", "/now"}}));
        });
    ASSERT_TRUE(server.start(0).has_value());

    const auto exchange = [&](std::string_view head) {
        Peer peer(server.port());
        peer.send(head);
        return peer.readToClose();
    };
    EXPECT_EQ(exchange("GET /now HTTP/1.1\r\n\r\n"), replyTo("/now"));
    EXPECT_EQ(handled.load(), 0);
    EXPECT_EQ(exchange("GET /later HTTP/1.1\r\n\r\n"), replyTo("/later"));
    EXPECT_EQ(handled.load(), 1);
    EXPECT_EQ(exchange("GET /throws HTTP/1.1\r\n\r\n"),
              SDKHTTPResponse::error(500, "internal_error", "The request couldn't be handled.").serialized());
    EXPECT_EQ(handled.load(), 1);
}

// Every deadline is kept by one timer: a connection whose deadline comes before the one the timer
// waits for must still be closed on time, and one answered meanwhile must not be.
TEST(SDKHTTPServerImmediate, KeepsEveryConnectionsOwnDeadline) {
    SDKHTTPServer server(
        [](SDKHTTPRequest request, std::shared_ptr<SDKConnection>) -> asio::awaitable<SDKRouteResult> {
            co_return SDKRouteResult::response(SDKHTTPResponse::json(200, JSON{{"path", request.path}}));
        });
    ASSERT_TRUE(server.start(0).has_value());
    server.setReadTimeout(5);
    Peer patient(server.port());
    Peer answered(server.port());
    // Both taken in (their time set) before the limit changes.
    for (int i = 0; i < 1000 && server.connectionCount() < 2; ++i)
        std::this_thread::sleep_for(5ms);
    server.setReadTimeout(0.3);
    const auto start = std::chrono::steady_clock::now();
    Peer hasty(server.port());
    ASSERT_TRUE(patient.connected && answered.connected && hasty.connected);
    answered.send("GET /in-time HTTP/1.1\r\n\r\n");

    EXPECT_EQ(hasty.readToClose(), "");
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, 300ms);
    EXPECT_LT(waited, 4s); // long before the first connection's five seconds
    EXPECT_EQ(answered.readToClose(), replyTo("/in-time"));
    // The first connection still has its own time: it is answered.
    patient.send("GET /patient HTTP/1.1\r\n\r\n");
    EXPECT_EQ(patient.readToClose(), replyTo("/patient"));
}

// The server ends its sending right behind the response: a client that reads the response and then
// closes gets the end at once, and the TIME_WAIT of the connection stays with the server (as with a
// server that closes first), not with a client that may open thousands of connections a second.
TEST(SDKHTTPServerImmediate, EndsItsSideFirstSoTimeWaitStaysWithTheServer) {
    SDKHTTPServer server(
        [](SDKHTTPRequest request, std::shared_ptr<SDKConnection>) -> asio::awaitable<SDKRouteResult> {
            co_return SDKRouteResult::response(SDKHTTPResponse::json(200, JSON{{"path", request.path}}));
        });
    ASSERT_TRUE(server.start(0).has_value());
    {
        // Like wrk or curl: read up to the end of the body, then close at once.
        Peer peer(server.port());
        peer.send("GET /done HTTP/1.1\r\n\r\n");
        const std::string expected = replyTo("/done");
        std::string reply(expected.size(), '\0');
        ASSERT_EQ(::recv(peer.fd, reply.data(), reply.size(), MSG_WAITALL), static_cast<ssize_t>(reply.size()));
        EXPECT_EQ(reply, expected);
    }
    bool found = false;
    for (int i = 0; i < 1000 && !(found = timeWaitOnPort(server.port())); ++i)
        std::this_thread::sleep_for(5ms);
    EXPECT_TRUE(found);
}
