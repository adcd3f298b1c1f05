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
    const std::optional<std::string>& connectionError() const { return m_connectionError; }
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

    wl_display* m_display = nullptr;
    wl_registry* m_registry = nullptr;
    wl_compositor* m_compositor = nullptr;
    std::uint32_t m_compositorVersion = 0;
    wl_shm* m_shm = nullptr;
    wl_seat* m_seat = nullptr;
    std::uint32_t m_seatVersion = 0;
    wl_pointer* m_pointer = nullptr;
    wl_keyboard* m_keyboard = nullptr;
    wl_data_device_manager* m_dataDeviceManager = nullptr;
    std::uint32_t m_dataDeviceManagerVersion = 0;
    /// Drops onto the island and drags out of it; none when the compositor has no data devices.
    std::unique_ptr<WaylandDataDevice> m_dataDevice;
    zwlr_layer_shell_v1* m_layerShell = nullptr;
    std::uint32_t m_layerShellVersion = 0;
    std::vector<std::unique_ptr<Output>> m_outputs;

    // What the island asked for.
    QString m_screenName;
    std::optional<QPoint> m_screenPosition;
    QSize m_size;
    bool m_visible = true;
    std::optional<QRegion> m_inputRegion;
    bool m_keyboardInteractive = false;

    // What the compositor has.
    wl_surface* m_surface = nullptr;
    zwlr_layer_surface_v1* m_layerSurface = nullptr;
    Output* m_surfaceOutput = nullptr;
    QSize m_requestedSize;
    QSize m_configuredSize;
    bool m_configured = false;
    int m_appliedScale = 1;
    wl_callback* m_frameCallback = nullptr;
    bool m_frameWanted = false;
    bool m_drawing = false;
    bool m_drawQueued = false;
    bool m_reconcileQueued = false;
    std::vector<std::unique_ptr<ShmBuffer>> m_buffers;

    bool m_pointerInside = false;
    /// The serial of the press the pointer holds on the island (0 once released): a drag out starts
    /// from it.
    std::uint32_t m_pressSerial = 0;
    QPointF m_pointerPosition;
    /// Scrolling gathered from axis events until the pointer frame that ends them.
    QPointF m_scroll;
    bool m_keyboardFocused = false;
    xkb_context* m_xkbContext = nullptr;
    xkb_keymap* m_keymap = nullptr;
    xkb_state* m_xkbState = nullptr;

    std::optional<std::string> m_connectionError;
    // The connection, driven from the Qt event loop.
    std::unique_ptr<WaylandEventPump> m_pump;
    // Context of the queued calls: destroyed first (it is declared last), so nothing queued runs on a
    // half-destroyed surface.
    std::unique_ptr<QObject> m_context;
};

} // namespace vq
