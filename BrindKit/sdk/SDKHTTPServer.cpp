#include "BrindKit/sdk/SDKHTTPServer.hpp"

#include "BrindKit/sdk/SDKHTTPParser.hpp"
#include "BrindKit/sdk/SDKHTTPResponse.hpp"

#include <asio/experimental/as_tuple.hpp>
#include <asio/experimental/awaitable_operators.hpp>

#include <array>
#include <chrono>
#include <deque>
#include <future>
#include <utility>
#include <vector>

namespace brind {

namespace {

using asio::ip::tcp;

// Reads ask for up to this much at a time.
constexpr std::size_t receiveChunkBytes = 65536;
// Bytes that arrive after the request are read only to notice the peer closing, never parsed.
constexpr std::size_t drainChunkBytes = 4096;
// After a response, the client gets this long to read it before the socket is closed.
constexpr auto lingerAfterResponse = std::chrono::milliseconds(50);
// When accepting fails for want of descriptors, pause instead of spinning on the error.
constexpr auto acceptRetryDelay = std::chrono::milliseconds(50);

const auto useTuple = asio::experimental::as_tuple(asio::use_awaitable);

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

// The peer went away (or the server closed the socket) before a complete request arrived.
struct PeerGone {};

using ReadOutcome = std::variant<SDKHTTPRequest, SDKHTTPParseError, PeerGone>;

} // namespace

struct SDKHTTPServer::Session : std::enable_shared_from_this<Session> {
    struct Outgoing {
        std::string bytes;
        std::function<void()> then;
    };

    Session(SDKHTTPServer& server, tcp::socket socket, std::uint64_t id)
        : server(server), socket(std::move(socket)), linger(this->socket.get_executor()), id(id) {}

    // Everything below runs on the server's thread only.

