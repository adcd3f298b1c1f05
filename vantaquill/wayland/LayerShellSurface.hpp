#pragma once

#include "vantaquill/island/IslandSurface.hpp"

#include <QObject>
#include <QPoint>
#include <QPointF>
#include <QRegion>
#include <QSize>
#include <QString>
#include <cstdint>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct wl_callback;
struct wl_compositor;
struct wl_data_device_manager;
struct wl_display;
struct wl_keyboard;
struct wl_output;
struct wl_pointer;
struct wl_registry;
struct wl_seat;
struct wl_shm;
struct wl_surface;
struct xkb_context;
struct xkb_keymap;
struct xkb_state;
struct zwlr_layer_shell_v1;
struct zwlr_layer_surface_v1;

namespace vq {

class ShmBuffer;
class WaylandDataDevice;
class WaylandEventPump;

/// The island as a layer-shell surface on Wayland compositors that offer zwlr_layer_shell_v1
/// (sway, Hyprland, KDE Plasma, ...): in the overlay layer, anchored to the top edge of one output
/// and centred by the compositor, painted with QPainter into shared-memory buffers.
///
/// Qt 6.4 cannot give one of its windows the layer role, so the surface has a Wayland connection of
/// its own beside Qt's (whatever platform Qt runs on); its descriptor is watched from the Qt event
/// loop, so everything happens on the main thread.
class LayerShellSurface final : public IslandSurface {
  public:
    struct Probe {
        bool offered = false;
        /// Why the layer shell can or cannot be used, for the one line the application logs.
        std::string reason;
    };

    /// Asks the compositor named by WAYLAND_DISPLAY whether it offers the layer shell, over a
    /// short-lived connection.
    static Probe probe();

    /// Connects to the compositor; needs a running QCoreApplication (or QGuiApplication).
    static std::expected<std::unique_ptr<LayerShellSurface>, std::string> connect();

    ~LayerShellSurface() override;
    LayerShellSurface(const LayerShellSurface&) = delete;
    LayerShellSurface& operator=(const LayerShellSurface&) = delete;

    Kind kind() const override { return Kind::layerShell; }
    void place(QScreen* screen, const QRect& frame) override;
    void setVisible(bool visible) override;
    void setInputRegion(const QRegion& region) override;
    void setKeyboardInteractive(bool interactive) override;
    void requestFrame() override;
    bool startDrag(const ClipFlavours& flavours, std::function<void()> finished) override;

    /// Set once the compositor ended the connection (a protocol error or a lost socket); the reason
    /// has been written to stderr and the surface does nothing any more.
    const std::optional<std::string>& connectionError() const { return connectionError_; }
    /// The output the surface is shown on (its wl_output name), empty while none.
    std::string outputName() const;

  private:
    struct Output {
        LayerShellSurface* owner = nullptr;
        std::uint32_t registryName = 0;
        wl_output* output = nullptr;
        std::uint32_t version = 0;
        std::string name;
        QPoint position;
        int scale = 1;
        int pendingScale = 1;
        bool ready = false;
    };

    LayerShellSurface() = default;

    // Registry and globals.
    void handleGlobal(std::uint32_t name, const char* interface, std::uint32_t version);
    void handleGlobalRemove(std::uint32_t name);
    void handleOutputDone(Output& output);
    void handleSeatCapabilities(std::uint32_t capabilities);

    // The layer surface follows the wanted state (visible, size, screen) through one function.
    void reconcile();
    void reconcileLater();
    Output* chooseOutput();
    void createSurface(Output& output);
    void destroySurface();
    void handleConfigure(std::uint32_t serial, std::uint32_t width, std::uint32_t height);
    void handleClosed();
    void applyInputRegion();
    void applyKeyboardInteractivity();
    void commit();

    // Frames.
    void drawLater();
    void draw();
    void handleFrameDone();
    ShmBuffer* freeBuffer(QSize pixelSize, int scale);

    // Input.
    void handlePointer(PointerEvent::Type type, std::uint32_t evdevButton = 0);
    void handleKeymap(int fd, std::uint32_t size);
    void handleKey(std::uint32_t key, std::uint32_t state);

    wl_display* display_ = nullptr;
    wl_registry* registry_ = nullptr;
    wl_compositor* compositor_ = nullptr;
    std::uint32_t compositorVersion_ = 0;
    wl_shm* shm_ = nullptr;
    wl_seat* seat_ = nullptr;
    std::uint32_t seatVersion_ = 0;
    wl_pointer* pointer_ = nullptr;
    wl_keyboard* keyboard_ = nullptr;
    wl_data_device_manager* dataDeviceManager_ = nullptr;
    std::uint32_t dataDeviceManagerVersion_ = 0;
    /// Drops onto the island and drags out of it; none when the compositor has no data devices.
    std::unique_ptr<WaylandDataDevice> dataDevice_;
    zwlr_layer_shell_v1* layerShell_ = nullptr;
    std::uint32_t layerShellVersion_ = 0;
    std::vector<std::unique_ptr<Output>> outputs_;

    // What the island asked for.
    QString screenName_;
    std::optional<QPoint> screenPosition_;
    QSize size_;
    bool visible_ = true;
    std::optional<QRegion> inputRegion_;
    bool keyboardInteractive_ = false;

    // What the compositor has.
    wl_surface* surface_ = nullptr;
    zwlr_layer_surface_v1* layerSurface_ = nullptr;
    Output* surfaceOutput_ = nullptr;
    QSize requestedSize_;
    QSize configuredSize_;
    bool configured_ = false;
    int appliedScale_ = 1;
    wl_callback* frameCallback_ = nullptr;
    bool frameWanted_ = false;
    bool drawing_ = false;
    bool drawQueued_ = false;
    bool reconcileQueued_ = false;
    std::vector<std::unique_ptr<ShmBuffer>> buffers_;

    bool pointerInside_ = false;
    /// The serial of the press the pointer holds on the island (0 once released): a drag out starts
    /// from it.
    std::uint32_t pressSerial_ = 0;
    QPointF pointerPosition_;
    /// Scrolling gathered from axis events until the pointer frame that ends them.
    QPointF scroll_;
    bool keyboardFocused_ = false;
    xkb_context* xkbContext_ = nullptr;
    xkb_keymap* keymap_ = nullptr;
    xkb_state* xkbState_ = nullptr;

    std::optional<std::string> connectionError_;
    // The connection, driven from the Qt event loop.
    std::unique_ptr<WaylandEventPump> pump_;
    // Context of the queued calls: destroyed first (it is declared last), so nothing queued runs on a
    // half-destroyed surface.
    std::unique_ptr<QObject> context_;
};

} // namespace vq
