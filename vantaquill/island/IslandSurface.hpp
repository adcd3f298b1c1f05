#pragma once

#include "vantaquill/clipboard/ClipFlavour.hpp"

#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QRegion>
#include <QString>

#include <functional>
#include <string>
#include <vector>

class QPainter;
class QScreen;

namespace vq {

/// Where the island is shown: an X11 window (X11 sessions, and XWayland where the compositor has no
/// layer shell) or a Wayland layer-shell surface. The controller and the view never know which one
/// runs: they place the surface, say which part of it takes the pointer, ask for frames and paint
/// when the surface is ready to draw. All coordinates are logical pixels; the surface applies the
/// screen's scale.
class IslandSurface {
public:
    enum class Kind { x11, layerShell };

    struct PointerEvent {
        enum class Type { enter, leave, motion, press, release, scroll };
        Type type = Type::motion;
        /// In the surface's own coordinates (origin top-left).
        QPointF position;
        Qt::MouseButton button = Qt::NoButton;
        /// A scroll's distance in eighths of a degree, as a wheel reports it (120 per notch; y > 0
        /// scrolls up, away from the user).
        QPoint angleDelta;
    };

    /// Something dragged from another program over the island: files (local paths), or a text or
    /// link. `drop` hands it over; the answer to `enter` says whether the island takes it.
    struct DropEvent {
        enum class Type { enter, move, leave, drop };
        Type type = Type::enter;
        QPointF position;
        std::vector<std::string> files;
        std::string text;
    };

    struct KeyEvent {
        int key = 0; // a Qt::Key
        Qt::KeyboardModifiers modifiers;
        QString text;
    };

    virtual ~IslandSurface() = default;

    virtual Kind kind() const = 0;

    /// Shows the surface on `screen` with the given frame in Qt's global logical coordinates (the
    /// frame hangs from the top edge, centred). A layer-shell surface uses only the size and the
    /// screen's output: it is anchored to the top edge and centred by the compositor.
    virtual void place(QScreen* screen, const QRect& frame) = 0;
    virtual void setVisible(bool visible) = 0;
    /// The part of the surface that takes pointer input (the island's outline); elsewhere clicks
    /// reach the windows below.
    virtual void setInputRegion(const QRegion& region) = 0;
    /// Asks for keyboard input (only while the expanded panel needs typing) or gives it back.
    virtual void setKeyboardInteractive(bool interactive) = 0;
    /// Asks for one frame: when the surface can draw, it calls `onFrame` and then `paint`.
    /// Nothing is scheduled until this is called again, so an island at rest costs nothing.
    virtual void requestFrame() = 0;
    /// Drags `flavours` out of the island, from the press the pointer still holds on it, where the
    /// surface has to start drags itself (a layer-shell surface is no window of Qt's, so a QDrag
    /// cannot start from it). False leaves the drag to Qt. `finished` is called once the drag ends,
    /// whether something took it or not.
    virtual bool startDrag(const ClipFlavours& /*flavours*/, std::function<void()> /*finished*/) { return false; }

    /// Advances animations to the frame's time (seconds, monotonic) before painting.
    std::function<void(double time)> onFrame;
    /// Paints the whole surface; the painter is in logical coordinates, already scaled.
    std::function<void(QPainter& painter)> paint;
    std::function<void(const PointerEvent&)> onPointer;
    std::function<void(const KeyEvent&)> onKey;
    /// A drag over the island; true when the island takes what is dragged.
    std::function<bool(const DropEvent&)> onDrop;
    /// The keyboard the surface asked for went elsewhere: the user clicked another window or
    /// switched to one, which closes an island they had opened.
    std::function<void()> onKeyboardLost;
};

} // namespace vq
