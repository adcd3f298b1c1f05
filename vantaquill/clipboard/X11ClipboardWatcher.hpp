#pragma once

#include "vantaquill/clipboard/ClipFlavour.hpp"
#include "vantaquill/clipboard/ClipboardStore.hpp"

#include <QClipboard>
#include <QObject>
#include <QTimer>

namespace vq {

/// Feeds the X11 clipboard to the store. Qt's xcb platform hears selection changes through XFixes,
/// so nothing polls: each change of the CLIPBOARD selection is read once, with the focused window
/// as its source. Runs where Qt's platform is xcb (X11, and XWayland sessions).
///
/// With `watchPrimary` the PRIMARY selection (the text last selected with the pointer) is recorded
/// too, once it has settled: half a second after its last change, and only when no pointer button
/// is held any more, since an application takes the selection when a drag begins and widens it
/// while the drag goes on.
class X11ClipboardWatcher : public QObject {
public:
    /// How long the PRIMARY selection must stay unchanged before it is read.
    static constexpr int primarySettleMs = 500;

    explicit X11ClipboardWatcher(ClipboardStore& store, bool watchPrimary = false);

    /// Whether this process's clipboard is X11's, where the watcher can work.
    static bool available();

    /// Starts or stops recording the PRIMARY selection (the "clipboard.watchPrimary" preference).
    void setWatchPrimary(bool watch);

    /// Puts flavours on the clipboard (the island's copy-back); the marker among them keeps the
    /// store from recording the write.
    void write(const ClipFlavours& flavours);

    /// Reads the clipboard (or the PRIMARY selection) now, as a change would.
    void readClipboard(QClipboard::Mode mode = QClipboard::Clipboard);

private:
    void primarySettled();

    ClipboardStore& store;
    bool watchPrimary;
    QTimer primarySettle;
};

} // namespace vq
