#pragma once

#include "vantaquill/clipboard/ClipFlavour.hpp"
#include "vantaquill/island/IslandSurface.hpp"

#include <QPointF>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class QObject;
class QSocketNotifier;
struct wl_data_device;
struct wl_data_device_manager;
struct wl_data_offer;
struct wl_data_source;
struct wl_seat;
struct wl_surface;

namespace vq {

/// Drag and drop for the layer-shell island, on the island's own Wayland connection and seat.
///
/// Dropping in: what another program drags over the island is read as soon as it enters (through a
/// pipe watched by the Qt event loop, never waiting on the other program), so the island can say
/// whether it takes it before the drop, as on X11; it is then handed over as
/// `IslandSurface::DropEvent`s, and the drop is finished once taken.
///
/// Dragging out: a drag started from a press on the island offers the given flavours and writes the
/// one the target asks for into its descriptor.
class WaylandDataDevice final {
  public:
    /// The types read from a drop, best first: files (and links) before text.
    static constexpr std::string_view uriList = "text/uri-list";
    static const std::vector<std::string_view>& readableTypes();

    /// What a drop of `bytes` in `mimeType` brings: local files from a URI list (a link that is not a
    /// file becomes the text when no file comes), or the text itself.
    static IslandSurface::DropEvent content(std::string_view mimeType, std::string_view bytes);

    /// `isIsland` says whether a surface of this connection takes drops; `flush` sends what was
    /// queued (the connection's pump).
    WaylandDataDevice(wl_data_device_manager* manager, std::uint32_t managerVersion, wl_seat* seat,
                      std::function<bool(wl_surface*)> isIsland, std::function<void()> flush);
    ~WaylandDataDevice();
    WaylandDataDevice(const WaylandDataDevice&) = delete;
    WaylandDataDevice& operator=(const WaylandDataDevice&) = delete;

    /// Starts dragging `flavours` from `origin`, for the pointer press with `serial`; false when
    /// there is nothing to offer or a drag of ours still runs. `finished` is called once the drag
    /// ends, whether something took it or not.
    bool startDrag(wl_surface* origin, std::uint32_t serial, const ClipFlavours& flavours,
                   std::function<void()> finished);
    /// A drag started here is still running.
    bool dragging() const { return source_ != nullptr; }

    std::function<bool(const IslandSurface::DropEvent&)> onDrop;

  private:
    struct Incoming;

    void handleOffer(wl_data_offer* offer);
    void handleEnter(std::uint32_t serial, wl_surface* surface, QPointF position, wl_data_offer* offer);
    void handleMotion(QPointF position);
    void handleLeave();
    void handleDrop();
    void readAvailable();
    void deliverEnter();
    void deliverDrop();
    void accept(bool taken);
    void endIncoming();
    void endSource();

    wl_data_device_manager* manager_;
    std::uint32_t version_;
    wl_data_device* device_ = nullptr;
    std::function<bool(wl_surface*)> isIsland_;
    std::function<void()> flush_;
    /// The types each live offer announced (drag offers and selections alike).
    std::map<wl_data_offer*, std::vector<std::string>> offered_;
    wl_data_offer* selection_ = nullptr;
    std::unique_ptr<Incoming> incoming_;

    wl_data_source* source_ = nullptr;
    ClipFlavours sourceFlavours_;
    std::function<void()> sourceFinished_;
    // Context of the queued calls and timers: destroyed first (declared last).
    std::unique_ptr<QObject> context_;
};

} // namespace vq
