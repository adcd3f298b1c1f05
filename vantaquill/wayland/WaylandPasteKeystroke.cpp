#include "vantaquill/wayland/WaylandPasteKeystroke.hpp"

#include "vantaquill/wayland/virtual-keyboard-unstable-v1-client-protocol.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <linux/input-event-codes.h>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

namespace vq {

namespace {

// Key codes on the wire are evdev codes; XKB numbers them from 8.
constexpr std::uint32_t evdevToXKBOffset = 8;

struct Globals {
    wl_seat* seat = nullptr;
    zwp_virtual_keyboard_manager_v1* manager = nullptr;
};

struct Connection {
    wl_display* display = nullptr;
    wl_registry* registry = nullptr;
    Globals globals;
    ~Connection() {
        if (globals.manager)
            zwp_virtual_keyboard_manager_v1_destroy(globals.manager);
        if (globals.seat)
            wl_seat_destroy(globals.seat);
        if (registry)
            wl_registry_destroy(registry);
        if (display)
            wl_display_disconnect(display);
    }
};

std::uint32_t milliseconds() {
    return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                          std::chrono::steady_clock::now().time_since_epoch())
                                          .count());
}

/// The keymap in a sealed memory file the compositor can map, or -1.
int keymapFile(const std::string& text) {
    const int fd = memfd_create("vantaquill-keymap", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (fd < 0)
        return -1;
    // The terminating zero is part of the keymap the compositor maps.
    if (write(fd, text.c_str(), text.size() + 1) != static_cast<ssize_t>(text.size() + 1)) {
        close(fd);
        return -1;
    }
    fcntl(fd, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL);
    return fd;
}

} // namespace

const char* WaylandPasteKeystroke::keymap() {
    // The codes are the evdev ones of the left Control key and V plus 8, so the keys mean the same
    // to a client that looks at codes rather than symbols.
    return R"(xkb_keymap {
xkb_keycodes "vantaquill" {
    minimum = 8;
    maximum = 255;
    <LCTL> = 37;
    <AB04> = 55;
};
xkb_types "vantaquill" {
    type "ONE_LEVEL" {
        modifiers = none;
        level_name[Level1] = "Any";
    };
};
xkb_compatibility "vantaquill" {
    interpret Control_L {
        action = SetMods(modifiers = Control);
    };
};
xkb_symbols "vantaquill" {
    key <LCTL> { type = "ONE_LEVEL", [ Control_L ] };
    key <AB04> { type = "ONE_LEVEL", [ v ] };
    modifier_map Control { <LCTL> };
};
};
)";
}

std::expected<void, std::string> WaylandPasteKeystroke::send(const std::string& display) {
    // The keymap is compiled here first: the Control mask comes from it, and a keymap the compositor
    // could not read would end the connection with a protocol error.
    std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(
        xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES), &xkb_context_unref);
    std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> compiled(
        context ? xkb_keymap_new_from_string(context.get(), keymap(), XKB_KEYMAP_FORMAT_TEXT_V1,
                                             XKB_KEYMAP_COMPILE_NO_FLAGS)
                : nullptr,
        &xkb_keymap_unref);
    if (!compiled)
        return std::unexpected("the paste keymap does not compile");
    const xkb_mod_index_t controlIndex = xkb_keymap_mod_get_index(compiled.get(), XKB_MOD_NAME_CTRL);
    if (controlIndex == XKB_MOD_INVALID)
        return std::unexpected("the paste keymap has no Control modifier");
    const std::uint32_t controlMask = 1u << controlIndex;
    const std::uint32_t control = xkb_keymap_key_by_name(compiled.get(), "LCTL") - evdevToXKBOffset;
    const std::uint32_t v = xkb_keymap_key_by_name(compiled.get(), "AB04") - evdevToXKBOffset;

    Connection connection;
    connection.display = wl_display_connect(display.empty() ? nullptr : display.c_str());
    if (!connection.display)
        return std::unexpected("cannot connect to the Wayland display");
    static const wl_registry_listener listener = {
        .global =
            [](void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t) {
                auto* globals = static_cast<Globals*>(data);
                if (std::strcmp(interface, wl_seat_interface.name) == 0 && !globals->seat)
                    globals->seat =
                        static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
                else if (std::strcmp(interface, zwp_virtual_keyboard_manager_v1_interface.name) == 0)
                    globals->manager = static_cast<zwp_virtual_keyboard_manager_v1*>(
                        wl_registry_bind(registry, name, &zwp_virtual_keyboard_manager_v1_interface, 1));
            },
        .global_remove = [](void*, wl_registry*, std::uint32_t) {},
    };
    connection.registry = wl_display_get_registry(connection.display);
    wl_registry_add_listener(connection.registry, &listener, &connection.globals);
    if (wl_display_roundtrip(connection.display) < 0)
        return std::unexpected("the Wayland compositor did not answer");
    if (!connection.globals.manager)
        return std::unexpected("the Wayland compositor offers no virtual keyboard to type Ctrl+V with");
    if (!connection.globals.seat)
        return std::unexpected("the Wayland compositor has no seat");

    const int fd = keymapFile(keymap());
    if (fd < 0)
        return std::unexpected(std::string("cannot hand the keymap over: ") + std::strerror(errno));
    zwp_virtual_keyboard_v1* keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(
        connection.globals.manager, connection.globals.seat);
    zwp_virtual_keyboard_v1_keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, fd,
                                   static_cast<std::uint32_t>(std::strlen(keymap()) + 1));
    close(fd);
    // The modifier state is said outright as well as implied by the Control key: compositors differ
    // in whether they derive it from a virtual keyboard's keys.
    const std::uint32_t time = milliseconds();
    zwp_virtual_keyboard_v1_key(keyboard, time, control, WL_KEYBOARD_KEY_STATE_PRESSED);
    zwp_virtual_keyboard_v1_modifiers(keyboard, controlMask, 0, 0, 0);
    zwp_virtual_keyboard_v1_key(keyboard, time, v, WL_KEYBOARD_KEY_STATE_PRESSED);
    zwp_virtual_keyboard_v1_key(keyboard, time + 1, v, WL_KEYBOARD_KEY_STATE_RELEASED);
    zwp_virtual_keyboard_v1_modifiers(keyboard, 0, 0, 0, 0);
    zwp_virtual_keyboard_v1_key(keyboard, time + 1, control, WL_KEYBOARD_KEY_STATE_RELEASED);
    // The round trip makes sure the compositor handled the keys (or refused them) before the
    // keyboard goes away with the connection.
    const bool handled = wl_display_roundtrip(connection.display) >= 0;
    zwp_virtual_keyboard_v1_destroy(keyboard);
    wl_display_flush(connection.display);
    if (!handled)
        return std::unexpected("the Wayland compositor refused the virtual keyboard");
    return {};
}

} // namespace vq
