#pragma once

#include "BrindKit/island/HUDKey.hpp"
#include "BrindKit/island/HUDKeyRules.hpp"

#include "vantaquill/hud/X11KeyGrabs.hpp"

#include <xcb/xcb.h>

#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace vq {

/// Takes the volume, brightness and keyboard-light keys on an X11 desktop: passive grabs on the
/// root window, on a connection of its own (so it works whether or not Qt runs on X11). X11 cannot
/// hand a grabbed key back, so only the combinations the island acts on are grabbed: the key alone,
/// with Shift, and with Shift+Alt (fine steps), each also with Caps Lock and Num Lock; with Control,
/// Super or Alt alone the desktop keeps the key. A key the desktop already grabbed is left to it, and
/// said in one log line.
class X11HUDKeys {
  public:
    using Press = std::function<bool(brind::HUDKey, brind::HUDKeyRules::KeyState, brind::HUDKeyRules::Modifiers)>;
    using Log = std::function<void(const std::string&)>;

    /// Connects to $DISPLAY and grabs the keys; the error says why there is no connection.
    static std::expected<std::unique_ptr<X11HUDKeys>, std::string> connect(Press press, Log log);
    ~X11HUDKeys();
    X11HUDKeys(const X11HUDKeys&) = delete;
    X11HUDKeys& operator=(const X11HUDKeys&) = delete;

  private:
    explicit X11HUDKeys(std::unique_ptr<X11KeyGrabs> grabs);

    std::unique_ptr<X11KeyGrabs> grabs_;
};

} // namespace vq
