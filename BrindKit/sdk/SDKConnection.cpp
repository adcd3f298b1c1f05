#include "BrindKit/sdk/SDKConnection.hpp"

#include <utility>

namespace brind {

SDKConnection::SDKConnection(Sender sender, Closer closer) : sender(std::move(sender)), closer(std::move(closer)) {}

void SDKConnection::send(std::string bytes) {
    if (sender)
        sender(std::move(bytes));
}

void SDKConnection::close() {
    if (closer)
        closer();
}

bool SDKConnection::isClosed() const {
    std::lock_guard guard(lock);
    return closed;
}

void SDKConnection::onClose(std::function<void()> handler) {
    {
        std::lock_guard guard(lock);
        if (!closed) {
            closeHandlers.push_back(std::move(handler));
            return;
        }
    }
    handler();
}

void SDKConnection::markClosed() {
    std::vector<std::function<void()>> handlers;
    {
        std::lock_guard guard(lock);
        if (closed)
            return;
        closed = true;
        handlers.swap(closeHandlers);
    }
    // Outside the lock: a handler may well look at this connection again.
    for (auto& handler : handlers)
        handler();
}

} // namespace brind
