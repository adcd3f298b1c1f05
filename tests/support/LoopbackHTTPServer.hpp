#pragma once

#include "BrindKit/foundation/ASCII.hpp"

#include <arpa/inet.h>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <map>
#include <mutex>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace vq {

/// A request as it reached a `LoopbackServer`.
struct LoopbackRequest {
    std::string method;
    std::string target;
    std::string head; ///< the request line and fields
    std::string body;
};

/// A listening socket on a free loopback port taking one request per connection, each connection on a
/// thread of its own with a read time-out (browsers open spare connections they may never use, so an
/// idle one holds up nothing). `respond` gets each request and its connection, and returns the raw
/// reply, or nothing when it has answered on the connection itself. It is destroyed before what
/// `respond` reaches: declare it last.
class LoopbackServer {
  public:
    using Responder = std::function<std::string(const LoopbackRequest&, int connection)>;

    explicit LoopbackServer(Responder respond) : respond(std::move(respond)) {
        listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (::bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
            ::listen(listener, 128) != 0 ||
            ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            return;
        boundPort = ntohs(address.sin_port);
        acceptor = std::thread([this] { acceptLoop(); });
    }
    ~LoopbackServer() {
        ::shutdown(listener, SHUT_RDWR); // ends the accept loop
        if (acceptor.joinable())
            acceptor.join();
        for (auto& connection : connections)
            connection.join();
        ::close(listener);
    }
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    /// 0 when the listener could not be opened.
    std::uint16_t port() const { return boundPort; }

    /// The value of field `name` (lower case) in a head, or "".
    static std::string fieldOf(const std::string& head, const std::string& name) {
        const auto at = brind::ASCII::lowercased(head).find("\r\n" + name + ":");
        if (at == std::string::npos)
            return {};
        auto start = at + name.size() + 3;
        while (start < head.size() && head[start] == ' ')
            ++start;
        return head.substr(start, head.find("\r\n", start) - start);
    }

    static void sendAll(int descriptor, const std::string& text) {
        for (std::size_t written = 0; written < text.size();) {
            const ssize_t count =
                ::send(descriptor, text.data() + written, text.size() - written, MSG_NOSIGNAL);
            if (count <= 0)
                return;
            written += static_cast<std::size_t>(count);
        }
    }

  private:
    void acceptLoop() {
        for (;;) {
            const int descriptor = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (descriptor < 0)
                return;
            timeval limit{2, 0};
            ::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
            connections.emplace_back([this, descriptor] { serve(descriptor); });
        }
    }

    void serve(int descriptor) {
        std::string received;
        char buffer[8192];
        std::size_t headEnd = std::string::npos;
        std::size_t wanted = 0;
        while (headEnd == std::string::npos || received.size() < wanted) {
            const ssize_t count = ::recv(descriptor, buffer, sizeof buffer, 0);
            if (count <= 0) {
                ::close(descriptor);
                return;
            }
            received.append(buffer, static_cast<std::size_t>(count));
            if (headEnd == std::string::npos && (headEnd = received.find("\r\n\r\n")) != std::string::npos)
                wanted = headEnd + 4 +
                         std::strtoull(fieldOf(received.substr(0, headEnd + 2), "content-length").c_str(),
                                       nullptr, 10);
        }
        LoopbackRequest request;
        request.head = received.substr(0, headEnd + 2);
        request.body = received.substr(headEnd + 4, wanted - headEnd - 4);
        const auto methodEnd = received.find(' ');
        request.method = received.substr(0, methodEnd);
        request.target = received.substr(methodEnd + 1, received.find(' ', methodEnd + 1) - methodEnd - 1);
        sendAll(descriptor, respond(request, descriptor));
        ::shutdown(descriptor, SHUT_WR);
        while (::recv(descriptor, buffer, sizeof buffer, 0) > 0) {
        }
        ::close(descriptor);
    }

    Responder respond;
    int listener = -1;
    std::uint16_t boundPort = 0;
    std::thread acceptor;
    std::vector<std::thread> connections; ///< only the accept loop adds to it
};

/// A stand-in for a public web service (lyrics, weather) on a loopback port, one request per
/// connection. Every request gets the answer set for its path, or the default one; the answers can
/// change while the test runs, and every request's head (request line and headers) is kept.
class LoopbackHTTPServer {
  public:
    /// `delay` holds every answer back that long (or until the server is gone).
    explicit LoopbackHTTPServer(int status = 404, std::string body = {},
                                std::chrono::milliseconds delay = std::chrono::milliseconds(0))
        : fallback{status, std::move(body)}, delay(delay) {}
    ~LoopbackHTTPServer() {
        {
            std::lock_guard lock(mutex);
            stopping = true;
        }
        woken.notify_all();
    }

    std::string url() const { return "http://127.0.0.1:" + std::to_string(server.port()); }

    /// Answers requests whose path (before the query) is `path`.
    void answer(const std::string& path, int status, std::string body) {
        std::lock_guard lock(mutex);
        answers[path] = {status, std::move(body)};
    }
    std::vector<std::string> requests() const {
        std::lock_guard lock(mutex);
        return received;
    }
    /// The requests whose request line holds `text`.
    std::vector<std::string> requestsFor(const std::string& text) const {
        std::vector<std::string> found;
        for (auto& head : requests()) {
            if (head.substr(0, head.find("\r\n")).find(text) != std::string::npos)
                found.push_back(std::move(head));
        }
        return found;
    }

  private:
    struct Answer {
        int status;
        std::string body;
    };

    std::string respond(const LoopbackRequest& request) {
        Answer reply = fallback;
        {
            std::unique_lock lock(mutex);
            received.push_back(request.head);
            if (const auto found = answers.find(request.target.substr(0, request.target.find('?')));
                found != answers.end())
                reply = found->second;
            woken.wait_for(lock, delay, [this] { return stopping; });
        }
        return "HTTP/1.1 " + std::to_string(reply.status) +
               " Answer\r\nContent-Type: application/json\r\nContent-Length: " +
               std::to_string(reply.body.size()) + "\r\nConnection: close\r\n\r\n" + reply.body;
    }

    Answer fallback;
    std::chrono::milliseconds delay;
    bool stopping = false;
    std::condition_variable woken;
    mutable std::mutex mutex;
    std::map<std::string, Answer> answers;
    std::vector<std::string> received;
    LoopbackServer server{[this](const LoopbackRequest& request, int) { return respond(request); }};
};

} // namespace vq
