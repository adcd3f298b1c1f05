#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/island/LiveActivity.hpp"
#include "BrindKit/system/NetworkPeek.hpp"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace brind {

/// Decides when the network provider posts the peeks its machine reports. "No internet" waits a
/// few seconds for confirmation, so that a short drop that comes back on its own leaves no trace;
/// nothing is shown in the quiet time after start, while the network settles.
class NetworkPeekDelivery {
  public:
    static constexpr double confirmationDelay = 4;
    static constexpr double quietTime = 3;
    /// "No internet" stays a little longer than the other peeks.
    static constexpr double noInternetLifetime = 6;
    static constexpr double peekLifetime = 3.5;
    static constexpr std::string_view activitySource = "network";

    /// Arm a one-shot timer that calls `confirm` with this generation after `after` seconds.
    struct Check {
        double after = confirmationDelay;
        std::uint64_t generation = 0;
        friend bool operator==(const Check&, const Check&) = default;
    };

    struct Plan {
        /// Post these now, in order.
        std::vector<NetworkPeek> post;
        std::optional<Check> check;
        friend bool operator==(const Plan&, const Plan&) = default;
    };

    explicit NetworkPeekDelivery(Date start) : start_(start) {}

    /// What to do with the peeks of one update at `now`.
    Plan receive(const std::vector<NetworkPeek>& peeks, Date now);

    /// The confirmation timer fired; `online` is the latest snapshot's. Gives the "No internet" peek
    /// to post when the check is still pending and the network is still offline.
    std::optional<NetworkPeek> confirm(std::uint64_t generation, bool online);

    bool hasPendingCheck() const { return pending_.has_value(); }

    /// Seconds a posted peek stays.
    static double lifetime(const NetworkPeek& peek);

    /// The live activity for a peek posted at `now`: its title and symbol, expiring after its
    /// lifetime. One activity per kind, so a newer peek of a kind replaces the older one.
    static LiveActivity activity(const NetworkPeek& peek, Date now);

  private:
    Date start_;
    std::uint64_t generation_ = 0;
    std::optional<std::uint64_t> pending_;
};

} // namespace brind
