#pragma once

#include "vantaquill/island/IslandContent.hpp"
#include "vantaquill/panel/IslandPanel.hpp"

#include <QEvent>
#include <QGraphicsScene>
#include <QObject>
#include <QPointF>
#include <QSizeF>

#include <map>

class QGraphicsProxyWidget;

namespace vq {

/// Puts the panel inside the island. The panel is an ordinary widget tree that never gets a window
/// of its own: it lives in an off-screen graphics scene, each island paints the scene into its
/// outline, and the island's pointer, wheel and keys are handed to the scene, which delivers them to
/// the widget under the pointer or with the focus. So both surfaces show the same panel, drawn once.
class PanelHost final : public QObject, public IslandContent {
public:
    PanelHost();
    ~PanelHost() override;

    IslandPanel& panel() { return *panel_; }

    void opening() override;
    void closed() override;
    void setKeyboardFocus(bool focused) override;
    double height(double width) const override;
    void resize(QSizeF size) override;
    void paint(QPainter& painter, QPointF origin, double opacity) override;
    void pointer(const IslandSurface::PointerEvent& event) override;
    bool key(const IslandSurface::KeyEvent& event) override;

private:
    void sendMouse(QEvent::Type type, QPointF position, Qt::MouseButton button);
    void sendWheel(QPointF position, QPoint angleDelta);
    void focusUnder(QPointF position);

    QGraphicsScene scene_;
    IslandPanel* panel_;          ///< owned by the proxy
    QGraphicsProxyWidget* proxy_; ///< owned by the scene
    QSizeF size_;
    bool active_ = false;
    Qt::MouseButtons buttons_;
    std::map<Qt::MouseButton, QPointF> pressedAt_;
    QPointF lastPosition_;
};

} // namespace vq
