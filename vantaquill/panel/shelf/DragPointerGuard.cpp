#include "vantaquill/panel/shelf/DragPointerGuard.hpp"

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>

namespace vq {

DragPointerGuard::DragPointerGuard() {
    QTimer::singleShot(0, this, [this] { QCoreApplication::instance()->installEventFilter(this); });
}

DragPointerGuard::~DragPointerGuard() {
    QCoreApplication::instance()->removeEventFilter(this);
}

bool DragPointerGuard::eventFilter(QObject*, QEvent* event) {
    switch (event->type()) {
    case QEvent::MouseMove:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
        return !event->spontaneous();
    default:
        return false;
    }
}

} // namespace vq
