#include "BrindKit/agents/AgentSessionTracker.hpp"

#include "BrindKit/agents/AgentEventDecoder.hpp"
#include "BrindKit/agents/AgentInteraction.hpp"

#include <algorithm>
#include <utility>

namespace brind {

namespace {

using Status = AgentSession::Status;
using Change = AgentSessionChange::Kind;

// A tool call, a permission request or a status update after the agent had stopped or was
// waiting for the user means the user answered and a new turn began.
void beginTurnIfIdle(AgentSession& session, Status previous, Date date) {
    if (previous == Status::needsInput || previous == Status::finished || previous == Status::ended)
        session.turnStartedAt = date;
}

template <typename T>
void replaceIfPresent(std::optional<T>& field, const std::optional<T>& value) {
    if (value)
        field = value;
}

// Events an agent may still send after its session ended; they carry nothing worth a session.
bool mayArriveAfterTheEnd(AgentEventKind kind) {
    return kind == AgentEventKind::notification || kind == AgentEventKind::subagentStop ||
           kind == AgentEventKind::unknown;
}

// A tool call names the session's last tool, summary and all (an absent summary clears the old one).
// False for an event that names no tool.
bool recordTool(AgentSession& session, const AgentHookEvent& event) {
    if (!event.toolName)
        return false;
    session.lastTool = event.toolName;
    session.lastToolSummary = event.toolSummary;
    return true;
}

void copyCarriedFields(AgentSession& session, const AgentHookEvent& event) {
    if (event.cwd && !event.cwd->empty()) {
        session.cwd = event.cwd;
        session.project = event.projectName();
    }
    replaceIfPresent(session.title, event.title);
    replaceIfPresent(session.model, event.model);
    replaceIfPresent(session.transcriptPath, event.transcriptPath);
    if (event.terminal && !event.terminal->empty())
        session.terminal = event.terminal;
    if (event.terminalInfo)
        session.terminalInfo = session.terminalInfo.value_or(AgentTerminalInfo{}).merged(event.terminalInfo);
    session.lastEventAt = event.date;
}

} // namespace

std::vector<AgentSessionChange> AgentSessionTracker::apply(const AgentHookEvent& event) {
    std::vector<AgentSessionChange> changes;
    const std::string key = AgentSession::key(event.agent, event.sessionID);
    auto found = sessions.find(key);
    if (found == sessions.end()) {
        // A session that ended is removed at once; what it still sends is dropped, while a new
        // turn (a resumed conversation keeps its id) starts it afresh.
        if (const auto ended = recentlyEnded.find(key); ended != recentlyEnded.end()) {
            if (mayArriveAfterTheEnd(event.kind))
                return changes;
            recentlyEnded.erase(ended);
        }
        AgentSession fresh;
        fresh.agent = event.agent;
        fresh.sessionID = event.sessionID;
        fresh.project = event.projectName();
        fresh.startedAt = event.date;
        fresh.turnStartedAt = event.date;
        fresh.lastEventAt = event.date;
        found = sessions.emplace(key, std::move(fresh)).first;
        changes.push_back({Change::started, key});
    }

    AgentSession& session = found->second;
    const Status previous = session.status;
    copyCarriedFields(session, event);

    switch (event.kind) {
    case AgentEventKind::sessionStart:
        // Idle, waiting for the first prompt.
        session.status = Status::finished;
        session.turnStartedAt = event.date;
        break;
    case AgentEventKind::sessionEnd:
        sessions.erase(found);
        recentlyEnded.insert_or_assign(key, event.date);
        changes.push_back({Change::ended, key});
        return changes;
    case AgentEventKind::prompt:
        session.status = Status::working;
        session.turnStartedAt = event.date;
        session.turns += 1;
        session.lastPrompt = event.prompt ? AgentEventDecoder::firstLine(*event.prompt) : std::string();
        session.lastMessage.reset();
        break;
    case AgentEventKind::preTool:
        beginTurnIfIdle(session, previous, event.date);
        if (session.status != Status::awaitingApproval)
            session.status = Status::working;
        // Questions and plans wait for the user although no permission request comes.
        if (event.toolName && AgentInteraction::isInteractiveTool(*event.toolName))
            session.status = Status::awaitingApproval;
        if (recordTool(session, event))
            session.toolCount += 1;
        break;
    case AgentEventKind::postTool:
        beginTurnIfIdle(session, previous, event.date);
        session.status = Status::working;
        recordTool(session, event);
        break;
    case AgentEventKind::permissionRequest:
        beginTurnIfIdle(session, previous, event.date);
        session.status = Status::awaitingApproval;
        replaceIfPresent(session.lastTool, event.toolName);
        replaceIfPresent(session.lastToolSummary, event.toolSummary);
        break;
    case AgentEventKind::needsInput:
        // The permission prompt already shows in the island; a second alert would only repeat it.
        if (session.status != Status::awaitingApproval) {
            session.status = Status::needsInput;
            changes.push_back({Change::needsInput, key});
        }
        replaceIfPresent(session.lastMessage, event.message);
        break;
    case AgentEventKind::notification:
        replaceIfPresent(session.lastMessage, event.message);
        break;
    case AgentEventKind::stop:
        session.status = Status::finished;
        replaceIfPresent(session.lastMessage, event.message);
        session.progress.reset();
        changes.push_back({Change::finished, key});
        break;
    case AgentEventKind::subagentStop:
    case AgentEventKind::unknown:
        break;
    case AgentEventKind::status:
        beginTurnIfIdle(session, previous, event.date);
        session.status = Status::working;
        replaceIfPresent(session.progress, event.progress);
        replaceIfPresent(session.lastMessage, event.message);
        replaceIfPresent(session.lastToolSummary, event.toolSummary);
        break;
    }

    return changes;
}

void AgentSessionTracker::approvalResolved(const std::string& key, Date at) {
    const auto found = sessions.find(key);
    if (found == sessions.end() || found->second.status != Status::awaitingApproval)
        return;
    found->second.status = Status::working;
    found->second.lastEventAt = at;
}

std::vector<std::string> AgentSessionTracker::prune(Date now) {
    std::erase_if(recentlyEnded, [&](const auto& entry) { return now - entry.second > endedMemory; });
    std::vector<std::string> removed;
    for (auto it = sessions.begin(); it != sessions.end();) {
        const double silence = now - it->second.lastEventAt;
        const bool stale = silence > staleAfter;
        const bool forgottenFinished = it->second.status == Status::finished && silence > finishedForgetAfter;
        if (stale || forgottenFinished) {
            removed.push_back(it->first);
            it = sessions.erase(it);
        } else {
            ++it;
        }
    }
    return removed;
}

void AgentSessionTracker::remove(const std::string& key) { sessions.erase(key); }

std::vector<AgentSession> AgentSessionTracker::ordered() const {
    std::vector<AgentSession> result;
    result.reserve(sessions.size());
    for (const auto& [key, session] : sessions)
        result.push_back(session);
    // Ties keep key order, as a stable sort of the key-ordered map would.
    std::ranges::sort(result, [](const AgentSession& a, const AgentSession& b) {
        if (a.isActive() != b.isActive())
            return a.isActive();
        if (a.lastEventAt != b.lastEventAt)
            return a.lastEventAt > b.lastEventAt;
        return a.key() < b.key();
    });
    return result;
}

int AgentSessionTracker::activeCount() const {
    return static_cast<int>(std::ranges::count_if(sessions, [](const auto& entry) { return entry.second.isActive(); }));
}

bool AgentSessionTracker::showsInWing(const AgentSession& session, Date now) const {
    if (session.isActive())
        return true;
    return session.status == Status::finished && now - session.lastEventAt < finishedLinger;
}

} // namespace brind
