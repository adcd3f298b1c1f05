#include "vantaquill/wayland/WaylandEventPump.hpp"

#include <QAbstractEventDispatcher>
#include <QObject>
#include <QSocketNotifier>
#include <cerrno>
#include <wayland-client.h>

namespace vq {

WaylandEventPump::WaylandEventPump(wl_display* display, std::function<void()> onFailure)
    : m_display(display), m_onFailure(std::move(onFailure)) {
    m_context = std::make_unique<QObject>();
    const int fd = wl_display_get_fd(m_display);
    m_readNotifier = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
    QObject::connect(m_readNotifier.get(), &QSocketNotifier::activated, m_context.get(), [this] { readEvents(); });
    m_writeNotifier = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Write);
    m_writeNotifier->setEnabled(false);
    QObject::connect(m_writeNotifier.get(), &QSocketNotifier::activated, m_context.get(), [this] { flush(); });
    // Requests queue up in libwayland until flushed, and events read during a round trip wait in the
    // queue: both are handled before the event loop sleeps.
    if (auto* dispatcher = QAbstractEventDispatcher::instance())
        QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, m_context.get(), [this] {
            dispatchPending();
            flush();
        });
}

WaylandEventPump::~WaylandEventPump() = default;

void WaylandEventPump::readEvents() {
    if (m_failed)
        return;
    while (wl_display_prepare_read(m_display) != 0)
        if (wl_display_dispatch_pending(m_display) < 0)
            return failIfBroken();
    if (wl_display_read_events(m_display) < 0)
        return failIfBroken();
    dispatchPending();
    flush();
}

void WaylandEventPump::dispatchPending() {
    if (!m_failed && wl_display_dispatch_pending(m_display) < 0)
        failIfBroken();
}

void WaylandEventPump::flush() {
    if (m_failed)
        return;
    if (wl_display_flush(m_display) >= 0) {
        m_writeNotifier->setEnabled(false);
        return;
    }
    // The socket is full: the rest goes out when it can take more.
    if (errno == EAGAIN) {
        m_writeNotifier->setEnabled(true);
        return;
    }
    failIfBroken();
}

void WaylandEventPump::failIfBroken() {
    if (m_failed || wl_display_get_error(m_display) == 0)
        return;
    m_failed = true;
    m_readNotifier->setEnabled(false);
    m_writeNotifier->setEnabled(false);
    m_onFailure();
}

} // namespace vq
