#include "BrindKit/agents/AgentApprovalBroker.hpp"

#include "BrindKit/agents/AgentInteraction.hpp"
#include "BrindKit/agents/AgentSession.hpp"

#include <asio/experimental/as_tuple.hpp>
#include <asio/experimental/awaitable_operators.hpp>
#include <asio/experimental/concurrent_channel.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace brind {

// The wake-up of one waiting call. The decision itself lives beside it under the broker's lock:
// whoever sets it first (an answer or the deadline) decides, which is what makes the call resume
// with exactly one answer however the two race.
struct AgentApprovalBroker::Pending {
    explicit Pending(const asio::any_io_executor& executor) : signal(executor, 1) {}

    // Asio 1.22 cannot instantiate a channel whose only argument is the error code, hence the flag.
    asio::experimental::concurrent_channel<void(asio::error_code, bool)> signal;
    std::optional<AgentDecision> decision; // guarded by the broker's lock
    std::string sessionKey;
};

namespace {

// The wait actually granted, in seconds: capped at `maxTimeout`, and none for a time-out that is
// not positive (NaN included).
double grantedWait(double timeout) {
    return timeout > 0 ? std::min(timeout, AgentApprovalBroker::maxTimeout) : 0.0;
}

} // namespace

asio::awaitable<AgentDecision> AgentApprovalBroker::request(AgentHookEvent event, double timeout, std::string id,
                                                            Date now) {
    const auto executor = co_await asio::this_coro::executor;
    const std::string sessionKey = AgentSession::key(event.agent, event.sessionID);
    const double wait = grantedWait(timeout);
    const Date deadline = now + wait;

    std::shared_ptr<Pending> entry;
    bool coveredByRule = false;
    {
        std::lock_guard guard(lock);
        // Questions and plans need a person's answer; no standing rule can give one.
        const bool interactive = event.toolName && AgentInteraction::isInteractiveTool(*event.toolName);
        if (!interactive && rules.match(event)) {
            coveredByRule = true;
        } else if (!waiting.contains(id)) {
            entry = std::make_shared<Pending>(executor);
            entry->sessionKey = sessionKey;
            waiting.emplace(id, AgentApprovalRequest{std::move(event), id, now, deadline});
            order.push_back(id);
            pending.emplace(id, entry);
        }
    }
    if (coveredByRule) {
        notifyResolved(sessionKey, now);
        co_return AgentDecision::allow();
    }
    if (!entry)
        co_return AgentDecision::ask();
    notifyChange();

    asio::steady_timer timer(executor);
    timer.expires_after(
        std::chrono::duration_cast<asio::steady_timer::duration>(std::chrono::duration<double>(wait)));
    {
        using namespace asio::experimental::awaitable_operators;
        const auto token = asio::experimental::as_tuple(asio::use_awaitable);
        co_await (entry->signal.async_receive(token) || timer.async_wait(token));
    }

    AgentDecision result;
    bool timedOut = false;
    {
        std::lock_guard guard(lock);
        if (entry->decision) {
            result = *entry->decision;
        } else {
            timedOut = true;
            entry->decision = AgentDecision::ask();
            result = *entry->decision;
            waiting.erase(id);
            std::erase(order, id);
            pending.erase(id);
        }
    }
    if (timedOut) {
        notifyChange();
        notifyResolved(sessionKey, deadline);
    }
    co_return result;
}

bool AgentApprovalBroker::answer(const std::string& id, AgentDecision decision, Date now) {
    std::shared_ptr<Pending> entry;
    {
        std::lock_guard guard(lock);
        const auto found = pending.find(id);
        if (found == pending.end() || found->second->decision)
            return false;
        entry = found->second;
        entry->decision = std::move(decision);
        waiting.erase(id);
        std::erase(order, id);
        pending.erase(found);
    }
    // The channel is thread-safe; the waiting coroutine resumes on its own executor.
    entry->signal.try_send(asio::error_code{}, true);
    notifyChange();
    notifyResolved(entry->sessionKey, now);
    return true;
}

void AgentApprovalBroker::answerAllAsk(Date now) {
    for (const std::string& id : orderedIDs())
        answer(id, AgentDecision::ask(), now);
}

std::vector<AgentApprovalRequest> AgentApprovalBroker::openRequests() const {
    std::lock_guard guard(lock);
    std::vector<AgentApprovalRequest> result;
    result.reserve(order.size());
    for (const std::string& id : order)
        result.push_back(waiting.at(id));
    return result;
}

std::optional<AgentApprovalRequest> AgentApprovalBroker::waitingRequest(const std::string& id) const {
    std::lock_guard guard(lock);
    const auto found = waiting.find(id);
    if (found == waiting.end())
        return std::nullopt;
    return found->second;
}

std::vector<std::string> AgentApprovalBroker::orderedIDs() const {
    std::lock_guard guard(lock);
    return order;
}

void AgentApprovalBroker::setRuleBook(AgentRuleBook book) {
    std::lock_guard guard(lock);
    rules = std::move(book);
}

AgentRuleBook AgentApprovalBroker::ruleBook() const {
    std::lock_guard guard(lock);
    return rules;
}

void AgentApprovalBroker::notifyChange() const {
    if (onChange)
        onChange();
}

void AgentApprovalBroker::notifyResolved(const std::string& sessionKey, Date at) const {
    if (onResolved)
        onResolved(sessionKey, at);
}

} // namespace brind
