#include "bench/soak/SlowSockets.hpp"

#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vq::soak {

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto byteInterval = std::chrono::seconds(1);
constexpr auto reopenDelay = std::chrono::seconds(1);

} // namespace

SlowSockets::SlowSockets(std::uint16_t port, std::size_t count)
    : port(port),
      head("POST /v1/activities HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
           "\r\nContent-Type: application/json\r\nUser-Agent: a-very-slow-client-that-never-finishes\r\n"),
      sockets(count), poller(::epoll_create1(EPOLL_CLOEXEC)) {
    const auto now = Clock::now();
    for (auto& socket : sockets)
        open(socket, now);
    worker = std::thread([this] { run(); });
}

SlowSockets::~SlowSockets() { stop(); }

SlowSockets::Figures SlowSockets::stop() {
    stopping.store(true);
    if (worker.joinable())
        worker.join();
    for (auto& socket : sockets) {
        if (socket.descriptor >= 0) {
            ++figures.stillOpen;
            ::close(socket.descriptor);
            socket.descriptor = -1;
        }
    }
    if (poller >= 0) {
        ::close(poller);
        poller = -1;
    }
    return figures;
}

void SlowSockets::open(Socket& socket, Clock::time_point now) {
    socket.descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (socket.descriptor < 0) {
        ++figures.openFailures;
        socket.reopenAt = now + reopenDelay;
        return;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket.descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 && errno != EINPROGRESS) {
        ++figures.openFailures;
        ::close(socket.descriptor);
        socket.descriptor = -1;
        socket.reopenAt = now + reopenDelay;
        return;
    }
    epoll_event event{};
    event.events = EPOLLIN | EPOLLRDHUP;
    event.data.ptr = &socket;
    ::epoll_ctl(poller, EPOLL_CTL_ADD, socket.descriptor, &event);
    ++figures.connections;
    socket.openedAt = now;
    socket.nextByteAt = now;
    socket.sent = 0;
}

void SlowSockets::closedByServer(Socket& socket, Clock::time_point now, bool answered) {
    const double held = std::chrono::duration<double>(now - socket.openedAt).count();
    if (answered)
        ++figures.answered;
    if (held < 1.0)
        ++figures.refusedAtOnce;
    else
        ++figures.droppedLater;
    figures.longestHeldSeconds = std::max(figures.longestHeldSeconds, held);
    ::epoll_ctl(poller, EPOLL_CTL_DEL, socket.descriptor, nullptr);
    ::close(socket.descriptor);
    socket.descriptor = -1;
    socket.reopenAt = now + reopenDelay;
}

void SlowSockets::run() {
    std::vector<epoll_event> events(256);
    while (!stopping.load()) {
        const int ready = ::epoll_wait(poller, events.data(), static_cast<int>(events.size()), 20);
        const auto now = Clock::now();
        for (int i = 0; i < ready; ++i) {
            auto& socket = *static_cast<Socket*>(events[static_cast<std::size_t>(i)].data.ptr);
            char buffer[512];
            const ssize_t count = ::recv(socket.descriptor, buffer, sizeof buffer, 0);
            if (count > 0)
                closedByServer(socket, now, true);
            else if (count == 0 || (errno != EAGAIN && errno != EWOULDBLOCK))
                closedByServer(socket, now, false);
        }
        for (auto& socket : sockets) {
            if (socket.descriptor < 0) {
                if (now >= socket.reopenAt)
                    open(socket, now);
                continue;
            }
            if (now < socket.nextByteAt || socket.sent >= head.size())
                continue;
            // Before the connection is established the byte is simply tried again a second later.
            if (::send(socket.descriptor, head.data() + socket.sent, 1, MSG_NOSIGNAL) == 1)
                ++socket.sent;
            socket.nextByteAt += byteInterval;
        }
    }
}

} // namespace vq::soak
