#pragma once

#include "BrindKit/agents/AgentAllowRule.hpp"
#include "BrindKit/agents/AgentApprovalRequest.hpp"
#include "BrindKit/agents/AgentDecision.hpp"

#include <QWidget>

#include <functional>
#include <optional>

class QLineEdit;
class QPlainTextEdit;
class QPushButton;

namespace vq {

/// A permission request: the full command or file, and the answers that change what the agent
/// does (`AgentDecisionEncoder::meaningful`): Allow, Always allow (showing the standing rule it
/// creates) and Deny with an optional reason.
class AgentPermissionView : public QWidget {
public:
    AgentPermissionView(const brind::AgentApprovalRequest& request, QWidget* parent = nullptr);

    /// Allow or Deny was chosen.
    std::function<void(brind::AgentDecision)> onAnswer;
    /// Always allow was chosen: add this rule, then allow.
    std::function<void(const brind::AgentAllowRule&)> onAlwaysAllow;

    /// The button that has focus when the request appears: Allow where allowing means something.
    QWidget* initialFocus() const;

    /// What the agent asks to run or touch, in full (the summary is cut and flattened).
    static QString fullSubject(const brind::AgentHookEvent& event);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void deny();
    /// Sizes the command box to the lines the command takes at the current width, up to a few.
    void fitSubject();

    std::optional<brind::AgentAllowRule> suggestion;
    QPlainTextEdit* subject = nullptr;
    QLineEdit* reason = nullptr;
    QPushButton* allowButton = nullptr;
    QPushButton* denyButton = nullptr;
};

} // namespace vq
