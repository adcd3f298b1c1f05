#pragma once

#include "BrindKit/agents/AgentHookEvent.hpp"
#include "BrindKit/agents/AgentSession.hpp"
#include "BrindKit/agents/AgentSessionChange.hpp"
#include "BrindKit/foundation/Date.hpp"

#include <map>
#include <string>
#include <vector>

namespace brind {

/// Every live agent session, folded from decoded hook calls. A value owned by the application's
/// agent hub and changed only on the main thread.
struct AgentSessionTracker {
    /// Sessions by `AgentSession::key`.
    std::map<std::string, AgentSession> sessions;
    /// How long a finished session stays in the wing, in seconds.
    double finishedLinger = 8;
    /// Silence after which any session is forgotten.
    double staleAfter = 10800;
    /// Silence after which a finished session is forgotten.
    double finishedForgetAfter = 2700;
    /// Keys of sessions that ended, with the moment they ended: a notification that arrives after
    /// the end is dropped instead of bringing the session back. Kept for `endedMemory` seconds.
    std::map<std::string, Date> recentlyEnded;
    double endedMemory = 600;

    /// Folds one event into its session and returns the changes worth showing, `started` first.
    std::vector<AgentSessionChange> apply(const AgentHookEvent& event);

    /// An answer to the session's permission request was sent: an `awaitingApproval` session goes
    /// back to `working`. Any other session is left alone.
    void approvalResolved(const std::string& key, Date at);

    /// Forgets sessions silent for too long and returns their keys; forgets ended ones after
    /// `endedMemory`.
    std::vector<std::string> prune(Date now);

    void remove(const std::string& key);

    /// All sessions for the list: active ones first, then each group by latest event first.
    std::vector<AgentSession> ordered() const;

    int activeCount() const;

    /// Active sessions show in the island's wing; a finished one for `finishedLinger` after its
    /// last event.
    bool showsInWing(const AgentSession& session, Date now) const;

    friend bool operator==(const AgentSessionTracker&, const AgentSessionTracker&) = default;
};

} // namespace brind
