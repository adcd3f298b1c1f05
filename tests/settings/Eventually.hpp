#pragma once

#include <QCoreApplication>
#include <chrono>
#include <functional>
#include <thread>

namespace vq {

/// Runs the event loop until `done` holds or 20 s have passed (a loaded machine is slow); whether it held.
inline bool eventually(const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

} // namespace vq
