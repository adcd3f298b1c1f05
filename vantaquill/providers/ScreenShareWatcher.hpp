#pragma once

#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/providers/Reconnection.hpp"
#include "vantaquill/providers/ServiceSockets.hpp"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

struct pw_thread_loop;
struct pw_context;
struct pw_core;
struct pw_registry;

namespace vq {

/// What PipeWire's callbacks hold, on PipeWire's thread.
struct ScreenShareCallbacks;

/// Tells whether the screen is being shared or recorded, so that the island can hide meanwhile
/// ("island.hideWhenSharing"). On Wayland every screen capture goes through the desktop's
/// screen-cast portal, whose backend (GNOME's, KDE's, wlroots') hands the picture over as a PipeWire
/// video stream: the watcher follows PipeWire's registry and counts the video sources that are
/// streams made by a program rather than devices. It cannot see captures that bypass PipeWire: X11
/// programs reading the screen directly, and wlroots' screencopy used without the portal. A PipeWire
/// that is missing or goes away is asked for again when its socket appears, and said once.
class ScreenShareWatcher final : public LiveActivityCenter::Provider {
  public:
    static constexpr std::string_view providerID = "screenCapture";
    using MainThread = std::function<void(std::function<void()>)>;
    using Log = std::function<void(const std::string&)>;
    /// Told on the main thread whenever sharing starts or ends.
    using Change = std::function<void(bool shared)>;

    ScreenShareWatcher(Scheduler& scheduler, MainThread mainThread, Log log, Change onChange);
    ~ScreenShareWatcher() override;
    ScreenShareWatcher(const ScreenShareWatcher&) = delete;
    ScreenShareWatcher& operator=(const ScreenShareWatcher&) = delete;

    std::string id() const override { return std::string(providerID); }
    void start(LiveActivityCenter& center) override;
    void stop() override;

    bool shared() const { return shared_; }

    /// Whether a PipeWire node with these properties carries a captured screen: a video source
    /// ("Video/Source", or "Stream/Output/Video") that no device stands behind (cameras and capture
    /// cards have a "device.id") and that is not a camera passed on by a program.
    static bool isScreenCapture(const std::map<std::string, std::string, std::less<>>& properties);

  private:
    friend struct ScreenShareCallbacks;
    struct Shared;
    void connect();
    void changed(bool shared);
    /// On the main thread: the connection failed or ended.
    void lost(const std::string& why);
    void release();

    Scheduler& scheduler_;
    MainThread mainThread_;
    Log log_;
    Change onChange_;
    pw_thread_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
    pw_registry* registry_ = nullptr;
    std::unique_ptr<ScreenShareCallbacks> callbacks_;
    std::shared_ptr<Shared> shared_state_;
    bool shared_ = false;
    /// PipeWire, missing or gone, is asked for again (see `Reconnection`).
    Reconnection reconnection_{scheduler_, [this] { connect(); }, ServiceSockets().pipewire()};
    bool toldMissing_ = false;
};

} // namespace vq
