#include "vantaquill/providers/Reconnection.hpp"

#include <algorithm>
#include <sys/inotify.h>
#include <utility>

namespace vq {

namespace {

bool isThere(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::exists(path, error);
}

} // namespace

Reconnection::Reconnection(Scheduler& scheduler, std::function<void()> retry,
                           std::optional<std::filesystem::path> socket)
    : scheduler_(scheduler), retry_(std::move(retry)), socket_(std::move(socket)) {}

void Reconnection::failed() {
    if (awaitSocket())
        return;
    timer_ = scheduler_.schedule(delay_, [this] {
        auto fired = std::move(timer_);
        retry_();
    });
    delay_ = std::min(delay_ * 2, longestDelay);
}

void Reconnection::succeeded() {
    delay_ = firstDelay;
}

void Reconnection::cancel() {
    timer_.reset();
    watch_.reset();
    delay_ = firstDelay;
}

bool Reconnection::awaitSocket() {
    watch_.reset();
    if (!socket_ || isThere(*socket_))
        return false;
    // The deepest folder of the way that exists: what appears next is made in it.
    auto folder = socket_->parent_path();
    while (!folder.empty() && !isThere(folder) && folder != folder.parent_path())
        folder = folder.parent_path();
    auto watch = InotifyWatch::open([this](const std::vector<InotifyWatch::Event>&) { socketWayChanged(); });
    if (!watch || !(*watch)->add(folder, IN_CREATE | IN_MOVED_TO | IN_DELETE_SELF | IN_ONLYDIR))
        return false;
    // A socket made between the first look and the watch would bring no event.
    if (isThere(*socket_))
        return false;
    watch_ = std::move(*watch);
    return true;
}

void Reconnection::socketWayChanged() {
    retiredWatch_ = std::move(watch_);
    retiredWatch_->pause();
    // A folder on the way appeared or went: wait in the deepest one there now, unless the socket
    // came with it.
    if (awaitSocket())
        return;
    if (isThere(*socket_))
        retry_();
    else
        failed();
}

} // namespace vq
