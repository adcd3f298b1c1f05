#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace vq {

/// Turns SIGINT and SIGTERM into a call on the main thread (through a self-pipe), so that the
/// application stops its server and flushes its files before it exits.
class SignalWatcher final : public QObject {
public:
    explicit SignalWatcher(std::function<void()> onSignal);
    ~SignalWatcher() override;

private:
    std::function<void()> onSignal;
    std::unique_ptr<QSocketNotifier> notifier;
};

} // namespace vq
