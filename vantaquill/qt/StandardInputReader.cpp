#include "vantaquill/qt/StandardInputReader.hpp"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace vq {

StandardInputReader::StandardInputReader(std::function<void(const std::string&)> handler)
    : onLine(std::move(handler)) {
    struct stat status {};
    if (::fstat(STDIN_FILENO, &status) != 0)
        return;
    if (!S_ISFIFO(status.st_mode) && !S_ISSOCK(status.st_mode) && !::isatty(STDIN_FILENO))
        return;
    notifier = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, this, [this] { readAvailable(); });
}

void StandardInputReader::readAvailable() {
    char buffer[4096];
    const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (count <= 0) {
        notifier->setEnabled(false);
        return;
    }
    pending.append(buffer, static_cast<std::size_t>(count));
    std::size_t end;
    while ((end = pending.find('\n')) != std::string::npos) {
        const std::string line = pending.substr(0, end);
        pending.erase(0, end + 1);
        onLine(line);
    }
}

} // namespace vq
