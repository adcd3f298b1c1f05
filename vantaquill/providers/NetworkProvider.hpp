#pragma once

#include "BrindKit/system/NetworkPeekDelivery.hpp"
#include "BrindKit/system/NetworkPeekMachine.hpp"
#include "BrindKit/system/NetworkPeekPreferences.hpp"
#include "BrindKit/system/NetworkSnapshot.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/providers/NetlinkNetwork.hpp"
#include "vantaquill/providers/SystemBusRelay.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vq {

/// The network peeks. Reads NetworkManager on the system bus (connectivity, the primary connection
/// and its type, the Wi-Fi network through the device's access point, VPN and WireGuard
/// connections, and a metered guess as a phone's hotspot) and re-reads it whenever it announces a
/// change; without NetworkManager, follows the kernel's links and default routes over rtnetlink.
/// Each new snapshot goes through the peek machine and its delivery (the quiet start and the
/// confirmation of "No internet") to the activity center.
class NetworkProvider final : public LiveActivityCenter::Provider {
  public:
    static constexpr std::string_view providerID = brind::NetworkPeekDelivery::activitySource;
    /// NetworkManager changes several objects for one event; one read follows the burst.
    static constexpr double settleDelay = 0.3;
    using Log = std::function<void(const std::string&)>;

    NetworkProvider(Scheduler& scheduler, brind::NetworkPeekPreferences::Lookup preferences, Log log);
    ~NetworkProvider() override;
    NetworkProvider(const NetworkProvider&) = delete;
    NetworkProvider& operator=(const NetworkProvider&) = delete;

    std::string id() const override { return std::string(providerID); }
    void start(LiveActivityCenter& center) override;
    void stop() override;

  private:
    struct Read;
    void useNetworkManager();
    void unfollowNetworkManager();
    void useKernel(const std::string& why);
    void readNetworkManager();
    void changed();
    void received(const brind::NetworkSnapshot& snapshot);

    Scheduler& scheduler_;
    brind::NetworkPeekPreferences::Lookup preferences_;
    Log log_;
    LiveActivityCenter* center_ = nullptr;
    /// Every kind is detected; the preferences choose what is shown at each change.
    brind::NetworkPeekMachine machine_{{brind::NetworkPeek::allKinds.begin(), brind::NetworkPeek::allKinds.end()}};
    std::optional<brind::NetworkPeekDelivery> delivery_;
    std::optional<brind::NetworkSnapshot> latest_;
    std::unique_ptr<SystemBusRelay> relay_;
    std::unique_ptr<NetlinkNetwork> kernel_;
    std::unique_ptr<Scheduler::Timer> settle_;
    std::unique_ptr<Scheduler::Timer> check_;
    /// Bumped by every read and by stopping, so an older read's late answers are dropped.
    std::uint64_t generation_ = 0;
    /// NetworkManager answered once: a later failure is a hiccup, not a reason to leave it.
    bool managerAnswered_ = false;
};

} // namespace vq
