#include "vantaquill/wayland/WaylandFlavourSender.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <pthread.h>
#include <thread>
#include <unistd.h>

namespace vq {

void WaylandFlavourSender::send(const ClipFlavours& flavours, std::string_view mimeType, int descriptor) {
    const auto flavour = std::ranges::find_if(
        flavours, [mimeType](const ClipFlavour& each) { return each.mimeType == mimeType; });
    if (flavour == flavours.end()) {
        ::close(descriptor);
        return;
    }
    std::thread([descriptor, bytes = flavour->data] {
        // A reader that closes early must cost an error here, not the island's life.
        sigset_t pipeSignal;
        sigemptyset(&pipeSignal);
        sigaddset(&pipeSignal, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
        std::size_t written = 0;
        while (written < bytes.size()) {
            const ssize_t count = ::write(descriptor, bytes.data() + written, bytes.size() - written);
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                break;
            written += static_cast<std::size_t>(count);
        }
        ::close(descriptor);
    }).detach();
}

} // namespace vq
