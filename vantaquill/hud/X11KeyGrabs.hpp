#pragma once

#include <QSocketNotifier>

#include <xcb/xcb.h>

#include <cstdint>
#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

struct _XCBKeySymbols;

namespace vq {

/// Global keys on an X11 desktop: passive grabs on the root window, on a connection of its own (so
/// they work whether or not Qt runs on X11). Each key is grabbed only with the modifier combinations
/// given, each also with Caps Lock and Num Lock, whose state X11 counts as modifiers too. A key
/// another client already grabbed in any of them is left to it entirely, and named in one log line.
/// A new keyboard layout is followed: the keys are grabbed again on their new key codes.
class X11KeyGrabs {
  public:
    struct Key {
        xcb_keysym_t keysym = 0;
        std::vector<std::uint16_t> modifiers; ///< X11 modifier masks, without the lock keys
        std::string name;                     ///< for the log ("XF86AudioMute", "Super+Shift+V")
    };
    /// A grabbed key went down or up: its index in the list given, and the modifier state.
    using Event = std::function<void(std::size_t key, bool down, std::uint16_t state)>;
    using Log = std::function<void(const std::string&)>;

    /// Connects to $DISPLAY and grabs `keys`; `refusedLine` turns the names of keys other clients
    /// hold into the log line. The error says why there is no connection.
    static std::expected<std::unique_ptr<X11KeyGrabs>, std::string>
    connect(std::vector<Key> keys, Event event, Log log, std::function<std::string(const std::string&)> refusedLine);
    ~X11KeyGrabs();
    X11KeyGrabs(const X11KeyGrabs&) = delete;
    X11KeyGrabs& operator=(const X11KeyGrabs&) = delete;

    /// The key codes grabbed, with the index of their key.
    const std::map<xcb_keycode_t, std::size_t>& grabbed() const { return grabbed_; }

  private:
    X11KeyGrabs(xcb_connection_t* connection, std::vector<Key> keys, Event event, Log log,
                std::function<std::string(const std::string&)> refusedLine);
    void grab();
    void ungrab();
    void readEvents();

    xcb_connection_t* connection_;
    xcb_window_t root_ = 0;
    _XCBKeySymbols* symbols_ = nullptr;
    std::vector<Key> keys_;
    Event event_;
    Log log_;
    std::function<std::string(const std::string&)> refusedLine_;
    std::map<xcb_keycode_t, std::size_t> grabbed_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace vq
