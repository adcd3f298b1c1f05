#include "vantaquill/hud/X11HUDKeys.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

#include <X11/XF86keysym.h>
#include <xcb/xcb_keysyms.h>

#include <array>
#include <cstdlib>
#include <vector>

namespace vq {

namespace {

using brind::HUDKey;
using brind::HUDKeyRules::KeyState;
using brind::HUDKeyRules::Modifiers;

struct KeyRow {
    HUDKey value;
    xcb_keysym_t keysym;
    std::string_view name;
};

constexpr auto keyRows = std::to_array<KeyRow>({
    {HUDKey::soundUp, XF86XK_AudioRaiseVolume, "XF86AudioRaiseVolume"},
    {HUDKey::soundDown, XF86XK_AudioLowerVolume, "XF86AudioLowerVolume"},
    {HUDKey::mute, XF86XK_AudioMute, "XF86AudioMute"},
    {HUDKey::brightnessUp, XF86XK_MonBrightnessUp, "XF86MonBrightnessUp"},
    {HUDKey::brightnessDown, XF86XK_MonBrightnessDown, "XF86MonBrightnessDown"},
    {HUDKey::illuminationUp, XF86XK_KbdBrightnessUp, "XF86KbdBrightnessUp"},
    {HUDKey::illuminationDown, XF86XK_KbdBrightnessDown, "XF86KbdBrightnessDown"},
    {HUDKey::illuminationToggle, XF86XK_KbdLightOnOff, "XF86KbdLightOnOff"},
});
static_assert(brind::EnumTable::coversEveryCase(keyRows));

// The combinations the island acts on (see HUDKeyRules::grid), each with and without the lock keys,
// whose state X11 counts as modifiers too.
constexpr std::array<std::uint16_t, 3> actedOn = {0, XCB_MOD_MASK_SHIFT, XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_1};
constexpr std::array<std::uint16_t, 4> locks = {0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
                                                XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};

Modifiers modifiersOf(std::uint16_t state) {
    return {.shift = (state & XCB_MOD_MASK_SHIFT) != 0,
            .option = (state & XCB_MOD_MASK_1) != 0,
            .command = (state & XCB_MOD_MASK_4) != 0,
            .control = (state & XCB_MOD_MASK_CONTROL) != 0};
}

} // namespace

std::expected<std::unique_ptr<X11HUDKeys>, std::string> X11HUDKeys::connect(Press press, Log log) {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return std::unexpected("no X server answers on $DISPLAY");
    }
    return std::unique_ptr<X11HUDKeys>(new X11HUDKeys(connection, std::move(press), std::move(log)));
}

X11HUDKeys::X11HUDKeys(xcb_connection_t* connection, Press press, Log log)
    : connection_(connection), press_(std::move(press)), log_(std::move(log)) {
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    symbols_ = xcb_key_symbols_alloc(connection_);
    grab();
    notifier_ = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection_), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { readEvents(); });
    // Replies read while grabbing may have queued events already.
    readEvents();
}

X11HUDKeys::~X11HUDKeys() {
    notifier_.reset();
    ungrab();
    xcb_key_symbols_free(symbols_);
    xcb_disconnect(connection_);
}

void X11HUDKeys::grab() {
    std::string owned;
    for (const KeyRow& row : keyRows) {
        xcb_keycode_t* codes = xcb_key_symbols_get_keycode(symbols_, row.keysym);
        if (!codes)
            continue;
        for (const xcb_keycode_t* code = codes; *code != XCB_NO_SYMBOL; ++code) {
            std::vector<xcb_void_cookie_t> cookies;
            for (const std::uint16_t modifiers : actedOn) {
                for (const std::uint16_t lock : locks)
                    cookies.push_back(xcb_grab_key_checked(connection_, 1, root_, modifiers | lock, *code,
                                                           XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
            }
            bool refused = false;
            for (const auto cookie : cookies) {
                if (xcb_generic_error_t* error = xcb_request_check(connection_, cookie)) {
                    refused = true;
                    std::free(error);
                }
            }
            if (!refused) {
                grabbed_.emplace(*code, row.value);
                continue;
            }
            // Another client holds some combination: the key stays the desktop's in every one.
            xcb_ungrab_key(connection_, *code, root_, XCB_MOD_MASK_ANY);
            if (!owned.contains(row.name))
                owned += (owned.empty() ? "" : ", ") + std::string(row.name);
        }
        std::free(codes);
    }
    xcb_flush(connection_);
    if (!owned.empty())
        log_("vantaquill: the desktop already takes " + owned +
             "; the island leaves those keys to it and shows the levels they change");
}

void X11HUDKeys::ungrab() {
    for (const auto& [code, key] : grabbed_)
        xcb_ungrab_key(connection_, code, root_, XCB_MOD_MASK_ANY);
    grabbed_.clear();
    xcb_flush(connection_);
}

void X11HUDKeys::readEvents() {
    while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
        const auto type = static_cast<std::uint8_t>(event->response_type & 0x7f);
        if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
            const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(event);
            if (const auto found = grabbed_.find(key->detail); found != grabbed_.end())
                press_(found->second, type == XCB_KEY_PRESS ? KeyState::down : KeyState::up, modifiersOf(key->state));
        } else if (type == XCB_MAPPING_NOTIFY) {
            // A new keyboard layout may put the keys on other key codes.
            xcb_refresh_keyboard_mapping(symbols_, reinterpret_cast<xcb_mapping_notify_event_t*>(event));
            ungrab();
            grab();
        }
        std::free(event);
    }
    if (xcb_connection_has_error(connection_)) {
        notifier_->setEnabled(false);
        log_("vantaquill: the X server closed the connection; the HUD keys are no longer taken");
    }
}

} // namespace vq
