#include "vantaquill/ConsoleOutput.hpp"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vq {

ConsoleOutput::ConsoleOutput(int descriptor) : descriptor_(descriptor) {
    // A terminal's open file is shared with the shell, which must not find it non-blocking; a pipe's
    // or socket's writing end is the island's own.
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !(S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode)))
        return;
    const int flags = ::fcntl(descriptor, F_GETFL);
    nonBlocking_ = flags != -1 && ::fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) == 0;
}

void ConsoleOutput::line(std::string_view text) {
    flush();
    const bool wasWaiting = waiting();
    if (nonBlocking_ && waiting_.size() + text.size() + 1 > waitingLimit) {
        ++dropped_;
    } else {
        waiting_.append(text);
        waiting_.push_back('\n');
        writeWaiting();
    }
    if (onWaiting && waiting() != wasWaiting)
        onWaiting(waiting());
}

void ConsoleOutput::flush() {
    const bool wasWaiting = waiting();
    writeWaiting();
    if (dropped_ > 0 && waiting_.empty()) {
        waiting_ = "(" + std::to_string(dropped_) + (dropped_ == 1 ? " line was" : " lines were") +
                   " dropped: nothing read them in time)\n";
        dropped_ = 0;
        writeWaiting();
    }
    if (onWaiting && waiting() != wasWaiting)
        onWaiting(waiting());
}

void ConsoleOutput::writeWaiting() {
    std::size_t written = 0;
    while (written < waiting_.size()) {
        const ssize_t count = ::write(descriptor_, waiting_.data() + written, waiting_.size() - written);
        if (count > 0) {
            written += static_cast<std::size_t>(count);
        } else if (count < 0 && errno == EINTR) {
            continue;
        } else {
            // Full (the rest waits for the next line) or gone (nothing more can be written).
            if (count < 0 && errno != EAGAIN && errno != EWOULDBLOCK)
                written = waiting_.size();
            break;
        }
    }
    waiting_.erase(0, written);
}

} // namespace vq
