#pragma once

#include "vantaquill/clipboard/ClipFlavour.hpp"
#include "vantaquill/clipboard/ClipboardStore.hpp"

#include <QObject>

#include <expected>
#include <memory>
#include <string>

namespace vq {

/// Feeds a Wayland compositor's clipboard to the store through the data-control protocol
/// (`ext_data_control_manager_v1`, else `zwlr_data_control_manager_v1`: compositors offer one or the
/// other), on a connection of its own. Each new selection's useful types are read through pipes as
/// their data arrives, so a slow source never blocks the island; a newer selection abandons the
/// reading of an older one. Wayland names no source application, so copies carry none.
///
/// With `watchPrimary` the primary selection (the text last selected with the pointer) is recorded
/// too, once it has stayed the same for half a second: applications that offer it anew while a
/// selection widens give only the settled text to the history.
class WaylandClipboardWatcher : public QObject {
public:
    /// How long the primary selection must stay unchanged before it is read.
    static constexpr int primarySettleMs = 500;

    /// Connects to `WAYLAND_DISPLAY`; an error when there is none or it offers no data control.
    static std::expected<std::unique_ptr<WaylandClipboardWatcher>, std::string> connect(ClipboardStore& store,
                                                                                        bool watchPrimary = false);
    ~WaylandClipboardWatcher() override;

    /// Starts or stops recording the primary selection (the "clipboard.watchPrimary" preference).
    void setWatchPrimary(bool watch);

    /// Makes the flavours the seat's clipboard (the island's copy-back); the marker among them keeps
    /// the store from recording the write.
    void write(const ClipFlavours& flavours);

    struct Connection;

private:
    WaylandClipboardWatcher(ClipboardStore& store, std::unique_ptr<Connection> connection);

    std::unique_ptr<Connection> connection;
};

} // namespace vq
