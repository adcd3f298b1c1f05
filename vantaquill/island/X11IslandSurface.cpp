#include "vantaquill/island/X11IslandSurface.hpp"

#include <QDropEvent>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QWindow>

#include <xcb/shape.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vq {

namespace {

// About one frame of a 60 Hz screen: the pace of the island's animations.
constexpr int frameInterval = 16;
// _NET_WM_DESKTOP's value for "on every workspace".
constexpr std::uint32_t allDesktops = 0xFFFFFFFF;

xcb_connection_t* x11Connection() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t atom(xcb_connection_t* connection, const std::string& name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(connection, cookie, nullptr), &std::free);
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

int defaultScreenNumber() {
    // DISPLAY is ":N" or ":N.S"; the screen number picks the compositing manager's selection.
    const QByteArray display = qgetenv("DISPLAY");
    const auto dot = display.lastIndexOf('.');
    const auto colon = display.lastIndexOf(':');
    return dot > colon ? display.mid(dot + 1).toInt() : 0;
}

} // namespace

bool X11IslandSurface::compositorRunning(xcb_connection_t* connection, int screenNumber) {
    if (!connection)
        return false;
    const xcb_atom_t selection = atom(connection, "_NET_WM_CM_S" + std::to_string(screenNumber));
    if (selection == XCB_ATOM_NONE)
        return false;
    std::unique_ptr<xcb_get_selection_owner_reply_t, decltype(&std::free)> reply(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, selection), nullptr),
        &std::free);
    return reply && reply->owner != XCB_WINDOW_NONE;
}

X11IslandSurface::X11IslandSurface()
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                           Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint),
      connection_(x11Connection()) {
    translucent_ = compositorRunning(connection_, defaultScreenNumber());
    if (connection_)
        xdndEnter_ = atom(connection_, "XdndEnter");
    // A translucent window needs an ARGB visual, chosen when the native window is created.
    setAttribute(Qt::WA_TranslucentBackground, translucent_);
    setAttribute(Qt::WA_NoSystemBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_X11DoNotAcceptFocus);
    // Files, texts and links dragged from other programs land on the shelf.
    setAcceptDrops(true);
    setMouseTracking(true);
    setWindowTitle("vantaquill island");
    clock_.start();
    frameTimer_.setSingleShot(true);
    connect(&frameTimer_, &QTimer::timeout, this, [this] { update(); });
    winId();
    // Qt's xcb platform writes the window's type again whenever the window's flags change (as
    // when the island takes the keyboard and gives it back), from this property: a dock (its
    // QXcbWindow::Dock), or it would turn the window back into a normal one.
    windowHandle()->setProperty("_q_xcb_wm_window_type", 0x4);
    announceToWindowManager();
}

void X11IslandSurface::announceToWindowManager() {
    if (!connection_)
        return;
    const auto window = static_cast<xcb_window_t>(winId());
    // Set before mapping, where window managers read them: out of the taskbar and pager, above
    // everything, and on every workspace.
    const std::array<xcb_atom_t, 4> states{atom(connection_, "_NET_WM_STATE_SKIP_TASKBAR"),
                                           atom(connection_, "_NET_WM_STATE_SKIP_PAGER"),
                                           atom(connection_, "_NET_WM_STATE_ABOVE"),
                                           atom(connection_, "_NET_WM_STATE_STICKY")};
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atom(connection_, "_NET_WM_STATE"),
                        XCB_ATOM_ATOM, 32, states.size(), states.data());
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atom(connection_, "_NET_WM_DESKTOP"),
                        XCB_ATOM_CARDINAL, 32, 1, &allDesktops);
    markAsDock();
}

