#include "vantaquill/panel/PanelHost.hpp"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QGraphicsProxyWidget>
#include <QGraphicsSceneMouseEvent>
#include <QGraphicsSceneWheelEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>

#include <cmath>

namespace vq {

PanelHost::PanelHost() : panel_(new IslandPanel) {
    proxy_ = scene_.addWidget(panel_);
    proxy_->setPos(0, 0);
    // Shown while an island is open.
    proxy_->hide();
    // The scene reports every repaint of the panel (a typed letter, a blinking cursor, a scrolled
    // list) once per turn of the event loop; islands that show the panel draw a frame for it.
    connect(&scene_, &QGraphicsScene::changed, this, [this] {
        if (onRepaint)
            onRepaint();
    });
    panel_->onChanged = [this] {
        if (onResize)
            onResize();
        if (onRepaint)
            onRepaint();
    };
    panel_->onOpenRequested = [this] {
        if (onOpenRequested)
            onOpenRequested();
    };
    panel_->onCloseRequested = [this] {
        if (onCloseRequested)
            onCloseRequested();
    };
}

PanelHost::~PanelHost() {
    panel_->onChanged = nullptr;
    scene_.disconnect(this);
}

void PanelHost::opening() {
    proxy_->show();
    panel_->chooseOnOpening();
}

void PanelHost::closed() {
    setKeyboardFocus(false);
    // A button held when the island closed must not stay pressed for the next opening.
    for (const auto& [button, at] : std::map(pressedAt_))
        sendMouse(QEvent::GraphicsSceneMouseRelease, lastPosition_, button);
    // Hidden, the sections stop what only an open panel needs (countdowns, samplers, animations).
    proxy_->hide();
}

void PanelHost::setKeyboardFocus(bool focused) {
    if (focused == active_)
        return;
    active_ = focused;
    // The scene is active as a window would be: its focus item shows a caret and takes keys.
    QEvent activation(focused ? QEvent::WindowActivate : QEvent::WindowDeactivate);
    QCoreApplication::sendEvent(&scene_, &activation);
    if (focused) {
        proxy_->setFocus(Qt::ActiveWindowFocusReason);
        if (!panel_->focusWidget())
            panel_->focusCurrent();
    } else {
        proxy_->clearFocus();
    }
}

double PanelHost::height(double width) const {
    return panel_->contentHeight(static_cast<int>(std::floor(width)));
}

void PanelHost::resize(QSizeF size) {
    if (size == size_)
        return;
    size_ = size;
    proxy_->resize(size);
    scene_.setSceneRect(QRectF(QPointF(), size));
}

void PanelHost::paint(QPainter& painter, QPointF origin, double opacity) {
    if (size_.isEmpty())
        return;
    // The scene sets each item's own opacity on the painter, so the fade goes through the item.
    if (proxy_->opacity() != opacity)
        proxy_->setOpacity(opacity);
    scene_.render(&painter, QRectF(origin, size_), QRectF(QPointF(), size_));
}

void PanelHost::focusUnder(QPointF position) {
    // Qt gives the keyboard to a clicked field only for clicks that come from the window system;
    // the panel's clicks are handed over by the island, so the panel does what Qt would.
    for (QWidget* widget = panel_->childAt(position.toPoint()); widget && widget != panel_;
         widget = widget->parentWidget()) {
        if (widget->isEnabled() && (widget->focusPolicy() & Qt::ClickFocus)) {
            widget->setFocus(Qt::MouseFocusReason);
            return;
        }
    }
}

void PanelHost::sendMouse(QEvent::Type type, QPointF position, Qt::MouseButton button) {
    if (type == QEvent::GraphicsSceneMousePress) {
        focusUnder(position);
        buttons_ |= button;
        pressedAt_[button] = position;
    } else if (type == QEvent::GraphicsSceneMouseRelease) {
        buttons_ &= ~button;
    }
    QGraphicsSceneMouseEvent event(type);
    event.setScenePos(position);
    event.setScreenPos(position.toPoint());
    event.setLastScenePos(lastPosition_);
    event.setLastScreenPos(lastPosition_.toPoint());
    for (const auto& [held, at] : pressedAt_) {
        event.setButtonDownScenePos(held, at);
        event.setButtonDownScreenPos(held, at.toPoint());
    }
    event.setButtons(buttons_);
    event.setButton(button);
    event.setModifiers(QGuiApplication::keyboardModifiers());
    event.setAccepted(false);
    QCoreApplication::sendEvent(&scene_, &event);
    if (type == QEvent::GraphicsSceneMouseRelease)
        pressedAt_.erase(button);
    lastPosition_ = position;
}

void PanelHost::sendWheel(QPointF position, QPoint angleDelta) {
    const bool vertical = angleDelta.y() != 0;
    QGraphicsSceneWheelEvent event(QEvent::GraphicsSceneWheel);
    event.setScenePos(position);
    event.setScreenPos(position.toPoint());
    event.setButtons(buttons_);
    event.setModifiers(QGuiApplication::keyboardModifiers());
    event.setDelta(vertical ? angleDelta.y() : angleDelta.x());
    event.setOrientation(vertical ? Qt::Vertical : Qt::Horizontal);
    event.setAccepted(false);
    QCoreApplication::sendEvent(&scene_, &event);
}

void PanelHost::pointer(const IslandSurface::PointerEvent& event) {
    using Type = IslandSurface::PointerEvent::Type;
    switch (event.type) {
    case Type::enter:
    case Type::motion:
        sendMouse(QEvent::GraphicsSceneMouseMove, event.position, Qt::NoButton);
        return;
    case Type::leave:
        // Far outside the panel: whatever was under the pointer loses its hover.
        sendMouse(QEvent::GraphicsSceneMouseMove, QPointF(-1e6, -1e6), Qt::NoButton);
        return;
    case Type::press:
        sendMouse(QEvent::GraphicsSceneMousePress, event.position, event.button);
        return;
    case Type::release:
        if (buttons_ & event.button)
            sendMouse(QEvent::GraphicsSceneMouseRelease, event.position, event.button);
        return;
    case Type::scroll:
        if (!event.angleDelta.isNull())
            sendWheel(event.position, event.angleDelta);
        return;
    }
}

bool PanelHost::key(const IslandSurface::KeyEvent& event) {
    // Buttons outside dialogs ignore Enter; in the panel Enter presses the focused button, which is
    // what a keyboard user expects from Allow, Deny and the others.
    if (event.key == Qt::Key_Return || event.key == Qt::Key_Enter) {
        if (auto* button = qobject_cast<QAbstractButton*>(panel_->focusWidget()); button && button->isEnabled()) {
            button->click();
            return true;
        }
    }
    const auto modifiers = event.modifiers;
    QKeyEvent press(QEvent::KeyPress, event.key, modifiers, event.text);
    press.setAccepted(false);
    QCoreApplication::sendEvent(&scene_, &press);
    // The surfaces report presses only; a button pressed with Space clicks on its release.
    QKeyEvent release(QEvent::KeyRelease, event.key, modifiers, event.text);
    QCoreApplication::sendEvent(&scene_, &release);
    return press.isAccepted();
}

} // namespace vq
