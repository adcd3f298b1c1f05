#include "vantaquill/hud/X11KeyGrabs.hpp"

#include <xcb/xcb_keysyms.h>

#include <array>
#include <cstdlib>

namespace vq {

namespace {

constexpr std::array<std::uint16_t, 4> locks = {0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
                                                XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};

} // namespace

std::expected<std::unique_ptr<X11KeyGrabs>, std::string>
X11KeyGrabs::connect(std::vector<Key> keys, Event event, Log log,
                     std::function<std::string(const std::string&)> refusedLine) {
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return std::unexpected("no X server answers on $DISPLAY");
    }
    return std::unique_ptr<X11KeyGrabs>(
        new X11KeyGrabs(connection, std::move(keys), std::move(event), std::move(log), std::move(refusedLine)));
}

X11KeyGrabs::X11KeyGrabs(xcb_connection_t* connection, std::vector<Key> keys, Event event, Log log,
                         std::function<std::string(const std::string&)> refusedLine)
    : connection_(connection), keys_(std::move(keys)), event_(std::move(event)), log_(std::move(log)),
      refusedLine_(std::move(refusedLine)) {
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    symbols_ = xcb_key_symbols_alloc(connection_);
    grab();
    notifier_ = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection_), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { readEvents(); });
    // Replies read while grabbing may have queued events already.
    readEvents();
}

X11KeyGrabs::~X11KeyGrabs() {
    notifier_.reset();
    ungrab();
    xcb_key_symbols_free(symbols_);
    xcb_disconnect(connection_);
}

void X11KeyGrabs::grab() {
    std::string refused;
    for (std::size_t index = 0; index < keys_.size(); ++index) {
        const Key& key = keys_[index];
        xcb_keycode_t* codes = xcb_key_symbols_get_keycode(symbols_, key.keysym);
        if (!codes)
            continue;
        for (const xcb_keycode_t* code = codes; *code != XCB_NO_SYMBOL; ++code) {
            std::vector<xcb_void_cookie_t> cookies;
            for (const std::uint16_t modifiers : key.modifiers) {
                for (const std::uint16_t lock : locks)
                    cookies.push_back(xcb_grab_key_checked(connection_, 1, root_, modifiers | lock, *code,
                                                           XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
            }
            bool taken = false;
            for (const auto cookie : cookies) {
                if (xcb_generic_error_t* error = xcb_request_check(connection_, cookie)) {
                    taken = true;
                    std::free(error);
                }
            }
            if (!taken) {
                grabbed_.emplace(*code, index);
                continue;
            }
            // Another client holds some combination: the key stays the desktop's in every one.
            xcb_ungrab_key(connection_, *code, root_, XCB_MOD_MASK_ANY);
            if (!refused.contains(key.name))
                refused += (refused.empty() ? "" : ", ") + key.name;
        }
        std::free(codes);
    }
    xcb_flush(connection_);
    if (!refused.empty())
        log_(refusedLine_(refused));
}

void X11KeyGrabs::ungrab() {
    for (const auto& [code, index] : grabbed_)
        xcb_ungrab_key(connection_, code, root_, XCB_MOD_MASK_ANY);
    grabbed_.clear();
    xcb_flush(connection_);
}

void X11KeyGrabs::readEvents() {
    while (xcb_generic_event_t* event = xcb_poll_for_event(connection_)) {
        const auto type = static_cast<std::uint8_t>(event->response_type & 0x7f);
        if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
            const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(event);
            if (const auto found = grabbed_.find(key->detail); found != grabbed_.end())
                event_(found->second, type == XCB_KEY_PRESS, key->state);
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
        log_("vantaquill: the X server closed the connection; global keys are no longer taken");
    }
}

} // namespace vq
