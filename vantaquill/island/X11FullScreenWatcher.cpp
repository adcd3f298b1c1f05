#include "vantaquill/island/X11FullScreenWatcher.hpp"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QScreen>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace vq {

namespace {

template <typename Reply>
using Owned = std::unique_ptr<Reply, decltype(&std::free)>;

template <typename Reply>
Owned<Reply> own(Reply* reply) {
    return Owned<Reply>(reply, &std::free);
}

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
    const auto reply = own(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

// The X protocol's PropertyNotify event code, with the "sent by a client" bit masked off.
constexpr std::uint8_t responseTypeMask = 0x7f;

} // namespace

X11FullScreenWatcher::X11FullScreenWatcher(std::function<void()> onChange) : onChange_(std::move(onChange)) {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    connection_ = x11 ? x11->connection() : nullptr;
    if (!connection_)
        return;
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    activeAtom_ = atom(connection_, "_NET_ACTIVE_WINDOW");
    stateAtom_ = atom(connection_, "_NET_WM_STATE");
    fullScreenAtom_ = atom(connection_, "_NET_WM_STATE_FULLSCREEN");
    QCoreApplication::instance()->installNativeEventFilter(this);
    listen(root_);
    followActiveWindow();
    // The owner reads the first answer itself; only later changes are announced.
    announcing_ = true;
}

X11FullScreenWatcher::~X11FullScreenWatcher() {
    if (connection_ && QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(this);
}

void X11FullScreenWatcher::listen(xcb_window_t window) {
    // Adds property changes to what this client already hears from the window (Qt listens to the
    // root window too), rather than replacing it.
    const auto attributes =
        own(xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, window), nullptr));
    if (!attributes)
        return;
    const std::uint32_t mask = attributes->your_event_mask | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection_);
}

void X11FullScreenWatcher::followActiveWindow() {
    const auto reply = own(xcb_get_property_reply(
        connection_, xcb_get_property(connection_, 0, root_, activeAtom_, XCB_GET_PROPERTY_TYPE_ANY, 0, 1), nullptr));
    xcb_window_t active = XCB_WINDOW_NONE;
    // Read whatever type a window manager gave it (some write CARDINAL), as long as it holds 32-bit items.
    if (reply && reply->format == 32 && xcb_get_property_value_length(reply.get()) >= static_cast<int>(sizeof(xcb_window_t)))
        active = *static_cast<xcb_window_t*>(xcb_get_property_value(reply.get()));
    if (active != active_) {
        active_ = active;
        if (active_ != XCB_WINDOW_NONE)
            listen(active_);
    }
    check();
}

void X11FullScreenWatcher::check() {
    std::optional<QPoint> centre;
    if (active_ != XCB_WINDOW_NONE) {
        const auto state = own(xcb_get_property_reply(
            connection_, xcb_get_property(connection_, 0, active_, stateAtom_, XCB_GET_PROPERTY_TYPE_ANY, 0, 32), nullptr));
        bool fullScreen = false;
        if (state && state->format == 32) {
            const auto* atoms = static_cast<xcb_atom_t*>(xcb_get_property_value(state.get()));
            const int count = xcb_get_property_value_length(state.get()) / static_cast<int>(sizeof(xcb_atom_t));
            for (int i = 0; i < count; ++i)
                fullScreen = fullScreen || atoms[i] == fullScreenAtom_;
        }
        const auto geometry =
            fullScreen ? own(xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, active_), nullptr))
                       : own<xcb_get_geometry_reply_t>(nullptr);
        if (geometry) {
            const auto translated = own(xcb_translate_coordinates_reply(
                connection_,
                xcb_translate_coordinates(connection_, active_, root_, static_cast<std::int16_t>(geometry->width / 2),
                                          static_cast<std::int16_t>(geometry->height / 2)),
                nullptr));
            const double scale = qGuiApp->primaryScreen() ? qGuiApp->primaryScreen()->devicePixelRatio() : 1;
            if (translated)
                centre = QPoint(static_cast<int>(translated->dst_x / scale), static_cast<int>(translated->dst_y / scale));
        }
    }
    if (centre == centre_)
        return;
    centre_ = centre;
    if (announcing_ && onChange_)
        onChange_();
}

bool X11FullScreenWatcher::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<xcb_generic_event_t*>(message);
    if ((event->response_type & responseTypeMask) != XCB_PROPERTY_NOTIFY)
        return false;
    const auto* property = static_cast<xcb_property_notify_event_t*>(message);
    if (property->window == root_ && property->atom == activeAtom_)
        followActiveWindow();
    else if (property->window == active_ && property->atom == stateAtom_)
        check();
    return false;
}

} // namespace vq
