#pragma once

#include "vantaquill/island/IslandSurface.hpp"

#include <QElapsedTimer>
#include <QTimer>
#include <QMimeData>
#include <QWidget>

#include <xcb/xcb.h>

#include <cstdint>

namespace vq {

/// The island as a top-level X11 window: frameless, above other windows, never focused unless the
/// island asks for the keyboard, kept out of the taskbar and pager, on every workspace. Only the
/// outline takes the pointer (an XShape input shape), so clicks beside the island reach the windows
/// below. Where a compositing manager runs the window is translucent; where none runs its bounding
/// shape is the outline too, so nothing but the island covers the screen.
class X11IslandSurface final : public QWidget, public IslandSurface {
public:
    X11IslandSurface();

    Kind kind() const override { return Kind::x11; }
    void place(QScreen* screen, const QRect& frame) override;
    void setVisible(bool visible) override;
    void setInputRegion(const QRegion& region) override;
    void setKeyboardInteractive(bool interactive) override;
    void requestFrame() override;

    /// Whether a compositing manager owns the screen's `_NET_WM_CM_S<n>` selection.
    static bool compositorRunning(xcb_connection_t* connection, int screenNumber);

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool nativeEvent(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    void announceToWindowManager();
    void markAsDock();
    void applyShape(int kind, const QRegion& region);
    void sendPointer(PointerEvent::Type type, QPointF position, Qt::MouseButton button);
    bool sendDrop(DropEvent::Type type, QPointF position, const QMimeData* data);
    std::uint32_t focusedWindow() const;
    void giveFocusBack();

    xcb_connection_t* connection_ = nullptr;
    bool translucent_ = false;
    bool keyboardInteractive_ = false;
    /// The window that had the keyboard when the island took it.
    std::uint32_t previousFocus_ = 0;
    QRegion inputRegion_;
    xcb_atom_t xdndEnter_ = XCB_ATOM_NONE;
    /// Between a drag's enter and its leave or drop, as Qt delivered them to the island.
    bool dragInside_ = false;
    QElapsedTimer clock_;
    qint64 lastFrame_ = 0; ///< nanoseconds on `clock_`
    QTimer frameTimer_;
};

} // namespace vq
