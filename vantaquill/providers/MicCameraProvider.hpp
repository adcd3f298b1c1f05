#pragma once

#include "BrindKit/island/LiveActivity.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/providers/InotifyWatch.hpp"
#include "vantaquill/providers/Reconnection.hpp"
#include "vantaquill/providers/ServiceSockets.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>


namespace vq {

/// What libpulse's callbacks hold, on the sound server's thread.
class PulseConnection;
struct MicCameraListener;

/// A quiet, lasting activity while the camera or the microphone is in use, naming who uses it.
///
/// Camera: a program uses a camera by holding its /dev/video* node open. The nodes are watched with
/// inotify for opens and closes (and the device folder for cameras plugged in or out); each such
/// event, a moment later, has /proc/*/fd read once for the programs that hold a node. Nothing is
/// polled: an idle desktop costs nothing, and the kernel says when to look.
///
/// Microphone: the sound server (PulseAudio, or PipeWire's pulse server) is told through libpulse to
/// report recordings; every recording stream from an input that is running (not corked) counts, by
/// its `application.name`. Recordings of an output's monitor are what screen recorders and level
/// meters do, not the microphone, and are left out.
class MicCameraProvider final : public LiveActivityCenter::Provider {
  public:
    static constexpr std::string_view providerID = "micCamera";
    static constexpr std::string_view cameraID = "micCamera.camera";
    static constexpr std::string_view microphoneID = "micCamera.microphone";
    /// A program opening a camera often probes it first: the holders are read this long after the
    /// last open or close.
    static constexpr double settleDelay = 0.3;

    using MainThread = std::function<void(std::function<void()>)>;
    using Log = std::function<void(const std::string&)>;

    enum class Device { camera, microphone };

    MicCameraProvider(Scheduler& scheduler, MainThread mainThread, Log log,
                      std::filesystem::path deviceFolder = "/dev",
                      std::filesystem::path processFolder = "/proc");
    ~MicCameraProvider() override;
    MicCameraProvider(const MicCameraProvider&) = delete;
    MicCameraProvider& operator=(const MicCameraProvider&) = delete;

    std::string id() const override { return std::string(providerID); }
    void start(LiveActivityCenter& center) override;
    void stop() override;

    /// Whether a device node's name is a camera's ("video0", not "videoplayer" nor "video0-meta").
    static bool isCameraNode(std::string_view name);
    /// The names of the programs that hold a camera node of `deviceFolder` open, sorted and without
    /// repeats: each process's `comm` under `processFolder`. Processes of other users cannot be read
    /// and are passed over.
    static std::vector<std::string> cameraHolders(const std::filesystem::path& processFolder,
                                                  const std::filesystem::path& deviceFolder);
    /// The activity for a device in use by `users`; nothing when nobody uses it.
    static std::optional<brind::LiveActivity> activity(Device device, const std::vector<std::string>& users);

  private:
    friend struct MicCameraListener;
    struct Shared;

    void watchCameras();
    void handleCameraEvents(const std::vector<InotifyWatch::Event>& events);
    void cameraChanged();
    void show(Device device, const std::vector<std::string>& users);
    void connectSound();
    void disconnectSound();
    void soundLost(std::uint64_t generation);
    void soundConnected(std::uint64_t generation);

    Scheduler& scheduler_;
    MainThread mainThread_;
    Log log_;
    std::filesystem::path deviceFolder_;
    std::filesystem::path processFolder_;
    LiveActivityCenter* center_ = nullptr;

    std::unique_ptr<InotifyWatch> watch_;
    /// Watch descriptor of each camera node.
    std::map<int, std::string> nodes_;
    std::unique_ptr<Scheduler::Timer> cameraTimer_;

    std::unique_ptr<PulseConnection> pulse_;
    std::unique_ptr<MicCameraListener> listener_;
    std::shared_ptr<Shared> shared_;
    Reconnection reconnection_{scheduler_, [this] { connectSound(); }, ServiceSockets().pulse()};
    bool toldNoSound_ = false;
};

} // namespace vq
