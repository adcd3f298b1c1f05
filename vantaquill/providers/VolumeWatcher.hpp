#pragma once

#include "vantaquill/LiveActivityCenter.hpp"

#include <functional>
#include <memory>
#include <string>
#include <string_view>

struct pa_context;
struct pa_threaded_mainloop;

namespace vq {

/// What libpulse's callbacks hold, on the sound server's thread.
struct VolumeWatcherCallbacks;

/// Flashes the volume HUD when the default output's level or mute changes: another program, the
/// desktop's own keys or a mixer changed it. It talks to the sound server through libpulse, which
/// PulseAudio serves and PipeWire serves through pipewire-pulse, follows the default sink as it
/// changes, and never flashes for the level it finds on start or on a new default sink.
class VolumeWatcher final : public LiveActivityCenter::Provider {
  public:
    static constexpr std::string_view providerID = "volume";
    /// Runs a function on the main thread (libpulse calls back on its own thread).
    using MainThread = std::function<void(std::function<void()>)>;
    using Log = std::function<void(const std::string&)>;

    /// What the default sink reports.
    struct Level {
        unsigned sinkIndex = 0;
        std::string label;
        double value = 0;
        bool muted = false;

        friend bool operator==(const Level&, const Level&) = default;
    };

    VolumeWatcher(MainThread mainThread, Log log);
    ~VolumeWatcher() override;
    VolumeWatcher(const VolumeWatcher&) = delete;
    VolumeWatcher& operator=(const VolumeWatcher&) = delete;

    std::string id() const override { return std::string(providerID); }
    void start(LiveActivityCenter& center) override;
    void stop() override;

  private:
    struct Shared;

    MainThread mainThread_;
    Log log_;
    pa_threaded_mainloop* loop_ = nullptr;
    pa_context* context_ = nullptr;
    std::unique_ptr<VolumeWatcherCallbacks> callbacks_;
    /// The main thread's side: the centre to flash and the level last seen; kept alive by the
    /// functions already posted to the main thread, which find the centre gone after `stop`.
    std::shared_ptr<Shared> shared_;
};

} // namespace vq
