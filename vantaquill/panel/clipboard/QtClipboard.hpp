#pragma once

#include "vantaquill/clipboard/ClipFlavour.hpp"

#include <functional>

class QMimeData;

namespace vq {

/// Puts flavours on the desktop's clipboard. The panel is handed the writer of the clipboard the
/// island watches (X11's through Qt, or the compositor's data control on Wayland, where Qt's own
/// clipboard needs a focused Qt window the island does not have).
using ClipboardWriter = std::function<void(const ClipFlavours&)>;

/// The flavours as Qt carries them, for the clipboard and for drags.
namespace QtClipboard {

/// A new mime data object holding every flavour under its own type, in order.
QMimeData* mimeData(const ClipFlavours& flavours);

/// Makes the flavours Qt's clipboard: the writer where Qt's clipboard is the desktop's.
void write(const ClipFlavours& flavours);

} // namespace QtClipboard

} // namespace vq