    void enqueue(std::string bytes, std::function<void()> then) {
        if (closed)
            return;
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
    // peer has already finished sending.
    void finish(const SDKHTTPResponse& response) {
        enqueue(response.serialized(), [self = shared_from_this()] {
            self->responseSent = true;
            if (self->peerFinished) {
                self->close();
                return;
            }
            self->linger.expires_after(lingerAfterResponse);
            self->linger.async_wait([self](std::error_code) { self->close(); });
        });
    }

    void close() {
        if (closed)
            return;
        closed = true;
        std::error_code ignored;
        socket.close(ignored);
        linger.cancel();
        server.forget(id);
        connection->markClosed();
    }

    // Watches the socket once the request is read: a reset closes the connection (so a held
    // request or a stream learns its client is gone); an orderly end of the peer's sending is
    // remembered, and ends a stream or a finished response at once.
    asio::awaitable<void> watchPeer() {
        auto self = shared_from_this();
        std::array<char, drainChunkBytes> sink; // only ever written by the socket
        while (!closed) {
            const auto [error, count] = co_await socket.async_read_some(asio::buffer(sink), useTuple);
            if (!error)
                continue;
            if (error == asio::error::eof && !closed) {
                peerFinished = true;
                if (streaming || responseSent)
                    close();
                co_return;
            }
            close();
            co_return;
        }
    }

    SDKHTTPServer& server;
    tcp::socket socket;
    asio::steady_timer linger;
    std::uint64_t id;
    SDKHTTPParser parser;
    std::shared_ptr<SDKConnection> connection;
    std::deque<Outgoing> outbox;
    bool writing = false;
    bool closed = false;
    bool peerFinished = false;
    bool responseSent = false;
    bool streaming = false;
};

std::string SDKHTTPServer::StartError::message() const {
    if (const auto* inUse = std::get_if<PortInUse>(&kind))
        return std::to_string(inUse->port) + " is in use by another app. Quit it, then turn the bridge off and on.";
    return "Couldn't start: " + std::get<Failed>(kind).text;
}

SDKHTTPServer::SDKHTTPServer(Handler handler)
    : handler(std::move(handler)), context(std::make_unique<asio::io_context>(1)) {
    work.emplace(context->get_executor());
    thread = std::thread([this] { context->run(); });
}

SDKHTTPServer::~SDKHTTPServer() {
    stop();
    work.reset();
    context->stop();
    thread.join();
    // Suspended handlers die with the context, while everything they might touch still exists.
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
    asio::co_spawn(*context, acceptLoop(std::move(acceptor)), asio::detached);
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
    {
        std::lock_guard guard(lock);
        connections.clear();
    }
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

asio::awaitable<void> SDKHTTPServer::acceptLoop(std::shared_ptr<tcp::acceptor> acceptor) {
    asio::steady_timer pause(acceptor->get_executor());
    while (acceptor->is_open()) {
        auto [error, socket] = co_await acceptor->async_accept(useTuple);
        if (!error) {
            admit(std::move(socket));
            continue;
        }
        if (error == asio::error::operation_aborted || !acceptor->is_open())
            co_return;
        pause.expires_after(acceptRetryDelay);
        co_await pause.async_wait(useTuple);
    }
}

void SDKHTTPServer::admit(tcp::socket socket) {
    std::error_code error;
    const auto peer = socket.remote_endpoint(error);
    if (error || !peer.address().is_loopback()) {
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
    session->socket.set_option(tcp::no_delay(true), error);

    const std::weak_ptr<Session> weak = session;
    const Executor executor = context->get_executor();
    session->connection = std::make_shared<SDKConnection>(
        [weak, executor](std::string bytes) {
            // Inline on the server's thread keeps a handler's sends in order with its response.
            asio::dispatch(executor, [weak, bytes = std::move(bytes)]() mutable {
                if (const auto alive = weak.lock())
                    alive->enqueue(std::move(bytes), {});
            });
        },
        [weak, executor] {
            // Always queued, so close handlers never run inside the caller's own call.
            asio::post(executor, [weak] {
                if (const auto alive = weak.lock())
                    alive->close();
            });
        });

    asio::co_spawn(executor, serve(session), [session](std::exception_ptr failure) {
        if (failure)
            session->close();
    });
}

namespace {

asio::awaitable<ReadOutcome> readRequest(tcp::socket& socket, SDKHTTPParser& parser) {
    // Left uninitialised: clearing 64 KiB per connection is measurable at thousands of requests a second.
    const auto chunk = std::make_unique_for_overwrite<char[]>(receiveChunkBytes);
    while (true) {
        const auto [error, count] =
            co_await socket.async_read_some(asio::buffer(chunk.get(), receiveChunkBytes), useTuple);
        // The peer finished sending, or the socket failed, before the request was complete.
        if (error)
            co_return PeerGone{};
        auto fed = parser.feed(std::string_view(chunk.get(), count));
        if (!fed)
            co_return fed.error();
        if (*fed)
            co_return std::move(**fed);
    }
}

// Ends without throwing when the request wins and the wait is cancelled: an exception there, thrown
// and rethrown through the race, cost more than reading and answering a whole request.
asio::awaitable<void> expire(asio::steady_timer& timer) {
    [[maybe_unused]] const auto [error] = co_await timer.async_wait(useTuple);
}

} // namespace

asio::awaitable<void> SDKHTTPServer::serve(std::shared_ptr<Session> session) {
    using namespace asio::experimental::awaitable_operators;

    asio::steady_timer watchdog(session->socket.get_executor());
    watchdog.expires_after(std::chrono::duration_cast<asio::steady_timer::duration>(
        std::chrono::duration<double>(readTimeoutSeconds.load())));
    // The operators flatten the read's variant: request, parse error, peer gone, or the watchdog.
    auto outcome = co_await (readRequest(session->socket, session->parser) || expire(watchdog));
    if (std::holds_alternative<std::monostate>(outcome) || std::holds_alternative<PeerGone>(outcome)) {
        // Idle too long, or gone before finishing: dropped without a response.
        session->close();
        co_return;
    }
    asio::co_spawn(session->socket.get_executor(), session->watchPeer(), asio::detached);
    if (const auto* error = std::get_if<SDKHTTPParseError>(&outcome)) {
        session->finish(parseErrorResponse(*error));
        co_return;
    }

    SDKRouteResult result = co_await runHandler(std::get<SDKHTTPRequest>(std::move(outcome)), session->connection);
    if (session->closed)
        co_return;
    if (auto* response = std::get_if<SDKRouteResult::Response>(&result.kind)) {
        session->finish(response->response);
        co_return;
    }
    session->streaming = true;
    if (session->peerFinished)
        session->close();
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
