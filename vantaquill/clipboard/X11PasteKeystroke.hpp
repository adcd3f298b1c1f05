#pragma once

#include <xcb/xcb.h>

#include <expected>
#include <string>

namespace vq {

/// Pastes into the window that has the keyboard, as if the user pressed Ctrl+V there: the X server's
/// test extension (XTEST) plays the keys. Used after a clip chosen from the history went back on the
/// clipboard and the island gave the keyboard back to the window the user came from.
struct X11PasteKeystroke {
    /// Presses and releases Ctrl+V; why not, when the server lacks XTEST or the keyboard has no V.
    static std::expected<void, std::string> send(xcb_connection_t* connection);
};

} // namespace vq
