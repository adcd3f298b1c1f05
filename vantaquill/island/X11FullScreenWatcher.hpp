#pragma once

#include <QAbstractNativeEventFilter>
#include <QPoint>

#include <xcb/xcb.h>

#include <functional>
#include <optional>

namespace vq {

/// Follows the active window's full-screen state on X11 without polling: it listens to the root
/// window's `_NET_ACTIVE_WINDOW` and to the active window's `_NET_WM_STATE`, and says when the
/// answer may have changed.
class X11FullScreenWatcher final : public QAbstractNativeEventFilter {
public:
    explicit X11FullScreenWatcher(std::function<void()> onChange);
    ~X11FullScreenWatcher() override;
    X11FullScreenWatcher(const X11FullScreenWatcher&) = delete;
    X11FullScreenWatcher& operator=(const X11FullScreenWatcher&) = delete;

    /// The centre of the active window in global logical coordinates, when it is full screen.
    std::optional<QPoint> fullScreenWindowCentre() const { return centre_; }

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    void listen(xcb_window_t window);
    void followActiveWindow();
    void check();

    std::function<void()> onChange_;
    xcb_connection_t* connection_ = nullptr;
    xcb_window_t root_ = XCB_WINDOW_NONE;
    xcb_window_t active_ = XCB_WINDOW_NONE;
    xcb_atom_t activeAtom_ = XCB_ATOM_NONE;
    xcb_atom_t stateAtom_ = XCB_ATOM_NONE;
    xcb_atom_t fullScreenAtom_ = XCB_ATOM_NONE;
    std::optional<QPoint> centre_;
    bool announcing_ = false;
};

} // namespace vq
