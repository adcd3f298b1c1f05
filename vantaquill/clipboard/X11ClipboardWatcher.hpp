#pragma once

#include "vantaquill/clipboard/ClipFlavour.hpp"
#include "vantaquill/clipboard/ClipboardStore.hpp"

#include <QObject>

namespace vq {

/// Feeds the X11 clipboard to the store. Qt's xcb platform hears selection changes through XFixes,
/// so nothing polls: each change of the CLIPBOARD selection is read once, with the focused window
/// as its source. Runs where Qt's platform is xcb (X11, and XWayland sessions).
class X11ClipboardWatcher : public QObject {
public:
    explicit X11ClipboardWatcher(ClipboardStore& store);

    /// Whether this process's clipboard is X11's, where the watcher can work.
    static bool available();

    /// Puts flavours on the clipboard (the island's copy-back); the marker among them keeps the
    /// store from recording the write.
    void write(const ClipFlavours& flavours);

    /// Reads the clipboard now, as a change would.
    void readClipboard();

private:
    ClipboardStore& store;
};

} // namespace vq
