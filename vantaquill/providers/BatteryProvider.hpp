#pragma once

#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/providers/BatteryPeeks.hpp"
#include "vantaquill/providers/SystemBusRelay.hpp"

#include <QDBusConnection>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

class QFileSystemWatcher;
class QSocketNotifier;

namespace vq {

/// The battery peeks. Reads UPower's display device (the one battery UPower composes from all of
/// them) on the system bus and follows its PropertiesChanged; without UPower, reads the kernel's
/// power-supply class and follows its change events. A computer without a battery shows nothing.
class BatteryProvider final : public LiveActivityCenter::Provider {
  public:
    static constexpr std::string_view providerID = BatteryPeeks::activitySource;
    /// UPower announces each property on its own; one read follows a burst of them.
    static constexpr double settleDelay = 0.3;
    /// Many batteries announce a change of status but not each percent they lose: on battery the
    /// kernel's files are read again this often, and never while plugged in.
    static constexpr double dischargeReread = 60;
    using Log = std::function<void(const std::string&)>;

    /// `sysClass` is where the kernel's device classes are ("/sys/class"), used without UPower.
    BatteryProvider(Scheduler& scheduler, std::filesystem::path sysClass, Log log);
    ~BatteryProvider() override;
    BatteryProvider(const BatteryProvider&) = delete;
    BatteryProvider& operator=(const BatteryProvider&) = delete;

    std::string id() const override { return std::string(providerID); }
    void start(LiveActivityCenter& center) override;
    void stop() override;

    /// The battery as the kernel's power-supply class describes it under `folder`: every battery
    /// of the system's own (a mouse's or a headset's battery has the scope "Device" and is left
    /// out) added together. Not present when there is none.
    static BatteryPeeks::Reading readPowerSupply(const std::filesystem::path& folder);

  private:
    void useUPower();
    void useKernel();
    void readUPower();
    void readKernel();
    void settleThen(void (BatteryProvider::*read)());
    void received(const BatteryPeeks::Reading& reading);

    Scheduler& scheduler_;
    std::filesystem::path sysClass_;
    Log log_;
    BatteryPeeks peeks_;
    LiveActivityCenter* center_ = nullptr;
    /// Owns the provider's bus connections and pending calls, so stopping drops late answers.
    std::unique_ptr<SystemBusRelay> relay_;
    std::unique_ptr<QFileSystemWatcher> files_;
    std::unique_ptr<QSocketNotifier> uevents_;
    int ueventSocket_ = -1;
    std::unique_ptr<Scheduler::Timer> settle_;
    std::unique_ptr<Scheduler::Timer> reread_;
    bool toldNoBattery_ = false;
    /// UPower answered once: a later failure is a hiccup, not a reason to leave it.
    bool upowerAnswered_ = false;
};

} // namespace vq
