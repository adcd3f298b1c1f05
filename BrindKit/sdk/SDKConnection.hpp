#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace brind {

/// The handle of one open SDK connection, shared by the server and a handler that keeps the
/// connection (an event stream or a held hook call).
///
/// `send` and `close` only forward to the functions the server installed, so a handler may call them
/// from any thread; the server delivers the bytes in order on its own thread. The connection goes
/// from open to closed exactly once: `markClosed` runs every close handler once, outside the lock.
class SDKConnection {
public:
    using Sender = std::function<void(std::string bytes)>;
    using Closer = std::function<void()>;

    /// A connection without a socket (both functions may be empty): sends and closes go nowhere.
    SDKConnection() = default;
    SDKConnection(Sender sender, Closer closer);

    SDKConnection(const SDKConnection&) = delete;
    SDKConnection& operator=(const SDKConnection&) = delete;

    /// Queues bytes for the socket; after the connection has closed they are dropped.
    void send(std::string bytes);

    /// Asks the server to cancel the socket; `onClose` handlers run once it has.
    void close();

    bool isClosed() const;

    /// Runs `handler` when the connection closes, or at once when it already has.
    void onClose(std::function<void()> handler);

    /// Called by the server when the socket has gone: sets `closed` and runs the close handlers.
    void markClosed();

private:
    mutable std::mutex lock;
    bool closed = false;
    std::vector<std::function<void()>> closeHandlers;
    Sender sender;
    Closer closer;
};

} // namespace brind
