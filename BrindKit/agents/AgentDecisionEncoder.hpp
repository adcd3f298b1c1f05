#pragma once

#include "BrindKit/agents/AgentDecision.hpp"
#include "BrindKit/agents/AgentHookEvent.hpp"
#include "BrindKit/agents/AgentKind.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// Writes a decision as the exact JSON each agent's hook protocol reads from the hook script's
/// standard output: compact, keys sorted, "/" not escaped. An event the encoder does not know
/// gets no output, never an error, so a decision can never break an agent's run.
namespace AgentDecisionEncoder {

/// The reason given to the agent when a denial carries none.
inline constexpr std::string_view denyDefault = "Denied from the vantaquill island.";

/// The JSON to print, or nothing (the hook script then prints nothing and exits successfully).
std::optional<std::string> output(const AgentDecision& decision, const AgentHookEvent& event);

/// Which answers change what the agent does for an event. The island offers a button only for
/// these: an answer that prints nothing, or that the agent ignores, would be a button with no effect.
struct Meaningful {
    bool allow = false;
    bool deny = false;
    bool ask = false;
    friend bool operator==(const Meaningful&, const Meaningful&) = default;
};
Meaningful meaningful(const AgentHookEvent& event);

/// What the hook script prints when the application cannot be reached: whatever lets the agent go
/// on exactly as it would without us (empty for almost every event).
std::string unreachableFallback(AgentKind agent, std::string_view eventName);

/// Whether `unreachableFallback` differs from one event of `agent` to another (Cursor's); for the
/// other agents the payload need not be read to answer without the application.
bool unreachableFallbackVaries(AgentKind agent);

} // namespace AgentDecisionEncoder

} // namespace brind
