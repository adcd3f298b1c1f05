#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace vq {

/// The headless island's lines on standard output. A terminal or a file is written as usual; a
/// pipe or a socket (a script, the journal) is written without blocking, so a reader that stops
/// reading never stops the island: lines wait in a bounded buffer, and past it they are dropped
/// and counted, and the count is written as a line of its own once the reader takes lines again.
/// Every line that arrives arrives whole.
class ConsoleOutput {
public:
    /// How much waits for a slow reader before lines are dropped.
    static constexpr std::size_t waitingLimit = 256 * 1024;

    explicit ConsoleOutput(int descriptor);
    ConsoleOutput(const ConsoleOutput&) = delete;
    ConsoleOutput& operator=(const ConsoleOutput&) = delete;

    void line(std::string_view text);
    /// Writes what waits, as far as the reader takes it; call when the descriptor is writable.
    void flush();
    bool waiting() const { return !waiting_.empty(); }
    /// Told when lines start or stop waiting, to watch the descriptor for room meanwhile.
    std::function<void(bool waiting)> onWaiting;

private:
    void writeWaiting();

    int descriptor_;
    bool nonBlocking_ = false;
    std::string waiting_;
    std::size_t dropped_ = 0;
};

} // namespace vq
