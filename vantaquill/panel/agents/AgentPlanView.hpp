#pragma once

#include "BrindKit/agents/AgentApprovalRequest.hpp"
#include "BrindKit/agents/AgentDecision.hpp"

#include <QWidget>

#include <functional>
#include <string>

class QLineEdit;
class QPushButton;

namespace vq {

/// A plan the agent wants to start on: rendered as Markdown, with Approve (allow) and Keep
/// planning (deny, with `AgentQuestionAnswer::keepPlanningReason` and the user's feedback).
class AgentPlanView : public QWidget {
public:
    AgentPlanView(const std::string& plan, QWidget* parent = nullptr);

    std::function<void(brind::AgentDecision)> onAnswer;

    QWidget* initialFocus() const;

private:
    QLineEdit* feedback = nullptr;
    QPushButton* approveButton = nullptr;
};

} // namespace vq
