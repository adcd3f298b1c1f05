#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
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
    explicit PageServer(std::map<std::string, std::string> pages);
    ~PageServer();
    PageServer(const PageServer&) = delete;
    PageServer& operator=(const PageServer&) = delete;

    /// 0 when the listener could not be opened.
    std::uint16_t port() const { return boundPort; }

    void addPage(const std::string& path, std::string text);

    /// The port that connections are relayed to after `/rebind`.
    void rebindTo(std::uint16_t port);

    /// Every request answered so far, reports and pages included.
    std::vector<RecordedRequest> requests() const;

    /// Waits until `count` reports have arrived or `timeout` has passed; the reports' bodies.
    std::vector<std::string> waitForReports(std::size_t count, std::chrono::milliseconds timeout);

    /// Waits until a request whose target contains each of `markers` has arrived; the markers still missing.
    std::vector<std::string> waitForTargets(const std::vector<std::string>& markers, std::chrono::milliseconds timeout);

private:
    void acceptLoop();
    void serve(int descriptor);
    std::string answer(const RecordedRequest& request);
    void relay(int descriptor, const std::string& received, std::uint16_t port);

    int listener = -1;
    int wake[2] = {-1, -1};
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
