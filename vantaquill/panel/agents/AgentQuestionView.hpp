#pragma once

#include "BrindKit/agents/AgentApprovalRequest.hpp"
#include "BrindKit/agents/AgentDecision.hpp"
#include "BrindKit/agents/AgentQuestion.hpp"
#include "BrindKit/agents/AgentQuestionAnswer.hpp"

#include <QWidget>

#include <functional>
#include <map>
#include <string>
#include <vector>

class QLineEdit;
class QPushButton;

namespace vq {

/// An agent's questions: each with its header, its options (radio buttons for one answer, check
/// boxes for several) with their descriptions, and a field for an answer of the user's own where
/// the agent takes one. Answer sends the picks as `allowUpdating` (`AgentQuestionAnswer`).
class AgentQuestionView : public QWidget {
public:
    AgentQuestionView(const brind::AgentApprovalRequest& request, std::vector<brind::AgentQuestion> questions,
                      QWidget* parent = nullptr);

    std::function<void(brind::AgentDecision)> onAnswer;

    /// Where the keyboard starts: the first option (Answer waits until every question has one).
    QWidget* initialFocus() const { return firstChoice; }

private:
    void addQuestion(const brind::AgentQuestion& question, bool takesOwnAnswer);
    /// The picks with each typed answer added: a single-choice question's typed answer replaces
    /// its pick, a multiple-choice question's joins the others.
    brind::AgentQuestionAnswer::Picks picksWithTyped() const;
    void refreshAnswerButton();

    std::string originalInput;
    std::vector<brind::AgentQuestion> questions;
    brind::AgentQuestionAnswer::Picks picks;
    std::map<std::string, QLineEdit*> typed; ///< question text -> its own-answer field
    QPushButton* answerButton = nullptr;
    QWidget* firstChoice = nullptr;
};

} // namespace vq
