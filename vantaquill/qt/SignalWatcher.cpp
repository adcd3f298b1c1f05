#include "vantaquill/qt/SignalWatcher.hpp"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace vq {

namespace {

int pipeEnds[2] = {-1, -1};

void forwardSignal(int signal) {
    const char byte = static_cast<char>(signal);
    [[maybe_unused]] const auto written = ::write(pipeEnds[1], &byte, 1);
}

} // namespace

SignalWatcher::SignalWatcher(std::function<void()> handler) : onSignal(std::move(handler)) {
    if (::pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    notifier = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, this, [this] {
        char byte = 0;
        while (::read(pipeEnds[0], &byte, 1) > 0) {
        }
        onSignal();
    });
    struct sigaction action {};
    action.sa_handler = forwardSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

SignalWatcher::~SignalWatcher() {
    ::signal(SIGINT, SIG_DFL);
    ::signal(SIGTERM, SIG_DFL);
    notifier.reset();
    for (int& end : pipeEnds) {
        if (end >= 0)
            ::close(end);
        end = -1;
    }
}

} // namespace vq