void X11IslandSurface::markAsDock() {
    // A dock, written here rather than through Qt's WA_X11NetWmWindowTypeDock, which this Qt's widgets
    // leave out (the window went out as a normal one), and which Qt turns back into a normal window
    // whenever the window's flags change. The type matters: window managers keep a normal window
    // inside the work area, so GNOME's mutter moved the island down by the height of the top bar,
    // under which it already floats; a dock stays where it is put, above other windows.
    const xcb_atom_t dock = atom(connection_, "_NET_WM_WINDOW_TYPE_DOCK");
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(winId()),
                        atom(connection_, "_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, 32, 1, &dock);
    xcb_flush(connection_);
}

void X11IslandSurface::place(QScreen* screen, const QRect& frame) {
    if (screen && windowHandle() && windowHandle()->screen() != screen)
        windowHandle()->setScreen(screen);
    if (geometry() != frame)
        setGeometry(frame);
}

void X11IslandSurface::setVisible(bool visible) {
    QWidget::setVisible(visible);
}

void X11IslandSurface::applyShape(int kind, const QRegion& region) {
    if (!connection_)
        return;
    const double scale = devicePixelRatioF();
    std::vector<xcb_rectangle_t> rectangles;
    for (const QRect& rect : region) {
        const int x = static_cast<int>(rect.x() * scale);
        const int y = static_cast<int>(rect.y() * scale);
        rectangles.push_back({static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                              static_cast<std::uint16_t>(static_cast<int>((rect.x() + rect.width()) * scale) - x),
                              static_cast<std::uint16_t>(static_cast<int>((rect.y() + rect.height()) * scale) - y)});
    }
    xcb_shape_rectangles(connection_, XCB_SHAPE_SO_SET, static_cast<xcb_shape_kind_t>(kind),
                         XCB_CLIP_ORDERING_UNSORTED, static_cast<xcb_window_t>(winId()), 0, 0,
                         static_cast<std::uint32_t>(rectangles.size()), rectangles.data());
    xcb_flush(connection_);
}

void X11IslandSurface::setInputRegion(const QRegion& region) {
    if (region == inputRegion_)
        return;
    inputRegion_ = region;
    applyShape(XCB_SHAPE_SK_INPUT, region);
    // Without a compositor the window's pixels are opaque, so the outline also bounds what is drawn.
    if (!translucent_)
        applyShape(XCB_SHAPE_SK_BOUNDING, region);
}

void X11IslandSurface::setKeyboardInteractive(bool interactive) {
    if (interactive == keyboardInteractive_)
        return;
    keyboardInteractive_ = interactive;
    if (QWindow* window = windowHandle())
        window->setFlag(Qt::WindowDoesNotAcceptFocus, !interactive);
    if (interactive) {
        previousFocus_ = focusedWindow();
        activateWindow();
    } else {
        giveFocusBack();
    }
}

std::uint32_t X11IslandSurface::focusedWindow() const {
    if (!connection_)
        return XCB_WINDOW_NONE;
    std::unique_ptr<xcb_get_input_focus_reply_t, decltype(&std::free)> reply(
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr), &std::free);
    return reply ? reply->focus : xcb_window_t{XCB_WINDOW_NONE};
}

// The window the user typed in before opening the island gets the keyboard back when the island lets
// it go, so they type on where they were, and a clip chosen from the history pastes there. Only while
// the island still has the focus: a click elsewhere already chose another window.
void X11IslandSurface::giveFocusBack() {
    const xcb_window_t previous = std::exchange(previousFocus_, XCB_WINDOW_NONE);
    const auto own = static_cast<xcb_window_t>(winId());
    if (!connection_ || previous == XCB_WINDOW_NONE || previous == XCB_INPUT_FOCUS_POINTER_ROOT || previous == own ||
        focusedWindow() != own)
        return;
    xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_PARENT, previous, XCB_CURRENT_TIME);
    xcb_flush(connection_);
}

void X11IslandSurface::requestFrame() {
    if (frameTimer_.isActive())
        return;
    // The first frame after a rest is drawn at once; frames in a run keep the frame interval.
    const auto sinceLastFrame = static_cast<int>((clock_.nsecsElapsed() - lastFrame_) / 1'000'000);
    frameTimer_.start(std::clamp(frameInterval - sinceLastFrame, 0, frameInterval));
}

void X11IslandSurface::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && !isActiveWindow() && keyboardInteractive_ && onKeyboardLost)
        onKeyboardLost();
}

