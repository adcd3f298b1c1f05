#pragma once

#include "BrindKit/agents/AgentApprovalRequest.hpp"
#include "BrindKit/agents/AgentDecision.hpp"
#include "BrindKit/agents/AgentHookEvent.hpp"
#include "BrindKit/agents/AgentRuleBook.hpp"
#include "BrindKit/foundation/Date.hpp"

#include <asio.hpp>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace brind {

/// Holds agents' permission requests and questions open until the user answers, a standing allow
/// rule covers them, or their deadline passes.
///
/// A request that times out is answered `ask`: the agent then shows its own prompt in its
/// terminal, exactly as if we were not there. Allowing on time-out would let an unattended machine
/// run anything; denying would make an agent fail tool calls only because nobody looked at the
/// island. Asking is the one answer that neither grants nor refuses anything on the user's behalf.
///
/// The broker is shared between the SDK thread, where `request` coroutines wait, and the main
/// thread, which answers: the open requests are guarded by one lock, and `answer` may be called
/// from any thread. Each waiting call is resumed exactly once; a second answer for the same id is
/// ignored. The callbacks run on the thread that made the change, never with the lock held.
class AgentApprovalBroker {
public:
    /// Longest wait honoured; longer time-outs are cut to it.
    static constexpr double maxTimeout = 86400;

    /// Called whenever the set of open requests changes (a request arrives or leaves).
    std::function<void()> onChange;
    /// Called when a request is resolved in any way (answer, rule or time-out) with the session's
    /// key and the moment, so that the session tracker can run `approvalResolved`.
    std::function<void(const std::string& sessionKey, Date at)> onResolved;

    AgentApprovalBroker() = default;
    AgentApprovalBroker(const AgentApprovalBroker&) = delete;
    AgentApprovalBroker& operator=(const AgentApprovalBroker&) = delete;

    /// Waits for the decision on `event`. A request covered by a standing rule is allowed at once
    /// without joining the open set, except questions and plans, which always wait for a person.
    /// A request whose id is already open is answered `ask` at once (ids must be unique).
    /// `timeout` is in seconds; `now` is the arrival. The broker must outlive every call.
    asio::awaitable<AgentDecision> request(AgentHookEvent event, double timeout, std::string id, Date now);

    /// The user's answer for request `id`, from any thread. True when it resumed a waiting call;
    /// false when the request is unknown or already answered.
    bool answer(const std::string& id, AgentDecision decision, Date now);

    /// Answers every open request `ask`, for shutting down.
    void answerAllAsk(Date now);

    /// The open requests in arrival order, the order the island shows them.
    std::vector<AgentApprovalRequest> openRequests() const;
    std::optional<AgentApprovalRequest> waitingRequest(const std::string& id) const;
    /// Ids of the open requests in arrival order.
    std::vector<std::string> orderedIDs() const;

    /// The standing rules consulted by `request`; replaced whenever the user edits them.
    void setRuleBook(AgentRuleBook book);
    AgentRuleBook ruleBook() const;

private:
    struct Pending;

    void notifyChange() const;
    void notifyResolved(const std::string& sessionKey, Date at) const;

    mutable std::mutex lock;
    std::map<std::string, AgentApprovalRequest> waiting;
    std::vector<std::string> order;
    std::map<std::string, std::shared_ptr<Pending>> pending;
    AgentRuleBook rules;
};

} // namespace brind
