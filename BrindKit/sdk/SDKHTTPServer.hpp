#pragma once

#include "BrindKit/sdk/SDKConnection.hpp"
#include "BrindKit/sdk/SDKHTTPRequest.hpp"
#include "BrindKit/sdk/SDKRouteResult.hpp"

#include <asio.hpp>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <variant>
#include <vector>

namespace brind {

/// The local SDK's listener: a minimal HTTP/1.1 server on 127.0.0.1 that answers exactly one request
/// per connection, or hands the connection to the handler as an event stream.
///
/// All network work runs on one `asio::io_context` driven by one thread that the server owns from
/// construction to destruction (a serial queue: nothing in the server needs a strand). `executor()`
/// gives that context to the handler's owner for posting work and arming timers.
///
/// Per connection: only loopback peers are served; at most `maxConnections` are open at once and
/// the next is closed at once; a peer that has not sent a complete request within `readTimeout`
/// seconds is dropped without a response, while a request that has reached the handler is never
/// timed out (held hook calls and streams may last). Parse errors are answered with their fixed
/// 400/413/411 response and a handler that throws with 500; neither affects other connections.
/// After a response the server ends its sending and waits for the peer to close its side (reading
/// and dropping anything more), 50 ms at most, so that the client can read it all, then closes. The
/// peer's close is noticed when the next connection arrives, or at the 50 ms, for a response that
/// went out at once, and at once otherwise.
///
/// The connections are driven by readiness callbacks rather than coroutines, and every deadline
/// (the read time-out, the 50 ms after a response) is kept by one timer for the whole server: a
/// request costs no timer system calls and no coroutine frames unless its handler has to wait.
class SDKHTTPServer {
public:
    /// The router: called once per complete request on the server's thread.
    using Handler = std::function<asio::awaitable<SDKRouteResult>(SDKHTTPRequest, std::shared_ptr<SDKConnection>)>;
    /// Answers a request at once when it can, on the server's thread, before `Handler` is tried:
    /// nothing means the request needs the handler (it waits for something).
    using ImmediateHandler = std::function<std::optional<SDKRouteResult>(const SDKHTTPRequest&)>;
    using Executor = asio::io_context::executor_type;

    /// Why `start` failed.
    struct StartError {
        struct Failed {
            std::string text; ///< the system's description of the failure
            friend bool operator==(const Failed&, const Failed&) = default;
        };
        struct PortInUse {
            std::uint16_t port = 0;
            friend bool operator==(const PortInUse&, const PortInUse&) = default;
        };

        std::variant<Failed, PortInUse> kind;

        static StartError failed(std::string text) { return StartError{Failed{std::move(text)}}; }
        static StartError portInUse(std::uint16_t port) { return StartError{PortInUse{port}}; }

        /// The sentence the settings screen shows for this failure.
        std::string message() const;

        friend bool operator==(const StartError&, const StartError&) = default;
    };

    static constexpr std::uint16_t defaultPort = 47829;
    static constexpr double defaultReadTimeout = 10.0;
    static constexpr std::size_t defaultMaxConnections = 64;

    /// A stopped server; its thread is already running so that `executor()` is usable at once.
    explicit SDKHTTPServer(Handler handler, ImmediateHandler immediate = {});

    /// Stops, then ends the thread. Objects bound to `executor()` (timers, channels) must be
    /// destroyed before the server.
    ~SDKHTTPServer();

    SDKHTTPServer(const SDKHTTPServer&) = delete;
    SDKHTTPServer& operator=(const SDKHTTPServer&) = delete;

    /// Binds 127.0.0.1:`port` (0 picks a free port) and starts accepting. Returns once listening;
    /// starting a running server changes nothing. Call `start` and `stop` from one controlling thread.
    std::expected<void, StartError> start(std::uint16_t port);

    /// Closes the listener and every open connection (their `SDKConnection`s are marked closed).
    /// Waits until that is done; a stopped server may be started again.
    void stop();

    bool isRunning() const { return running.load(); }

    /// The port actually bound; 0 while stopped.
    std::uint16_t port() const { return boundPort.load(); }

    /// Seconds a connection may take to deliver a complete request; applies to connections
    /// accepted afterwards.
    double readTimeout() const { return readTimeoutSeconds.load(); }
    void setReadTimeout(double seconds) { readTimeoutSeconds.store(seconds); }

    std::size_t maxConnections() const { return connectionLimit.load(); }
    void setMaxConnections(std::size_t limit) { connectionLimit.store(limit); }

    /// The number of connections currently open.
    std::size_t connectionCount() const;

    /// The server's serial executor: post work to it from other threads, arm timers on it.
    Executor executor() const;

private:
    struct Session;
    using Clock = std::chrono::steady_clock;

    void acceptNext(const std::shared_ptr<asio::ip::tcp::acceptor>& acceptor);
    void admit(asio::ip::tcp::socket socket, const asio::ip::tcp::endpoint& peer);
    asio::awaitable<SDKRouteResult> runHandler(SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection);
    void forget(std::uint64_t sessionID);
    /// Closes the lingering connections whose peers have finished sending.
    void settleLingering();
    void shutdownOnThread();
    /// Makes sure the sweep runs no later than `deadline`.
    void sweepBy(Clock::time_point deadline);
    /// Closes every connection whose deadline has passed and waits for the next deadline.
    void sweep();

    Handler handler;
    ImmediateHandler immediate;
    std::unique_ptr<asio::io_context> context;
    std::optional<asio::executor_work_guard<Executor>> work;
    std::thread thread;

    // Server thread only. Reads go through this one buffer: each is a synchronous read made when the
    // socket is ready, and its bytes are copied into the connection's parser before anything else runs.
    std::unique_ptr<char[]> receiveBuffer;
    // One timer keeps every connection's deadline: it is armed for the earliest one, and only moved
    // when a new deadline comes before it.
    std::unique_ptr<asio::steady_timer> sweeper;
    Clock::time_point sweepAt = Clock::time_point::max();
    // Connections whose response has gone out, waiting for their peer's close (see `Session`).
    std::vector<std::shared_ptr<Session>> lingering;

    std::mutex lifecycle;              // serialises start and stop
    std::shared_ptr<asio::ip::tcp::acceptor> listener; // touched only under `lifecycle`, closed on the server's thread

    mutable std::mutex lock; // guards `connections` and `nextSessionID`
    std::map<std::uint64_t, std::shared_ptr<Session>> connections;
    std::uint64_t nextSessionID = 0;

    std::atomic<bool> running{false};
    std::atomic<std::uint16_t> boundPort{0};
    std::atomic<double> readTimeoutSeconds{defaultReadTimeout};
    std::atomic<std::size_t> connectionLimit{defaultMaxConnections};
};

} // namespace brind
