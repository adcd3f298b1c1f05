#include "vantaquill/wayland/WaylandEventPump.hpp"

#include <QAbstractEventDispatcher>
#include <QObject>
#include <QSocketNotifier>
#include <cerrno>
#include <wayland-client.h>

namespace vq {

WaylandEventPump::WaylandEventPump(wl_display* display, std::function<void()> onFailure)
    : display_(display), onFailure_(std::move(onFailure)) {
    context_ = std::make_unique<QObject>();
    const int fd = wl_display_get_fd(display_);
    readNotifier_ = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
    QObject::connect(readNotifier_.get(), &QSocketNotifier::activated, context_.get(),
                     [this] { readEvents(); });
    writeNotifier_ = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Write);
    writeNotifier_->setEnabled(false);
    QObject::connect(writeNotifier_.get(), &QSocketNotifier::activated, context_.get(), [this] { flush(); });
    // Requests queue up in libwayland until flushed, and events read during a round trip wait in the
    // queue: both are handled before the event loop sleeps.
    if (auto* dispatcher = QAbstractEventDispatcher::instance())
        QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, context_.get(), [this] {
            dispatchPending();
            flush();
        });
}

WaylandEventPump::~WaylandEventPump() = default;

void WaylandEventPump::readEvents() {
    if (failed_)
        return;
    while (wl_display_prepare_read(display_) != 0)
        if (wl_display_dispatch_pending(display_) < 0)
            return failIfBroken();
    if (wl_display_read_events(display_) < 0)
        return failIfBroken();
    dispatchPending();
    flush();
}

void WaylandEventPump::dispatchPending() {
    if (!failed_ && wl_display_dispatch_pending(display_) < 0)
        failIfBroken();
}

void WaylandEventPump::flush() {
    if (failed_)
        return;
    if (wl_display_flush(display_) >= 0) {
        writeNotifier_->setEnabled(false);
        return;
    }
    // The socket is full: the rest goes out when it can take more.
    if (errno == EAGAIN) {
        writeNotifier_->setEnabled(true);
        return;
    }
    failIfBroken();
}

void WaylandEventPump::failIfBroken() {
    if (failed_ || wl_display_get_error(display_) == 0)
        return;
    failed_ = true;
    readNotifier_->setEnabled(false);
    writeNotifier_->setEnabled(false);
    onFailure_();
}

} // namespace vq
