#pragma once

#include "BrindKit/agents/AgentKind.hpp"
#include "BrindKit/agents/AgentTerminalInfo.hpp"
#include "BrindKit/agents/AgentUsage.hpp"
#include "BrindKit/foundation/Date.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// The live record of one agent session, folded from its hook calls by `AgentSessionTracker`.
struct AgentSession {
    /// In order: the first three are active; comparisons rely on the order.
    enum class Status {
        working,
        awaitingApproval,
        needsInput,
        finished,
        ended,
    };

    AgentKind agent = AgentKind::generic;
    std::string sessionID;
    /// The last non-empty working directory reported.
    std::optional<std::string> cwd;
    /// The folder name of the last reported `cwd`, else of the first event.
    std::string project;
    std::optional<std::string> title;
    Status status = Status::working;
    std::optional<std::string> lastTool;
    std::optional<std::string> lastToolSummary;
    std::optional<std::string> lastMessage;
    /// First line of the last prompt.
    std::optional<std::string> lastPrompt;
    std::optional<double> progress;
    std::optional<std::string> model;
    std::optional<std::string> transcriptPath;
    /// The tokens used so far, once read from the transcript (the application fills it in).
    std::optional<AgentUsage> usage;
    /// The last non-empty terminal identifier reported.
    std::optional<std::string> terminal;
    std::optional<AgentTerminalInfo> terminalInfo;
    Date startedAt;
    Date turnStartedAt;
    Date lastEventAt;
    int toolCount = 0;
    int turns = 0;

    /// A session's identity: the agent's short word ("claude", "codex", "gemini", "cursor",
    /// "agent"), a full stop and the session identifier, e.g. "claude.abc". The short words are
    /// not the raw values on purpose: keys stay short in logs and in the island's identifiers.
    static std::string key(AgentKind agent, std::string_view sessionID);
    std::string key() const { return key(agent, sessionID); }

    static bool isActive(Status status);
    bool isActive() const { return isActive(status); }

    friend bool operator==(const AgentSession&, const AgentSession&) = default;
};

/// The status's case name ("working", "awaitingApproval", ...).
std::string_view name(AgentSession::Status status);

} // namespace brind
