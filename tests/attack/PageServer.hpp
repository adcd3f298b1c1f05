#pragma once

#include "tests/e2e/E2EProcess.hpp"
#include "tests/support/LoopbackHTTPServer.hpp"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <poll.h>
#include <string>
#include <vector>

namespace vq::attack {

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
    explicit PageServer(std::map<std::string, std::string> pages) : pages(std::move(pages)) {}

    /// 0 when the listener could not be opened.
    std::uint16_t port() const { return server.port(); }

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
    std::vector<LoopbackRequest> requests() const {
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
    static std::string response(const std::string& status, const std::string& type, const std::string& body,
                                const std::string& extraFields = {}) {
        return "HTTP/1.1 " + status + "\r\nContent-Type: " + type +
               "\r\nContent-Length: " + std::to_string(body.size()) +
               "\r\nCache-Control: no-store\r\nConnection: close\r\n" + extraFields + "\r\n" + body;
    }

    // Both directions until both ends have closed: what the browser sends reaches the other server
    // unchanged, and its reply comes back unchanged.
    static void relay(int descriptor, const std::string& received, std::uint16_t port) {
        const int upstream = vq::e2e::connectLoopback(port);
        if (upstream < 0)
            return;
        LoopbackServer::sendAll(upstream, received);
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
                LoopbackServer::sendAll(other, std::string(buffer, static_cast<std::size_t>(count)));
            }
        }
        ::close(upstream);
    }

    std::string answer(const LoopbackRequest& request, int connection) {
        std::uint16_t relayPort = 0;
        {
            std::lock_guard guard(lock);
            if (rebound)
                relayPort = rebindPort;
        }
        if (relayPort != 0) {
            relay(connection, request.head + "\r\n" + request.body, relayPort);
            return {};
        }
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
        const std::string origin = LoopbackServer::fieldOf(request.head, "origin");
        std::string allowed =
            "Access-Control-Allow-Origin: " + (origin.empty() ? std::string("*") : origin) +
            "\r\nAccess-Control-Allow-Credentials: true\r\nAccess-Control-Allow-Private-Network: true\r\n";
        if (request.method == "OPTIONS") {
            allowed += "Access-Control-Allow-Methods: " +
                       LoopbackServer::fieldOf(request.head, "access-control-request-method") + "\r\n";
            allowed += "Access-Control-Allow-Headers: " +
                       LoopbackServer::fieldOf(request.head, "access-control-request-headers") + "\r\n";
            return response("204 No Content", "text/plain", "", allowed);
        }
        if (LoopbackServer::fieldOf(request.head, "accept").contains("text/event-stream"))
            return response("200 OK", "text/event-stream", "event: hello\ndata: {\"app\":\"recorder\"}\n\n",
                            allowed);
        return response("200 OK", "application/json", R"({"ok":true})", allowed);
    }

    mutable std::mutex lock;
    std::condition_variable changed;
    std::map<std::string, std::string> pages;
    std::vector<LoopbackRequest> seen;
    std::vector<std::string> reports;
    std::uint16_t rebindPort = 0;
    bool rebound = false;
    LoopbackServer server{
        [this](const LoopbackRequest& request, int connection) { return answer(request, connection); }};
};

} // namespace vq::attack