void X11IslandSurface::paintEvent(QPaintEvent*) {
    lastFrame_ = clock_.nsecsElapsed();
    if (onFrame)
        onFrame(static_cast<double>(lastFrame_) / 1e9);
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), Qt::transparent);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    if (paint)
        paint(painter);
}

void X11IslandSurface::sendPointer(PointerEvent::Type type, QPointF position, Qt::MouseButton button) {
    if (onPointer)
        onPointer({type, position, button, {}});
}

void X11IslandSurface::enterEvent(QEnterEvent* event) {
    sendPointer(PointerEvent::Type::enter, event->position(), Qt::NoButton);
}

void X11IslandSurface::leaveEvent(QEvent*) {
    sendPointer(PointerEvent::Type::leave, {}, Qt::NoButton);
}

void X11IslandSurface::mouseMoveEvent(QMouseEvent* event) {
    sendPointer(PointerEvent::Type::motion, event->position(), Qt::NoButton);
}

void X11IslandSurface::mousePressEvent(QMouseEvent* event) {
    sendPointer(PointerEvent::Type::press, event->position(), event->button());
}

void X11IslandSurface::mouseReleaseEvent(QMouseEvent* event) {
    sendPointer(PointerEvent::Type::release, event->position(), event->button());
}

void X11IslandSurface::wheelEvent(QWheelEvent* event) {
    if (onPointer)
        onPointer({PointerEvent::Type::scroll, event->position(), Qt::NoButton, event->angleDelta()});
}

void X11IslandSurface::keyPressEvent(QKeyEvent* event) {
    if (onKey)
        onKey({event->key(), event->modifiers(), event->text()});
}

} // namespace vq

namespace vq {

bool X11IslandSurface::sendDrop(DropEvent::Type type, QPointF position, const QMimeData* data) {
    if (!onDrop)
        return false;
    DropEvent drop{type, position, {}, {}};
    if (data) {
        for (const QUrl& url : data->urls()) {
            if (url.isLocalFile())
                drop.files.push_back(url.toLocalFile().toStdString());
            else if (drop.text.empty())
                drop.text = url.toString().toStdString();
        }
        if (drop.files.empty() && drop.text.empty() && data->hasText())
            drop.text = data->text().toStdString();
    }
    return onDrop(drop);
}

void X11IslandSurface::dragEnterEvent(QDragEnterEvent* event) {
    dragInside_ = true;
    if (sendDrop(DropEvent::Type::enter, event->position(), event->mimeData()))
        event->acceptProposedAction();
}

void X11IslandSurface::dragMoveEvent(QDragMoveEvent* event) {
    if (sendDrop(DropEvent::Type::move, event->position(), event->mimeData()))
        event->acceptProposedAction();
}

void X11IslandSurface::dragLeaveEvent(QDragLeaveEvent*) {
    dragInside_ = false;
    sendDrop(DropEvent::Type::leave, {}, nullptr);
}

void X11IslandSurface::dropEvent(QDropEvent* event) {
    dragInside_ = false;
    if (sendDrop(DropEvent::Type::drop, event->position(), event->mimeData()))
        event->acceptProposedAction();
}

// A drag ends for the island with the XDND leave or drop its program sends. A program that dies in
// mid-drag sends neither, and Qt keeps that drag as the one over the island: the next drag's enter
// then reaches no widget, and the island would let it pass by. A new drag entering while one is
// still inside is the sign; the stale drag leaves first, so the new one enters the island afresh.
bool X11IslandSurface::nativeEvent(const QByteArray& eventType, void* message, qintptr* result) {
    if (dragInside_ && xdndEnter_ != XCB_ATOM_NONE && eventType == "xcb_generic_event_t") {
        const auto* event = static_cast<const xcb_generic_event_t*>(message);
        if ((event->response_type & 0x7F) == XCB_CLIENT_MESSAGE &&
            static_cast<const xcb_client_message_event_t*>(message)->type == xdndEnter_) {
            QDragLeaveEvent leave;
            QCoreApplication::sendEvent(windowHandle(), &leave);
        }
    }
    return QWidget::nativeEvent(eventType, message, result);
}

} // namespace vq
