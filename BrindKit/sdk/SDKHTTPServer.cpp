#include "BrindKit/sdk/SDKHTTPServer.hpp"

#include "BrindKit/sdk/SDKHTTPParser.hpp"
#include "BrindKit/sdk/SDKHTTPResponse.hpp"

#include <array>
#include <cerrno>
#include <chrono>
#include <deque>
#include <future>
#include <utility>
#include <vector>

#include <sys/socket.h>

namespace brind {

namespace {

using asio::ip::tcp;

// Reads ask for up to this much at a time.
constexpr std::size_t receiveChunkBytes = 65536;
// After a response, the client gets this long to read it before the socket is closed.
constexpr auto lingerAfterResponse = std::chrono::milliseconds(50);
// When accepting fails for want of descriptors, pause instead of spinning on the error.
constexpr auto acceptRetryDelay = std::chrono::milliseconds(50);

// Reads and writes are made without blocking by their flags rather than by the socket's mode: a
// socket whose request and response go through at once is then never switched to non-blocking
// (Asio does that, one system call, the first time it waits on the socket).
std::error_code lastError() {
    return errno == EAGAIN || errno == EWOULDBLOCK ? std::error_code(asio::error::would_block)
                                                   : std::error_code(errno, asio::error::get_system_category());
}

std::size_t receiveNow(tcp::socket& socket, char* into, std::size_t size, std::error_code& error) {
    for (;;) {
        const ssize_t count = ::recv(socket.native_handle(), into, size, MSG_DONTWAIT);
        if (count > 0) {
            error.clear();
            return static_cast<std::size_t>(count);
        }
        if (count == 0) {
            error = asio::error::eof;
            return 0;
        }
        if (errno != EINTR) {
            error = lastError();
            return 0;
        }
    }
}

std::size_t sendNow(tcp::socket& socket, std::string_view bytes, std::error_code& error, int flags = 0) {
    for (;;) {
        const ssize_t count =
            ::send(socket.native_handle(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL | flags);
        if (count >= 0) {
            error.clear();
            return static_cast<std::size_t>(count);
        }
        if (errno != EINTR) {
            error = lastError();
            return 0;
        }
    }
}

SDKHTTPResponse parseErrorResponse(SDKHTTPParseError error) {
    const auto status = [error] {
        switch (error) {
        case SDKHTTPParseError::malformed:
            return 400;
        case SDKHTTPParseError::headersTooLarge:
        case SDKHTTPParseError::bodyTooLarge:
            return 413;
        case SDKHTTPParseError::unsupportedTransferEncoding:
            // Length Required: the client is told to send a Content-Length instead.
            return 411;
        }
        std::unreachable();
    }();
    return SDKHTTPResponse::error(status, "bad_request", "Malformed request.");
}

} // namespace

struct SDKHTTPServer::Session : std::enable_shared_from_this<Session> {
    struct Outgoing {
        std::string bytes;
        std::function<void()> then;
    };

    Session(SDKHTTPServer& server, tcp::socket socket, std::uint64_t id)
        : server(server), socket(std::move(socket)), id(id) {}

    // Everything below runs on the server's thread only.

    // Closes the connection when `moment` passes (the idle limit, or the wait after a response);
    // `Clock::time_point::max()` means never.
    void closeAt(Clock::time_point moment) {
        deadline = moment;
        if (moment != Clock::time_point::max())
            server.sweepBy(moment);
    }

    // Reads what has arrived, into the parser, until a request is complete; waits for the socket
    // when nothing more is there.
    void receive() {
        while (!closed) {
            std::error_code error;
            const std::size_t count = receiveNow(socket, server.receiveBuffer.get(), receiveChunkBytes, error);
            if (error == asio::error::would_block) {
                whenReadable(&Session::receive);
                return;
            }
            // The peer finished sending, or the socket failed, before the request was complete:
            // dropped without a response.
            if (error) {
                close();
                return;
            }
            auto fed = parser.feed(std::string_view(server.receiveBuffer.get(), count));
            if (!fed) {
                closeAt(Clock::time_point::max());
                watch();
                finish(parseErrorResponse(fed.error()));
                return;
            }
            if (*fed) {
                received(std::move(**fed));
                return;
            }
        }
    }

    // Hands a complete request to the handlers; from here on it is never timed out.
    void received(SDKHTTPRequest request) {
        closeAt(Clock::time_point::max());
        if (server.immediate) {
            std::optional<SDKRouteResult> answer;
            try {
                answer = server.immediate(request);
            } catch (...) {
                answer = internalError();
            }
            if (answer) {
                settle(std::move(*answer));
                lingerOrWatch();
                return;
            }
        }
        // A held request (a hook waiting for the user, a consent prompt) learns from the watch that
        // its client has gone.
        watch();
        auto self = shared_from_this();
        connection = handOver(self, server.context->get_executor());
        asio::co_spawn(socket.get_executor(), answer(self, std::move(request)),
                       [self](std::exception_ptr failure) {
                           if (failure)
                               self->close();
                       });
    }

