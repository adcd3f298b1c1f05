#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace vq::soak {

/// A slowloris: `count` connections to 127.0.0.1:`port`, each trickling a request head one byte a
/// second so that it never completes. A connection the server closes is opened again a second later,
/// as the attack does, until `stop`.
class SlowSockets {
public:
    struct Figures {
        std::size_t connections = 0;        ///< opened in all
        std::size_t refusedAtOnce = 0;      ///< closed by the server within a second of opening
        std::size_t droppedLater = 0;       ///< closed by the server after holding the connection
        std::size_t answered = 0;           ///< received any byte from the server (never expected)
        std::size_t stillOpen = 0;          ///< open when the run stopped
        double longestHeldSeconds = 0;      ///< the longest a connection stayed open
        std::size_t openFailures = 0;       ///< sockets that could not even be created or connected
    };

    SlowSockets(std::uint16_t port, std::size_t count);
    ~SlowSockets();
    SlowSockets(const SlowSockets&) = delete;
    SlowSockets& operator=(const SlowSockets&) = delete;

    /// Ends the attack, closing every socket; the figures of the whole run.
    Figures stop();

private:
    struct Socket {
        int descriptor = -1;
        std::chrono::steady_clock::time_point openedAt;
        std::chrono::steady_clock::time_point nextByteAt;
        std::chrono::steady_clock::time_point reopenAt;
        std::size_t sent = 0;
    };

    void run();
    void open(Socket& socket, std::chrono::steady_clock::time_point now);
    void closedByServer(Socket& socket, std::chrono::steady_clock::time_point now, bool answered);

    std::uint16_t port;
    std::string head;
    std::vector<Socket> sockets;
    int poller = -1;
    Figures figures;
    std::atomic<bool> stopping{false};
    std::thread worker;
};

} // namespace vq::soak
