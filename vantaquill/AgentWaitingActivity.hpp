#pragma once

#include "BrindKit/agents/AgentApprovalRequest.hpp"
#include "BrindKit/island/LiveActivity.hpp"

#include <optional>
#include <string_view>
#include <vector>

namespace vq {

/// The activity that tells the island's compact and peek faces that an agent waits for the user:
/// one activity for all open requests, describing the first (the one the panel shows), so that a
/// burst of requests does not flood the queue.
namespace AgentWaitingActivity {

/// The source of the activity, so that the hub can end it whatever its id.
inline constexpr std::string_view source = "agents";
inline constexpr std::string_view activityID = "agents.waiting";

/// Nothing when no request is open. Important and alerting, so the island pops open when the
/// first request arrives; not dismissible, because it ends by itself once nothing waits.
std::optional<brind::LiveActivity> make(const std::vector<brind::AgentApprovalRequest>& open);

} // namespace AgentWaitingActivity

} // namespace vq
