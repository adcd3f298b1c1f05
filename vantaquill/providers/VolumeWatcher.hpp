#pragma once

#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/providers/Reconnection.hpp"
#include "vantaquill/providers/ServiceSockets.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace vq {

class PulseConnection;

/// What libpulse's callbacks hold, on the sound server's thread.
struct VolumeWatcherCallbacks;

/// Flashes the volume HUD when the default output's level or mute changes: another program, the
/// desktop's own keys or a mixer changed it. It talks to the sound server through libpulse, which
/// PulseAudio serves and PipeWire serves through pipewire-pulse, follows the default sink as it
/// changes, and never flashes for the level it finds on connecting or on a new default sink. A sound
/// server that is missing or goes away is asked for again when its socket appears (see `Reconnection`).
class VolumeWatcher final : public LiveActivityCenter::Provider {
  public:
    static constexpr std::string_view providerID = "volume";
    /// Runs a function on the main thread (libpulse calls back on its own thread).
    using MainThread = std::function<void(std::function<void()>)>;
    using Log = std::function<void(const std::string&)>;
    /// Asked at each change made elsewhere whether to flash it (the switches, and the moments right
    /// after the island's own change, whose echo this watcher hears too).
    using MayFlash = std::function<bool()>;

    /// What the default sink reports.
    struct Level {
        unsigned sinkIndex = 0;
        std::string label;
        double value = 0;
        bool muted = false;

        friend bool operator==(const Level&, const Level&) = default;
    };

    VolumeWatcher(Scheduler& scheduler, MainThread mainThread, Log log, MayFlash mayFlash);
    ~VolumeWatcher() override;
    VolumeWatcher(const VolumeWatcher&) = delete;
    VolumeWatcher& operator=(const VolumeWatcher&) = delete;

    std::string id() const override { return std::string(providerID); }
    void start(LiveActivityCenter& center) override;
    void stop() override;

  private:
    friend struct VolumeWatcherCallbacks;
    struct Shared;
    void connect();
    void disconnect();
    /// On the main thread: connection `generation` failed or was lost.
    void lost(std::uint64_t generation);
    void connected(std::uint64_t generation);

    Scheduler& scheduler_;
    MainThread mainThread_;
    Log log_;
    MayFlash mayFlash_;
    std::unique_ptr<PulseConnection> pulse_;
    std::unique_ptr<VolumeWatcherCallbacks> callbacks_;
    /// The main thread's side: the centre to flash, the level last seen and the current connection;
    /// kept alive by the functions already posted to the main thread, which find it cleared after `stop`.
    std::shared_ptr<Shared> shared_;
    /// A sound server that is missing or went away is asked for again (see `Reconnection`).
    Reconnection reconnection_{scheduler_, [this] { connect(); }, ServiceSockets().pulse()};
    bool toldMissing_ = false;
};

} // namespace vq
