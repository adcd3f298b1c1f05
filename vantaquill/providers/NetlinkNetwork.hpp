#pragma once

#include "BrindKit/system/NetworkInterface.hpp"
#include "BrindKit/system/NetworkSnapshot.hpp"

#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class QSocketNotifier;

namespace vq {

/// The network as the kernel's routing tables show it, for desktops without NetworkManager: the
/// links that are up, the default route and whether a tunnel is among the links. It cannot know a
/// Wi-Fi network's name, a hotspot or whether the internet answers: a default route counts as online.
class NetlinkNetwork {
  public:
    /// One link as rtnetlink lists it.
    struct Link {
        int index = 0;
        brind::NetworkInterface interface{};
        bool up = false; ///< administratively up with a carrier
        friend bool operator==(const Link&, const Link&) = default;
    };

    /// Opens the rtnetlink socket that hears link and route changes; an error when the kernel
    /// refuses it.
    static std::expected<std::unique_ptr<NetlinkNetwork>, std::string> open(std::function<void()> changed);
    ~NetlinkNetwork();
    NetlinkNetwork(const NetlinkNetwork&) = delete;
    NetlinkNetwork& operator=(const NetlinkNetwork&) = delete;

    /// Asks the kernel for its links and default routes now.
    std::expected<brind::NetworkSnapshot, std::string> read() const;

    /// The snapshot from these links and the interface indices that carry a default route;
    /// `isWireless` tells a Wi-Fi link from its name.
    static brind::NetworkSnapshot snapshot(const std::vector<Link>& links, const std::vector<int>& defaultRoutes,
                                           const std::function<bool(const std::string&)>& isWireless);

  private:
    NetlinkNetwork(int socket, std::function<void()> changed);

    int socket_ = -1;
    std::function<void()> changed_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace vq
