#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <functional>
#include <memory>
#include <string>

namespace vq {

/// Hands each line typed on standard input to a function on the main thread. Reads only from a
/// terminal, a pipe or a socket; stops at the end of input.
class StandardInputReader final : public QObject {
public:
    explicit StandardInputReader(std::function<void(const std::string& line)> onLine);

private:
    void readAvailable();

    std::function<void(const std::string&)> onLine;
    std::unique_ptr<QSocketNotifier> notifier;
    std::string pending;
};

} // namespace vq