    // The handle a handler that waits keeps to the connection; requests answered at once never need
    // one, so it is made only here.
    static std::shared_ptr<SDKConnection> handOver(const std::weak_ptr<Session>& weak, Executor executor) {
        return std::make_shared<SDKConnection>(
            [weak, executor](std::string bytes) {
                // Inline on the server's thread keeps a handler's sends in order with its response.
                asio::dispatch(executor, [weak, bytes = std::move(bytes)]() mutable {
                    if (const auto alive = weak.lock())
                        alive->push(std::move(bytes));
                });
            },
            [weak, executor] {
                // Always queued, so close handlers never run inside the caller's own call.
                asio::post(executor, [weak] {
                    if (const auto alive = weak.lock())
                        alive->close();
                });
            });
    }

    asio::awaitable<void> answer(std::shared_ptr<Session> self, SDKHTTPRequest request) {
        SDKRouteResult result = co_await server.runHandler(std::move(request), connection);
        self->settle(std::move(result));
    }

    void settle(SDKRouteResult result) {
        if (closed)
            return;
        if (auto* response = std::get_if<SDKRouteResult::Response>(&result.kind)) {
            finish(response->response);
            return;
        }
        streaming = true;
        if (peerFinished)
            close();
    }

    static SDKRouteResult internalError() {
        return SDKRouteResult::response(
            SDKHTTPResponse::error(500, "internal_error", "The request couldn't be handled."));
    }

    // Runs `next` once the socket has something to read (or has failed); at once when it already has.
    void whenReadable(void (Session::*next)()) {
        socket.async_wait(tcp::socket::wait_read, [self = shared_from_this(), next](std::error_code error) {
            if (self->closed)
                return;
            if (error) {
                self->close();
                return;
            }
            ((*self).*next)();
        });
    }

    // Once the request is read, the socket is read only to notice the peer: a reset closes the
    // connection (so a held request or a stream learns its client is gone); an orderly end of the
    // peer's sending is remembered, and ends a stream or a finished response at once. Bytes that
    // arrive after the request are dropped.
    void watch() {
        if (watching || closed)
            return;
        watching = true;
        whenReadable(&Session::drain);
    }

    // After a response that went out at once, the peer's close is looked for when the next
    // connection arrives, or at the deadline 50 ms on, instead of by a wait on this socket: the wait
    // cost two system calls on every connection (making the socket non-blocking for Asio, and
    // arming it), and a client that reads its response and closes is usually followed by its next
    // connection. A response still on its way, a stream or a held request keeps the wait.
    void lingerOrWatch() {
        if (closed || watching)
            return;
        if (!responseSent) {
            watch();
            return;
        }
        server.lingering.push_back(shared_from_this());
    }

    // For a lingering connection: drops what the peer sent after the request and closes once it
    // has finished sending (or failed). True when the connection is closed.
    bool settleLinger() {
        dropUntilPeerEnds();
        return closed;
    }

    void drain() {
        if (!dropUntilPeerEnds())
            whenReadable(&Session::drain);
    }

    // Reads and drops what has arrived; false when the peer may still send more. Its orderly end
    // closes a stream or a connection whose response has gone, a failure any connection.
    bool dropUntilPeerEnds() {
        while (!closed) {
            std::error_code error;
            receiveNow(socket, server.receiveBuffer.get(), receiveChunkBytes, error);
            if (!error)
                continue;
            if (error == asio::error::would_block)
                return false;
            if (error == asio::error::eof) {
                peerFinished = true;
                if (streaming || responseSent)
                    close();
                return true;
            }
            close();
        }
        return true;
    }

    // Bytes a handler sends on its own (an event stream): small writes in a row, so they go out
    // without waiting for the previous one to be acknowledged.
    void push(std::string bytes) {
        if (closed)
            return;
        if (!noDelay) {
            noDelay = true;
            std::error_code ignored;
            socket.set_option(tcp::no_delay(true), ignored);
        }
        enqueue(std::move(bytes), {});
    }

    // Writes at once what the socket takes; the rest, and anything queued behind it, goes out
    // asynchronously in order. `sendFlags` go with the write made at once.
    void enqueue(std::string bytes, std::function<void()> then, int sendFlags = 0) {
        if (closed)
            return;
        if (!writing) {
            std::error_code error;
            const std::size_t written = sendNow(socket, bytes, error, sendFlags);
            if (error && error != asio::error::would_block) {
                close();
                return;
            }
            if (!error && written == bytes.size()) {
                if (then)
                    then();
                return;
            }
            bytes.erase(0, error ? 0 : written);
        }
        outbox.push_back(Outgoing{std::move(bytes), std::move(then)});
        if (!writing)
            writeNext();
    }

