#pragma once

#include <QObject>

namespace vq {

/// Keeps a running drag on the real pointer. The panel has no window of its own: the island hands it
/// pointer events it makes up itself (a move far away when the pointer leaves the island, which
/// happens as soon as Qt's drag grabs the pointer; a release when the island closes), and Qt's drag
/// would take that release for the user's and cancel. Installed on the application while a drag
/// runs, after the drag's own filter, it drops every mouse event that did not come from the desktop.
class DragPointerGuard final : public QObject {
public:
    /// Starts guarding once the drag's event loop runs (the drag installs its filter on starting, and
    /// the filter installed last is asked first); stops when destroyed.
    DragPointerGuard();
    ~DragPointerGuard() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};

} // namespace vq
