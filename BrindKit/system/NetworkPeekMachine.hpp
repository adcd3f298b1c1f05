#pragma once

#include "BrindKit/system/NetworkPeek.hpp"
#include "BrindKit/system/NetworkSnapshot.hpp"

#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace brind {

/// Turns successive network observations into the peeks worth showing.
class NetworkPeekMachine {
  public:
    explicit NetworkPeekMachine(std::set<NetworkPeek::Kind> enabled) : enabled_(std::move(enabled)) {}

    /// The peeks between the previous observation and `snapshot`, in order, limited to the enabled
    /// kinds. The first observation only sets the baseline. The snapshot is always kept, so a
    /// disabled kind never makes a later change look new.
    std::vector<NetworkPeek> update(const NetworkSnapshot& snapshot);

    const std::optional<NetworkSnapshot>& last() const { return last_; }
    const std::set<NetworkPeek::Kind>& enabled() const { return enabled_; }

  private:
    std::optional<NetworkSnapshot> last_;
    std::set<NetworkPeek::Kind> enabled_;
};

} // namespace brind
