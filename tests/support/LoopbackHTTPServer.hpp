#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace vq {

/// A stand-in for a public web service on a loopback port: each request path is answered with the
/// status and body set for it (404 for others), one request per connection. What the test sets can
/// change while it runs; every request's head (request line and headers) is kept.
class LoopbackHTTPServer {
public:
    struct Answer {
        int status = 200;
        std::string body;
    };

    LoopbackHTTPServer() {
        listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (::bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 || ::listen(listener, 16) != 0 ||
            ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            return;
        port = ntohs(address.sin_port);
        server = std::thread([this] { serve(); });
    }
    ~LoopbackHTTPServer() {
        ::shutdown(listener, SHUT_RDWR);
        ::close(listener);
        if (server.joinable())
            server.join();
    }
    LoopbackHTTPServer(const LoopbackHTTPServer&) = delete;
    LoopbackHTTPServer& operator=(const LoopbackHTTPServer&) = delete;

    bool running() const { return port != 0; }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port); }

    /// Answers requests whose path (before the query) is `path`.
    void answer(const std::string& path, int status, std::string body) {
        std::lock_guard lock(mutex);
        answers[path] = {status, std::move(body)};
    }
    std::vector<std::string> requests() const {
        std::lock_guard lock(mutex);
        return received;
    }
    /// The request heads whose request line holds `text`.
    std::vector<std::string> requestsFor(const std::string& text) const {
        std::vector<std::string> found;
        for (const auto& head : requests()) {
            if (head.substr(0, head.find("\r\n")).find(text) != std::string::npos)
                found.push_back(head);
        }
        return found;
    }

private:
    void serve() {
        while (true) {
            const int connection = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (connection < 0)
                return;
            std::string head;
            char buffer[4096];
            while (head.find("\r\n\r\n") == std::string::npos) {
                const ssize_t count = ::read(connection, buffer, sizeof buffer);
                if (count <= 0)
                    break;
                head.append(buffer, static_cast<std::size_t>(count));
            }
            const auto pathStart = head.find(' ') + 1;
            const auto pathEnd = head.find_first_of("? ", pathStart);
            const std::string path = head.substr(pathStart, pathEnd - pathStart);
            Answer reply{404, R"({"error":true,"reason":"Not found"})"};
            {
                std::lock_guard lock(mutex);
                received.push_back(head);
                if (const auto found = answers.find(path); found != answers.end())
                    reply = found->second;
            }
            const std::string bytes = "HTTP/1.1 " + std::to_string(reply.status) +
                                      " Answer\r\nContent-Type: application/json; charset=utf-8\r\nContent-Length: " +
                                      std::to_string(reply.body.size()) + "\r\nConnection: close\r\n\r\n" + reply.body;
            [[maybe_unused]] const auto written = ::write(connection, bytes.data(), bytes.size());
            ::close(connection);
        }
    }

    int listener = -1;
    std::uint16_t port = 0;
    std::thread server;
    mutable std::mutex mutex;
    std::map<std::string, Answer> answers;
    std::vector<std::string> received;
};

} // namespace vq
