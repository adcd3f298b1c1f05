#pragma once

#include "BrindKit/foundation/ASCII.hpp"
#include "tests/e2e/E2EProcess.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <mutex>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vq::attack {

/// A request as it reached a `PageServer`.
struct RecordedRequest {
    std::string method;
    std::string target;
    std::string head; ///< the request line and fields
    std::string body;
};

/// A small HTTP server on a free loopback port, playing both ends of a browser attack: it serves the
/// attack pages, takes their reports (`POST /report`), and answers every other request as the most
/// permissive server could (CORS allowed for any origin, with credentials), recording each one. Run
/// against it, the attack pages show that the browser really sends every attempt and that the page
/// would read the answer if a server let it.
///
/// It can also play a name whose address changes under the page (DNS rebinding): once a page asks
/// for `/rebind`, every later connection is relayed byte for byte to another loopback port, so the
/// page's own origin now leads to that server.
class PageServer {
  public:
    /// `pages`: path (without query) to HTML or JavaScript text.
    explicit PageServer(std::map<std::string, std::string> pages) : pages(std::move(pages)) {
        listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (listener < 0 || ::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(listener, 128) != 0 ||
            ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            return;
        boundPort = ntohs(address.sin_port);
        acceptor = std::thread([this] { acceptLoop(); });
    }
    ~PageServer() {
        ::shutdown(listener, SHUT_RDWR); // ends the accept loop
        if (acceptor.joinable())
            acceptor.join();
        for (auto& connection : connections)
            connection.join();
        ::close(listener);
    }
    PageServer(const PageServer&) = delete;
    PageServer& operator=(const PageServer&) = delete;

    /// 0 when the listener could not be opened.
    std::uint16_t port() const { return boundPort; }

    void addPage(const std::string& path, std::string text) {
        std::lock_guard guard(lock);
        pages[path] = std::move(text);
    }

    /// The port that connections are relayed to after `/rebind`.
    void rebindTo(std::uint16_t port) {
        std::lock_guard guard(lock);
        rebindPort = port;
    }

    /// Every request answered so far, reports and pages included.
    std::vector<RecordedRequest> requests() const {
        std::lock_guard guard(lock);
        return seen;
    }

    /// Waits until `count` reports have arrived or `timeout` has passed; the reports' bodies.
    std::vector<std::string> waitForReports(std::size_t count, std::chrono::milliseconds timeout) {
        std::unique_lock guard(lock);
        changed.wait_for(guard, timeout, [&] { return reports.size() >= count; });
        return reports;
    }

    /// Waits until a request whose target contains each of `markers` has arrived, or `timeout` has passed.
    void waitForTargets(const std::vector<std::string>& markers, std::chrono::milliseconds timeout) {
        std::unique_lock guard(lock);
        changed.wait_for(guard, timeout, [&] {
            return std::ranges::all_of(markers, [&](const auto& marker) {
                return std::ranges::any_of(
                    seen, [&](const auto& request) { return request.target.contains(marker); });
            });
        });
    }

  private:
    // The value of field `name` (lower case) in a head, or "".
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

    static std::string response(const std::string& status, const std::string& type, const std::string& body,
                                const std::string& extraFields = {}) {
        return "HTTP/1.1 " + status + "\r\nContent-Type: " + type +
               "\r\nContent-Length: " + std::to_string(body.size()) +
               "\r\nCache-Control: no-store\r\nConnection: close\r\n" + extraFields + "\r\n" + body;
    }

    void acceptLoop() {
        for (;;) {
            const int descriptor = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (descriptor < 0)
                return;
            // Browsers open spare connections they may never use: each connection gets a thread and a
            // read time-out, so an idle one holds up nothing.
            timeval limit{2, 0};
            ::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
            std::lock_guard guard(lock);
            connections.emplace_back([this, descriptor] { serve(descriptor); });
        }
    }

    void serve(int descriptor) {
        std::string received;
        char buffer[8192];
        std::size_t headEnd = std::string::npos;
        std::size_t wanted = 0;
        for (;;) {
            if (headEnd == std::string::npos && (headEnd = received.find("\r\n\r\n")) != std::string::npos)
                wanted = headEnd + 4 +
                         std::strtoull(fieldOf(received.substr(0, headEnd + 2), "content-length").c_str(),
                                       nullptr, 10);
            if (headEnd != std::string::npos && received.size() >= wanted)
                break;
            const ssize_t count = ::recv(descriptor, buffer, sizeof buffer, 0);
            if (count <= 0) {
                ::close(descriptor);
                return;
            }
            received.append(buffer, static_cast<std::size_t>(count));
        }
        std::uint16_t relayPort = 0;
        {
            std::lock_guard guard(lock);
            if (rebound)
                relayPort = rebindPort;
        }
        if (relayPort != 0) {
            relay(descriptor, received, relayPort);
            return;
        }
        RecordedRequest request;
        request.head = received.substr(0, headEnd + 2);
        request.body = received.substr(headEnd + 4, wanted - headEnd - 4);
        const auto methodEnd = received.find(' ');
        request.method = received.substr(0, methodEnd);
        request.target = received.substr(methodEnd + 1, received.find(' ', methodEnd + 1) - methodEnd - 1);
        sendAll(descriptor, answer(request));
        ::shutdown(descriptor, SHUT_WR);
        while (::recv(descriptor, buffer, sizeof buffer, 0) > 0) {
        }
        ::close(descriptor);
    }

    // Both directions until both ends have closed: what the browser sends reaches the other server
    // unchanged, and its reply comes back unchanged.
    static void relay(int descriptor, const std::string& received, std::uint16_t port) {
        const int upstream = vq::e2e::connectLoopback(port);
        if (upstream < 0) {
            ::close(descriptor);
            return;
        }
        sendAll(upstream, received);
        pollfd ends[2] = {{descriptor, POLLIN, 0}, {upstream, POLLIN, 0}};
        int open = 2;
        char buffer[8192];
        while (open > 0 && ::poll(ends, 2, 10000) > 0) {
            for (int side = 0; side < 2; ++side) {
                if (ends[side].fd < 0 || ends[side].revents == 0)
                    continue;
                const ssize_t count = ::recv(ends[side].fd, buffer, sizeof buffer, 0);
                const int other = side == 0 ? upstream : descriptor;
                if (count <= 0) {
                    ::shutdown(other, SHUT_WR);
                    ends[side].fd = -1;
                    --open;
                    continue;
                }
                sendAll(other, std::string(buffer, static_cast<std::size_t>(count)));
            }
        }
        ::close(upstream);
        ::close(descriptor);
    }

    std::string answer(const RecordedRequest& request) {
        const std::string path = request.target.substr(0, request.target.find('?'));
        std::lock_guard guard(lock);
        seen.push_back(request);
        changed.notify_all();
        if (path == "/rebind" && rebindPort != 0) {
            rebound = true;
            return response("204 No Content", "text/plain", "");
        }
        if (path == "/report" && request.method == "POST") {
            reports.push_back(request.body);
            return response("204 No Content", "text/plain", "");
        }
        if (const auto page = pages.find(path); page != pages.end() && request.method == "GET")
            return response("200 OK", path.ends_with(".js") ? "text/javascript" : "text/html; charset=utf-8",
                            page->second);
        if (path == "/favicon.ico")
            return response("404 Not Found", "text/plain", "");

        // The permissive server: whatever the origin, whatever it asks for.
        const std::string origin = fieldOf(request.head, "origin");
        std::string allowed =
            "Access-Control-Allow-Origin: " + (origin.empty() ? std::string("*") : origin) +
            "\r\nAccess-Control-Allow-Credentials: true\r\nAccess-Control-Allow-Private-Network: true\r\n";
        if (request.method == "OPTIONS") {
            allowed +=
                "Access-Control-Allow-Methods: " + fieldOf(request.head, "access-control-request-method") +
                "\r\n";
            allowed +=
                "Access-Control-Allow-Headers: " + fieldOf(request.head, "access-control-request-headers") +
                "\r\n";
            return response("204 No Content", "text/plain", "", allowed);
        }
        if (fieldOf(request.head, "accept").contains("text/event-stream"))
            return response("200 OK", "text/event-stream", "event: hello\ndata: {\"app\":\"recorder\"}\n\n",
                            allowed);
        return response("200 OK", "application/json", R"({"ok":true})", allowed);
    }

    int listener = -1;
    std::uint16_t boundPort = 0;
    std::thread acceptor;
    mutable std::mutex lock;
    std::condition_variable changed;
    std::map<std::string, std::string> pages;
    std::vector<RecordedRequest> seen;
    std::vector<std::string> reports;
    std::vector<std::thread> connections;
    std::uint16_t rebindPort = 0;
    bool rebound = false;
};

} // namespace vq::attack