    void writeNext() {
        writing = true;
        asio::async_write(socket, asio::buffer(outbox.front().bytes),
                          [self = shared_from_this()](std::error_code error, std::size_t) {
                              Outgoing done = std::move(self->outbox.front());
                              self->outbox.pop_front();
                              if (error) {
                                  self->outbox.clear();
                                  self->writing = false;
                                  self->close();
                                  return;
                              }
                              if (done.then)
                                  done.then();
                              if (self->outbox.empty() || self->closed)
                                  self->writing = false;
                              else
                                  self->writeNext();
                          });
    }

    // Sends the final response; the socket closes 50 ms after it is written, or at once when the
    // peer has already finished sending. The end of the server's sending goes out right behind the
    // response, so the client sees the response end without waiting, and the connection's
    // TIME_WAIT stays on this side, as with any server that closes first: left to clients that open
    // thousands of connections a second, it exhausted their ports. The socket is still read to the
    // peer's close, so unread bytes never turn the close into a reset that could cut the response.
    // The response is written with MSG_MORE, which holds its last piece until the end of sending
    // joins it: the client cannot read the response, close and so take the TIME_WAIT itself in the
    // moment between the write and the shutdown (a moment that grows when the thread is preempted).
    void finish(const SDKHTTPResponse& response) {
        enqueue(response.serialized(), [this] {
            responseSent = true;
            if (peerFinished) {
                close();
                return;
            }
            std::error_code ignored;
            socket.shutdown(tcp::socket::shutdown_send, ignored);
            closeAt(Clock::now() + lingerAfterResponse);
        }, MSG_MORE);
    }

    void close() {
        if (closed)
            return;
        closed = true;
        deadline = Clock::time_point::max();
        std::error_code ignored;
        socket.close(ignored);
        server.forget(id);
        if (connection)
            connection->markClosed();
    }

