#pragma once

#include <expected>
#include <string>

namespace vq {

/// Pastes into the window that has the keyboard on a Wayland compositor, as if the user pressed
/// Ctrl+V there: a virtual keyboard (zwp_virtual_keyboard_manager_v1, offered by sway and other
/// wlroots compositors) with a keymap of its own that holds only Control and V plays the keys. The
/// Wayland counterpart of X11PasteKeystroke, used after a clip chosen from the history went back on
/// the clipboard and the island gave the keyboard back.
struct WaylandPasteKeystroke {
    /// Presses and releases Ctrl+V on the first seat of the compositor named by `display` (or by
    /// WAYLAND_DISPLAY when empty), over a short-lived connection of its own; why not, when the
    /// compositor offers no virtual keyboard (GNOME, KDE) or cannot be reached.
    static std::expected<void, std::string> send(const std::string& display = {});

    /// The keymap the virtual keyboard sends, in XKB's text form: self-contained (no includes), so a
    /// client compiles it without the system's XKB data.
    static const char* keymap();
};

} // namespace vq
