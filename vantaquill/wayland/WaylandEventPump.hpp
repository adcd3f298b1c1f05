#pragma once

#include <functional>
#include <memory>

class QObject;
class QSocketNotifier;
struct wl_display;

namespace vq {

/// Runs a libwayland-client connection of our own from the Qt event loop, on the main thread: events
/// are read when the socket has some, requests go out before the loop sleeps (and when a full socket
/// can take more), and the first sign that the compositor ended the connection stops it for good.
class WaylandEventPump final {
  public:
    /// Starts watching the display's descriptor; needs a running QCoreApplication. `onFailure` is
    /// called once, when the connection is found broken (a protocol error or a lost socket).
    WaylandEventPump(wl_display* display, std::function<void()> onFailure);
    ~WaylandEventPump();
    WaylandEventPump(const WaylandEventPump&) = delete;
    WaylandEventPump& operator=(const WaylandEventPump&) = delete;

    /// Sends the queued requests; what a full socket cannot take goes out when it can.
    void flush();
    /// Handles the events already read (during a round trip, say) without waiting for more.
    void dispatchPending();
    /// Set once the connection broke: the pump does nothing any more.
    bool failed() const { return failed_; }

  private:
    void readEvents();
    void failIfBroken();

    wl_display* display_;
    std::function<void()> onFailure_;
    bool failed_ = false;
    std::unique_ptr<QSocketNotifier> readNotifier_;
    std::unique_ptr<QSocketNotifier> writeNotifier_;
    // Destroyed first (declared last): nothing the event loop still holds runs on a half-destroyed pump.
    std::unique_ptr<QObject> context_;
};

} // namespace vq
