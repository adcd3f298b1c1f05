#pragma once

#include <QPoint>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QObject;
struct wl_display;
struct wl_output;
struct wl_registry;
struct zwlr_foreign_toplevel_handle_v1;
struct zwlr_foreign_toplevel_manager_v1;

namespace vq {

class WaylandEventPump;

/// Follows the windows of every client on Wayland compositors that offer
/// zwlr_foreign_toplevel_manager_v1 (sway, Hyprland, ...), and says when the active window may have
/// entered or left full screen: the island's layer surface stays above full-screen windows, so
/// hiding it there is the application's job.
///
/// Like the layer-shell surface it has a Wayland connection of its own, watched from the Qt event
/// loop; the compositor announces every change, so nothing is polled.
class WaylandFullScreenWatcher final {
  public:
    /// Connects to the compositor named by WAYLAND_DISPLAY; needs a running QGuiApplication (whose
    /// screens the outputs are matched with). Fails when the compositor does not tell clients which
    /// windows are full screen.
    static std::expected<std::unique_ptr<WaylandFullScreenWatcher>, std::string>
    connect(std::function<void()> onChange);

    ~WaylandFullScreenWatcher();
    WaylandFullScreenWatcher(const WaylandFullScreenWatcher&) = delete;
    WaylandFullScreenWatcher& operator=(const WaylandFullScreenWatcher&) = delete;

    /// The centre of the screen whose active window is full screen, in global logical coordinates.
    std::optional<QPoint> fullScreenWindowCentre() const;

  private:
    struct Output {
        std::uint32_t registryName = 0;
        wl_output* output = nullptr;
        std::uint32_t version = 0;
        std::string name;
        QPoint position;
    };
    struct Toplevel {
        WaylandFullScreenWatcher* owner = nullptr;
        zwlr_foreign_toplevel_handle_v1* handle = nullptr;
        std::vector<std::uint32_t> pendingStates;
        bool activated = false;
        bool fullScreen = false;
        std::vector<wl_output*> outputs;
    };

    WaylandFullScreenWatcher() = default;

    void handleGlobal(std::uint32_t name, const char* interface, std::uint32_t version);
    void handleGlobalRemove(std::uint32_t name);
    void handleToplevel(zwlr_foreign_toplevel_handle_v1* handle);
    void handleDone(Toplevel& toplevel);
    void handleClosed(Toplevel& toplevel);
    void handleFinished();
    const Output* outputOf(wl_output* output) const;
    void announce();

    void handleConnectionLost();

    std::function<void()> onChange_;
    wl_display* display_ = nullptr;
    wl_registry* registry_ = nullptr;
    std::uint32_t managerName_ = 0;
    std::uint32_t managerVersion_ = 0;
    zwlr_foreign_toplevel_manager_v1* manager_ = nullptr;
    std::vector<std::unique_ptr<Output>> outputs_;
    std::vector<std::unique_ptr<Toplevel>> toplevels_;
    std::unique_ptr<WaylandEventPump> pump_;
    // Destroyed first (declared last), so that nothing the event loop still holds runs on a
    // half-destroyed watcher.
    std::unique_ptr<QObject> context_;
};

} // namespace vq
