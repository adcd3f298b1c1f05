#include "vantaquill/panel/shelf/DragPointerGuard.hpp"

#include <QCoreApplication>
#include <QMouseEvent>
#include <QWidget>

#include <gtest/gtest.h>

#include <memory>

namespace vq {
namespace {

class ReleaseCounter : public QWidget {
public:
    int releases = 0;

protected:
    void mouseReleaseEvent(QMouseEvent*) override { ++releases; }
};

void sendMadeUpRelease(QWidget& widget) {
    QMouseEvent release(QEvent::MouseButtonRelease, QPointF(5, 5), QPointF(-1e6, -1e6), Qt::LeftButton,
                        Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &release);
}

// The release the island sends the panel when it closes mid-drag must not reach Qt's drag, which
// would end the drag there; once the drag is over, the panel gets its events again.
TEST(DragPointerGuard, DropsMadeUpPointerEventsOnlyWhileItLives) {
    ReleaseCounter widget;
    auto guard = std::make_unique<DragPointerGuard>();
    QCoreApplication::processEvents(); // the drag's event loop runs
    sendMadeUpRelease(widget);
    EXPECT_EQ(widget.releases, 0);

    guard.reset();
    sendMadeUpRelease(widget);
    EXPECT_EQ(widget.releases, 1);
}

} // namespace
} // namespace vq
