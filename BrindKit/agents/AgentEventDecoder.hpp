#pragma once

#include "BrindKit/agents/AgentDecodeError.hpp"
#include "BrindKit/agents/AgentHookEvent.hpp"
#include "BrindKit/agents/AgentKind.hpp"
#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/JSON.hpp"

#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// Turns each agent's hook payload into an `AgentHookEvent`. Unknown event names never fail (they
/// decode to `unknown`, or `status` in the generic form) so that a newer agent keeps working.
namespace AgentEventDecoder {

/// Decodes `body` as sent by `agent`. `eventName` is the hook route's `event` query parameter,
/// used when the agent passed its event name on the command line rather than in the payload.
/// `terminal` and `terminalInfo` are left for the hook route to fill.
std::expected<AgentHookEvent, AgentDecodeError> decode(AgentKind agent, std::optional<std::string_view> eventName,
                                                       std::string_view body, Date now);

/// The agent's own name for the event, by the one rule `decode` also names its events with: nothing
/// unless the body is a JSON object; then the payload's `hook_event_name`, else `eventName` (Claude
/// Code, Gemini CLI, Cursor); for Codex its lifecycle hook's `hook_event_name`, else its notify
/// `type`, else "agent-turn-complete" (`eventName` unused: notify passes none); for the generic
/// form the payload's `event` only. Cheap (no text processing), for callers that need nothing
/// else, such as the hook forwarder choosing its fallback answer. Defined apart from `decode` so
/// that using it does not link the decoder.
std::optional<std::string> eventName(AgentKind agent, std::optional<std::string_view> eventName, std::string_view body);

/// `eventName` for a payload already read; `decode` names its events with it.
std::optional<std::string> eventNameIn(AgentKind agent, std::optional<std::string_view> eventName,
                                       const JSON& payload);

/// The first non-empty line; over 160 characters it is cut to 157 and "…".
std::string firstLine(std::string_view text);

/// A model given as text, or as an object with `display_name` or `id`.
std::optional<std::string> modelName(const JSON& value);

/// Compact JSON with sorted keys and "/" unescaped; nothing unless `value` is an object.
std::optional<std::string> compactJSON(const JSON& value);

} // namespace AgentEventDecoder

} // namespace brind
