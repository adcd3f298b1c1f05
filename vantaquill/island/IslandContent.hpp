#pragma once

#include "vantaquill/island/IslandSurface.hpp"

#include <QRectF>

#include <functional>

class QPainter;

namespace vq {

/// What the expanded island shows below its header: the panel. One content serves every island
/// (one per screen); each island paints it into its own outline and forwards its input to it, so
/// the content is drawn once whichever surface shows it.
class IslandContent {
public:
    virtual ~IslandContent() = default;

    /// The island starts opening: the content chooses what to show first.
    virtual void opening() = 0;
    /// The island closed; the content lets go of the keyboard focus it held.
    virtual void closed() = 0;
    /// The content takes or loses the keyboard (the island took it, or gave it back).
    virtual void setKeyboardFocus(bool focused) = 0;

    /// The height the content wants at `width` (logical pixels).
    virtual double height(double width) const = 0;
    /// The size the content is laid out at: the settled panel area, not an animation's frame.
    virtual void resize(QSizeF size) = 0;
    /// Paints the content with its top-left corner at `origin` (surface coordinates), faded to
    /// `opacity` while the island opens.
    virtual void paint(QPainter& painter, QPointF origin, double opacity) = 0;
    /// A pointer event in content coordinates (origin top-left of the content).
    virtual void pointer(const IslandSurface::PointerEvent& event) = 0;
    /// A key while the island holds the keyboard; false when the content had no use for it.
    virtual bool key(const IslandSurface::KeyEvent& event) = 0;

    /// Something changed on screen: islands that show the content ask for a frame.
    std::function<void()> onRepaint;
    /// The wanted height may have changed.
    std::function<void()> onResize;
    /// The content asks the island to open (something only the user can answer arrived).
    std::function<void()> onOpenRequested;
    /// The content asks the island to close (an answer left nothing to do).
    std::function<void()> onCloseRequested;
};

} // namespace vq
