#include "vantaquill/clipboard/X11PasteKeystroke.hpp"

#include <X11/keysym.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <utility>

namespace vq {

namespace {

/// The first key code that types `symbol` on the current layout, or 0.
xcb_keycode_t keycodeOf(xcb_key_symbols_t* symbols, xcb_keysym_t symbol) {
    std::unique_ptr<xcb_keycode_t, decltype(&std::free)> codes(xcb_key_symbols_get_keycode(symbols, symbol), &std::free);
    return codes ? *codes : xcb_keycode_t{0};
}

} // namespace

std::expected<void, std::string> X11PasteKeystroke::send(xcb_connection_t* connection) {
    if (!connection || xcb_connection_has_error(connection))
        return std::unexpected("no X11 connection");
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection, &xcb_test_id);
    if (!extension || !extension->present)
        return std::unexpected("the X server has no XTEST extension to type Ctrl+V with");
    std::unique_ptr<xcb_key_symbols_t, decltype(&xcb_key_symbols_free)> symbols(xcb_key_symbols_alloc(connection),
                                                                               &xcb_key_symbols_free);
    const xcb_keycode_t control = keycodeOf(symbols.get(), XK_Control_L);
    const xcb_keycode_t v = keycodeOf(symbols.get(), XK_v);
    if (control == 0 || v == 0)
        return std::unexpected("the keyboard layout has no Control or V key");
    const std::array<std::pair<std::uint8_t, xcb_keycode_t>, 4> presses{{
        {XCB_KEY_PRESS, control}, {XCB_KEY_PRESS, v}, {XCB_KEY_RELEASE, v}, {XCB_KEY_RELEASE, control}}};
    for (const auto& [type, code] : presses)
        xcb_test_fake_input(connection, type, code, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    xcb_flush(connection);
    return {};
}

} // namespace vq
