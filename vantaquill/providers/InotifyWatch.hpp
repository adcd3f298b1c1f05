#pragma once

#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class QSocketNotifier;

namespace vq {

/// An inotify instance read from the Qt event loop, so that nothing is polled: watches are added
/// by path, and the events the kernel queued are handed over together each time it has some.
class InotifyWatch {
public:
    struct Event {
        /// The watch it came from, as `add` returned it.
        int watch = -1;
        std::uint32_t mask = 0;
        /// Ties the two halves of a rename together.
        std::uint32_t cookie = 0;
        /// The file's name inside a watched folder; empty for the watched path itself.
        std::string name;
    };
    using OnEvents = std::function<void(const std::vector<Event>&)>;

    /// Nothing, with the kernel's reason, when no instance can be had.
    static std::expected<std::unique_ptr<InotifyWatch>, std::string> open(OnEvents onEvents);
    ~InotifyWatch();
    InotifyWatch(const InotifyWatch&) = delete;
    InotifyWatch& operator=(const InotifyWatch&) = delete;

    /// The new watch, or the reason the path cannot be watched.
    std::expected<int, std::string> add(const std::filesystem::path& path, std::uint32_t events);
    /// Reads nothing more (what is watched went away for good).
    void pause();

private:
    InotifyWatch(int descriptor, OnEvents onEvents);
    void read();

    int descriptor_;
    OnEvents onEvents_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace vq
