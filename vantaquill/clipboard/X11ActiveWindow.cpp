#include "vantaquill/clipboard/X11ActiveWindow.hpp"

#include "vantaquill/clipboard/LinuxPasswordManagers.hpp"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string_view>

namespace vq {

namespace {

template <typename T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
    const auto cookie = xcb_intern_atom(connection, 1, static_cast<std::uint16_t>(name.size()), name.data());
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr), &std::free);
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

std::string property(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t name, xcb_atom_t type) {
    if (name == XCB_ATOM_NONE)
        return {};
    const auto cookie = xcb_get_property(connection, 0, window, name, type, 0, 1024);
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr), &std::free);
    if (!reply || reply->type == XCB_ATOM_NONE)
        return {};
    const auto* data = static_cast<const char*>(xcb_get_property_value(reply.get()));
    return std::string(data, static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
}

std::optional<std::uint32_t> cardinal(const std::string& value) {
    if (value.size() < sizeof(std::uint32_t))
        return std::nullopt;
    std::uint32_t number = 0;
    std::memcpy(&number, value.data(), sizeof number);
    return number;
}

std::optional<std::string> commandName(std::uint32_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/comm");
    std::string name;
    if (!std::getline(file, name) || name.empty())
        return std::nullopt;
    return name;
}

} // namespace

std::optional<X11ActiveWindow> X11ActiveWindow::read(xcb_connection_t* connection) {
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    if (!screen)
        return std::nullopt;
    const auto active = cardinal(property(connection, screen->root, atom(connection, "_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW));
    if (!active || *active == XCB_WINDOW_NONE)
        return std::nullopt;
    X11ActiveWindow window;
    // WM_CLASS is two NUL-terminated strings: the instance, then the class.
    const std::string wmClass = property(connection, *active, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING);
    window.instanceName = wmClass.substr(0, wmClass.find('\0'));
    if (const std::size_t split = wmClass.find('\0'); split != std::string::npos)
        window.className = std::string(wmClass.c_str() + split + 1);
    if (const auto pid = cardinal(property(connection, *active, atom(connection, "_NET_WM_PID"), XCB_ATOM_CARDINAL)))
        window.processName = commandName(*pid);
    return window;
}

std::string X11ActiveWindow::applicationID() const {
    for (const std::string* name : {&className, &instanceName}) {
        if (!name->empty() && LinuxPasswordManagers::matches(*name))
            return *name;
    }
    if (processName && LinuxPasswordManagers::matches(*processName))
        return *processName;
    return className.empty() ? instanceName : className;
}

} // namespace vq
