#pragma once

#include "BrindKit/agents/AgentAllowRule.hpp"
#include "BrindKit/agents/AgentApprovalRequest.hpp"
#include "BrindKit/agents/AgentDecision.hpp"
#include "BrindKit/foundation/Date.hpp"

#include <QFrame>

#include <functional>
#include <string>

namespace vq {

class AgentCountdownRing;
class ElidedLabel;

/// One open request as a card: who asks and where, the countdown to its deadline, and the view
/// that fits it (a permission, questions or a plan).
class AgentRequestCard : public QFrame {
public:
    /// `othersWaiting` is the number of other open requests behind this one.
    AgentRequestCard(const brind::AgentApprovalRequest& request, int othersWaiting, brind::Date now,
                     QWidget* parent = nullptr);

    const std::string& requestID() const { return request.id; }

    /// The user answered.
    std::function<void(const std::string& id, brind::AgentDecision)> onAnswer;
    /// The user chose Always allow: the rule to add before allowing.
    std::function<void(const std::string& id, const brind::AgentAllowRule&)> onAlwaysAllow;

    /// Moves the countdown to `now`.
    void tick(brind::Date now);
    /// Tells how many other requests wait behind this one.
    void setOthersWaiting(int count);

    /// Where the keyboard starts: the request's primary answer.
    QWidget* initialFocus() const { return focusTarget; }

private:
    brind::AgentApprovalRequest request;
    AgentCountdownRing* ring = nullptr;
    ElidedLabel* place = nullptr;
    QWidget* focusTarget = nullptr;
};

} // namespace vq
