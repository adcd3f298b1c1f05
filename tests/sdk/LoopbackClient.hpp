#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace brind::testing {

/// A blocking loopback TCP client whose every wait is bounded, for talking to a server under test.
class LoopbackClient {
public:
    explicit LoopbackClient(std::uint16_t port) : fd(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connected = fd >= 0 && ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~LoopbackClient() {
        if (fd >= 0)
            ::close(fd);
    }
    LoopbackClient(const LoopbackClient&) = delete;
    LoopbackClient& operator=(const LoopbackClient&) = delete;

    bool isConnected() const { return connected; }

    bool send(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t sent = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0)
                return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }

    void finishSending() { ::shutdown(fd, SHUT_WR); }

    struct Read {
        std::string bytes;
        bool closedByPeer = false; ///< false when the time limit ran out first
    };

    /// Reads until the server closes or `limit` passes, or `enough` bytes have arrived.
    Read read(std::chrono::milliseconds limit = std::chrono::seconds(5), std::size_t enough = SIZE_MAX) {
        Read result;
        const auto deadline = std::chrono::steady_clock::now() + limit;
        char chunk[65536];
        while (result.bytes.size() < enough) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0)
                return result;
            pollfd waiting{.fd = fd, .events = POLLIN, .revents = 0};
            if (::poll(&waiting, 1, static_cast<int>(left.count())) <= 0)
                return result;
            const ssize_t count = ::recv(fd, chunk, sizeof chunk, 0);
            if (count <= 0) {
                result.closedByPeer = true;
                return result;
            }
            result.bytes.append(chunk, static_cast<std::size_t>(count));
        }
        return result;
    }

private:
    int fd = -1;
    bool connected = false;
};

} // namespace brind::testing
