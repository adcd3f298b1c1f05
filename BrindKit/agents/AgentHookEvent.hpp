#pragma once

#include "BrindKit/agents/AgentEventKind.hpp"
#include "BrindKit/agents/AgentKind.hpp"
#include "BrindKit/agents/AgentTerminalInfo.hpp"
#include "BrindKit/foundation/Date.hpp"

#include <optional>
#include <string>

namespace brind {

/// One decoded hook call in the form shared by every agent.
struct AgentHookEvent {
    AgentKind agent = AgentKind::generic;
    AgentEventKind kind = AgentEventKind::unknown;
    /// The agent's own event name as received (for Codex the notification type).
    std::string rawName;
    /// Never empty: each agent's reader supplies a default.
    std::string sessionID;
    std::optional<std::string> cwd;
    std::optional<std::string> toolName;
    /// One line describing the tool call.
    std::optional<std::string> toolSummary;
    /// The tool input as compact JSON with sorted keys.
    std::optional<std::string> toolInputJSON;
    /// A human-readable message, or the first line of the agent's last answer.
    std::optional<std::string> message;
    std::optional<std::string> notificationType;
    std::optional<std::string> transcriptPath;
    std::optional<std::string> prompt;
    /// 0...1, generic form only.
    std::optional<double> progress;
    /// Display title, generic form only.
    std::optional<std::string> title;
    std::optional<std::string> model;
    /// Terminal application identifier; filled by the hook route from its headers.
    std::optional<std::string> terminal;
    /// Validated terminal details; filled by the hook route from its headers.
    std::optional<AgentTerminalInfo> terminalInfo;
    Date date;

    /// The last path component of `cwd`, else the agent's display name.
    std::string projectName() const;

    /// Only permission requests hold the hook call open for an answer; everything else is
    /// answered at once.
    bool wantsDecision() const { return kind == AgentEventKind::permissionRequest; }

    friend bool operator==(const AgentHookEvent&, const AgentHookEvent&) = default;
};

} // namespace brind
