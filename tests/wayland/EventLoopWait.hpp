#pragma once

#include <QEventLoop>
#include <QTimer>
#include <chrono>
#include <functional>

namespace vq::test {

/// Runs the Qt event loop (which blocks and so flushes a layer-shell surface's Wayland connection,
/// as in the application) until `condition` holds or the time-out passes. Generous: a loaded
/// two-core machine may take a while to run sway, grim and the test together.
inline bool waitUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        QEventLoop loop;
        QTimer::singleShot(10, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

} // namespace vq::test
