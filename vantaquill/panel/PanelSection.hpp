#pragma once

#include <QString>
#include <QWidget>

#include <functional>

namespace vq {

/// One section of the island's expanded panel (Agents, Activities, Shelf, Clipboard, Widgets). A
/// section is an ordinary widget tree: the panel renders it inside the island's outline on either
/// surface and forwards the pointer, the wheel and the keyboard to it, so a section never knows
/// whether it is shown on X11 or on a layer-shell surface.
class PanelSection : public QWidget {
public:
    explicit PanelSection(QWidget* parent = nullptr) : QWidget(parent) {}

    /// The section's name in the panel's header.
    virtual QString title() const = 0;
    /// A short count shown after the name on the section's button, or nothing.
    virtual QString badge() const { return {}; }
    /// Whether the section holds something only the user can answer (a permission request, a
    /// question, a consent prompt): the island opens on such a section first.
    virtual bool needsUser() const = 0;
    /// The height the section's content wants at `width` (logical pixels). The island's expanded
    /// height follows it up to what the window can hold; beyond that the section scrolls.
    virtual int contentHeight(int width) const = 0;

    /// Set by the panel: called when `title`, `badge`, `needsUser` or `contentHeight` may have changed.
    std::function<void()> onChanged;
    /// Set by the panel: the section asks the island to close (after an answer that leaves nothing
    /// to do, or Escape pressed where the section has no use for it).
    std::function<void()> onCloseRequested;
    /// Set by the panel: the section asks the island to open on it now (a consent prompt arrived,
    /// which only the user can answer and which times out).
    std::function<void()> onOpenRequested;

protected:
    void changed() {
        if (onChanged)
            onChanged();
    }
    void requestClose() {
        if (onCloseRequested)
            onCloseRequested();
    }
    void requestOpen() {
        if (onOpenRequested)
            onOpenRequested();
    }
};

} // namespace vq