    SDKHTTPServer& server;
    tcp::socket socket;
    std::uint64_t id;
    SDKHTTPParser parser;
    std::shared_ptr<SDKConnection> connection;
    std::deque<Outgoing> outbox;
    Clock::time_point deadline = Clock::time_point::max();
    bool writing = false;
    bool closed = false;
    bool peerFinished = false;
    bool responseSent = false;
    bool streaming = false;
    bool watching = false;
    bool noDelay = false;
};

std::string SDKHTTPServer::StartError::message() const {
    if (const auto* inUse = std::get_if<PortInUse>(&kind))
        return std::to_string(inUse->port) + " is in use by another app. Quit it, then turn the bridge off and on.";
    return "Couldn't start: " + std::get<Failed>(kind).text;
}

SDKHTTPServer::SDKHTTPServer(Handler handler, ImmediateHandler immediate)
    : handler(std::move(handler)), immediate(std::move(immediate)), context(std::make_unique<asio::io_context>(1)),
      receiveBuffer(std::make_unique_for_overwrite<char[]>(receiveChunkBytes)),
      sweeper(std::make_unique<asio::steady_timer>(*context)) {
    work.emplace(context->get_executor());
    thread = std::thread([this] { context->run(); });
}

SDKHTTPServer::~SDKHTTPServer() {
    stop();
    work.reset();
    context->stop();
    thread.join();
    // Suspended handlers die with the context, while everything they might touch still exists.
    sweeper.reset();
    context.reset();
}

std::expected<void, SDKHTTPServer::StartError> SDKHTTPServer::start(std::uint16_t requestedPort) {
    std::lock_guard guard(lifecycle);
    if (running.load())
        return {};

    auto acceptor = std::make_shared<tcp::acceptor>(*context);
    const tcp::endpoint endpoint(asio::ip::address_v4::loopback(), requestedPort);
    std::error_code error;
    const auto failure = [&]() -> std::unexpected<StartError> {
        std::error_code ignored;
        acceptor->close(ignored);
        if (error == asio::error::address_in_use)
            return std::unexpected(StartError::portInUse(requestedPort));
        return std::unexpected(StartError::failed(error.message()));
    };
    if (acceptor->open(endpoint.protocol(), error); error)
        return failure();
    if (acceptor->set_option(tcp::acceptor::reuse_address(true), error); error)
        return failure();
    if (acceptor->bind(endpoint, error); error)
        return failure();
    if (acceptor->listen(asio::socket_base::max_listen_connections, error); error)
        return failure();
    const auto local = acceptor->local_endpoint(error);
    if (error)
        return failure();

    listener = acceptor;
    boundPort.store(local.port());
    running.store(true);
    asio::post(*context, [this, acceptor = std::move(acceptor)] { acceptNext(acceptor); });
    return {};
}

void SDKHTTPServer::stop() {
    std::lock_guard guard(lifecycle);
    if (context->get_executor().running_in_this_thread()) {
        shutdownOnThread();
        return;
    }
    std::promise<void> done;
    asio::post(*context, [&] {
        shutdownOnThread();
        done.set_value();
    });
    done.get_future().wait();
}

void SDKHTTPServer::shutdownOnThread() {
    if (listener) {
        std::error_code ignored;
        listener->close(ignored);
        listener.reset();
    }
    std::vector<std::shared_ptr<Session>> open;
    {
        std::lock_guard guard(lock);
        for (auto& [id, session] : connections)
            open.push_back(session);
    }
    for (auto& session : open)
        session->close();
    lingering.clear();
    {
        std::lock_guard guard(lock);
        connections.clear();
    }
    sweeper->cancel();
    sweepAt = Clock::time_point::max();
    boundPort.store(0);
    running.store(false);
}

std::size_t SDKHTTPServer::connectionCount() const {
    std::lock_guard guard(lock);
    return connections.size();
}

SDKHTTPServer::Executor SDKHTTPServer::executor() const {
    return context->get_executor();
}

void SDKHTTPServer::forget(std::uint64_t sessionID) {
    std::lock_guard guard(lock);
    connections.erase(sessionID);
}

void SDKHTTPServer::acceptNext(const std::shared_ptr<tcp::acceptor>& acceptor) {
    // Each accept is first tried at once, so a backlog of connections is taken one after the other
    // without waiting; only an empty backlog waits for the listener to be ready again.
    auto socket = std::make_shared<tcp::socket>(*context);
    auto peer = std::make_shared<tcp::endpoint>();
    acceptor->async_accept(*socket, *peer, [this, acceptor, socket, peer](std::error_code error) {
        if (!error) {
            settleLingering();
            admit(std::move(*socket), *peer);
            acceptNext(acceptor);
            return;
        }
        if (error == asio::error::operation_aborted || !acceptor->is_open())
            return;
        if (error == asio::error::connection_aborted) {
            acceptNext(acceptor);
            return;
        }
        // Out of descriptors, most likely: pause instead of spinning on the error.
        auto pause = std::make_shared<asio::steady_timer>(*context, acceptRetryDelay);
        pause->async_wait([this, acceptor, pause](std::error_code) { acceptNext(acceptor); });
    });
}

void SDKHTTPServer::settleLingering() {
    std::erase_if(lingering, [](const std::shared_ptr<Session>& session) { return session->settleLinger(); });
}

void SDKHTTPServer::admit(tcp::socket socket, const tcp::endpoint& peer) {
    std::error_code error;
    if (!peer.address().is_loopback()) {
        socket.close(error);
        return;
    }

    std::shared_ptr<Session> session;
    {
        std::lock_guard guard(lock);
        if (connections.size() >= connectionLimit.load()) {
            socket.close(error);
            return;
        }
        session = std::make_shared<Session>(*this, std::move(socket), nextSessionID++);
        connections.emplace(session->id, session);
    }

    session->closeAt(Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                        std::chrono::duration<double>(readTimeoutSeconds.load())));
    session->receive();
}

void SDKHTTPServer::sweepBy(Clock::time_point deadline) {
    if (deadline >= sweepAt)
        return;
    sweepAt = deadline;
    // Moving the timer cancels the wait already pending; that one then ends with an error and does
    // nothing, since this one sweeps.
    sweeper->expires_at(deadline);
    sweeper->async_wait([this](std::error_code error) {
        if (!error)
            sweep();
    });
}

void SDKHTTPServer::sweep() {
    sweepAt = Clock::time_point::max();
    const auto now = Clock::now();
    std::vector<std::shared_ptr<Session>> expired;
    auto next = Clock::time_point::max();
    {
        std::lock_guard guard(lock);
        for (const auto& [id, session] : connections) {
            if (session->deadline <= now)
                expired.push_back(session);
            else
                next = std::min(next, session->deadline);
        }
    }
    // Lingering connections are read to the end first, so that none is closed over unread bytes
    // (which would answer with a reset).
    settleLingering();
    for (const auto& session : expired)
        session->close();
    if (next != Clock::time_point::max())
        sweepBy(next);
}

asio::awaitable<SDKRouteResult> SDKHTTPServer::runHandler(SDKHTTPRequest request,
                                                          std::shared_ptr<SDKConnection> connection) {
    // One failing route must not take the connection's server down: any exception, thrown while
    // building the coroutine or inside it, becomes a 500 with the usual JSON error body.
    try {
        co_return co_await handler(std::move(request), std::move(connection));
    } catch (...) {
        co_return SDKRouteResult::response(
            SDKHTTPResponse::error(500, "internal_error", "The request couldn't be handled."));
    }
}

} // namespace brind
