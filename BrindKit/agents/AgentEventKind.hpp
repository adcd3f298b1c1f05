#pragma once

#include <string_view>

namespace brind {

/// A hook call's meaning, normalised across agents.
enum class AgentEventKind {
    sessionStart,
    sessionEnd,
    prompt,
    preTool,
    postTool,
    permissionRequest,
    needsInput,
    notification,
    stop,
    subagentStop,
    status,
    unknown,
};

/// The case name as text ("sessionStart", "preTool", ...).
std::string_view name(AgentEventKind kind);

} // namespace brind
