#pragma once

#include <xcb/xcb.h>

#include <optional>
#include <string>

namespace vq {

/// The application behind the X11 window that has the focus, as the window manager announces it
/// (`_NET_ACTIVE_WINDOW`): its WM_CLASS and the process named by `_NET_WM_PID`.
struct X11ActiveWindow {
    std::string instanceName; ///< WM_CLASS's first part ("keepassxc")
    std::string className;    ///< WM_CLASS's second part ("KeePassXC")
    std::optional<std::string> processName; ///< /proc/<pid>/comm of `_NET_WM_PID`

    /// Nothing when no window manager announces an active window.
    static std::optional<X11ActiveWindow> read(xcb_connection_t* connection);

    /// The identifier the privacy rules see: a name that marks a password manager when any of the
    /// three does, else the class name.
    std::string applicationID() const;

    friend bool operator==(const X11ActiveWindow&, const X11ActiveWindow&) = default;
};

} // namespace vq
