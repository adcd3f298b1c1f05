#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace vq {

/// A stand-in for a public web service (lyrics, weather) on a loopback port, one request per
/// connection. Every request gets the answer set for its path, or the default one; the answers can
/// change while the test runs, and every request's head (request line and headers) is kept.
class LoopbackHTTPServer {
public:
    /// `delay` holds every answer back that long (or until the server is gone).
    explicit LoopbackHTTPServer(int status = 404, std::string body = {},
                                std::chrono::milliseconds delay = std::chrono::milliseconds(0))
        : fallback{status, std::move(body)}, delay(delay) {
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
        {
            std::lock_guard lock(mutex);
            stopping = true;
        }
        woken.notify_all();
        ::shutdown(listener, SHUT_RDWR);
        ::close(listener);
        if (server.joinable())
            server.join();
    }

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
            const std::string path = head.substr(pathStart, head.find_first_of("? ", pathStart) - pathStart);
            Answer reply = fallback;
            {
                std::unique_lock lock(mutex);
                received.push_back(head);
                if (const auto found = answers.find(path); found != answers.end())
                    reply = found->second;
                woken.wait_for(lock, delay, [this] { return stopping; });
            }
            const std::string bytes = "HTTP/1.1 " + std::to_string(reply.status) +
                                      " Answer\r\nContent-Type: application/json\r\nContent-Length: " +
                                      std::to_string(reply.body.size()) + "\r\nConnection: close\r\n\r\n" + reply.body;
            [[maybe_unused]] const auto written = ::write(connection, bytes.data(), bytes.size());
            ::close(connection);
        }
    }

    Answer fallback;
    std::chrono::milliseconds delay;
    bool stopping = false;
    std::condition_variable woken;
    int listener = -1;
    std::uint16_t port = 0;
    std::thread server;
    mutable std::mutex mutex;
    std::map<std::string, Answer> answers;
    std::vector<std::string> received;
};

} // namespace vq
