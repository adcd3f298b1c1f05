#pragma once

#include "BrindKit/agents/AgentHookEvent.hpp"
#include "BrindKit/foundation/Date.hpp"

#include <string>

namespace brind {

/// A permission request or question held open while the island shows it.
struct AgentApprovalRequest {
    AgentHookEvent event;
    std::string id;
    Date arrivedAt;
    /// `arrivedAt` plus the time-out; the island's countdown ring runs towards it.
    Date deadline;

    friend bool operator==(const AgentApprovalRequest&, const AgentApprovalRequest&) = default;
};

} // namespace brind
