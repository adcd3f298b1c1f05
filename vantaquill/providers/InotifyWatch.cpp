#include "vantaquill/providers/InotifyWatch.hpp"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/inotify.h>
#include <unistd.h>

namespace vq {

std::expected<std::unique_ptr<InotifyWatch>, std::string> InotifyWatch::open(OnEvents onEvents) {
    const int descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (descriptor < 0)
        return std::unexpected(std::string(std::strerror(errno)));
    return std::unique_ptr<InotifyWatch>(new InotifyWatch(descriptor, std::move(onEvents)));
}

InotifyWatch::InotifyWatch(int descriptor, OnEvents onEvents)
    : descriptor_(descriptor), onEvents_(std::move(onEvents)),
      notifier_(std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read)) {
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { read(); });
}

InotifyWatch::~InotifyWatch() {
    notifier_.reset();
    ::close(descriptor_);
}

std::expected<int, std::string> InotifyWatch::add(const std::filesystem::path& path, std::uint32_t events) {
    const int watch = ::inotify_add_watch(descriptor_, path.c_str(), events);
    if (watch < 0)
        return std::unexpected(std::string(std::strerror(errno)));
    return watch;
}

void InotifyWatch::pause() {
    notifier_->setEnabled(false);
}

void InotifyWatch::read() {
    alignas(inotify_event) std::array<char, 64 * 1024> buffer;
    std::vector<Event> events;
    for (;;) {
        const ssize_t length = ::read(descriptor_, buffer.data(), buffer.size());
        if (length <= 0)
            break;
        for (ssize_t offset = 0; offset < length;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + offset);
            offset += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            // The name is padded with zeros to the record's length.
            events.push_back({event->wd, event->mask, event->cookie, event->len > 0 ? std::string(event->name) : ""});
        }
    }
    if (!events.empty())
        onEvents_(events);
}

} // namespace vq
