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
class WaylandClipboardWatcher : public QObject {
public:
    /// Connects to `WAYLAND_DISPLAY`; an error when there is none or it offers no data control.
    static std::expected<std::unique_ptr<WaylandClipboardWatcher>, std::string> connect(ClipboardStore& store);
    ~WaylandClipboardWatcher() override;

    /// Makes the flavours the seat's clipboard (the island's copy-back); the marker among them keeps
    /// the store from recording the write.
    void write(const ClipFlavours& flavours);

    struct Connection;

private:
    WaylandClipboardWatcher(ClipboardStore& store, std::unique_ptr<Connection> connection);

    std::unique_ptr<Connection> connection;
};

} // namespace vq
