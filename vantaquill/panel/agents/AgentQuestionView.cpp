#include "vantaquill/panel/agents/AgentQuestionView.hpp"

#include "BrindKit/agents/AgentDecisionEncoder.hpp"
#include "BrindKit/agents/AgentKind.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/agents/AgentButton.hpp"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include <algorithm>

namespace vq {

namespace {

QString fromStd(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QLabel* wrappedLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

} // namespace

AgentQuestionView::AgentQuestionView(const brind::AgentApprovalRequest& request,
                                     std::vector<brind::AgentQuestion> asked, QWidget* parent)
    : QWidget(parent), originalInput(request.event.toolInputJSON.value_or("{}")), questions(std::move(asked)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(PanelStyle::spacing);
    // Claude Code's question tool takes an answer outside the offered options (its own terminal
    // prompt offers "Other"); the other agents can only be allowed as asked.
    const bool takesOwnAnswer = request.event.agent == brind::AgentKind::claudeCode;
    for (const brind::AgentQuestion& question : questions)
        addQuestion(question, takesOwnAnswer);

    const auto answers = brind::AgentDecisionEncoder::meaningful(request.event);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    if (answers.ask) {
        auto* terminal = new AgentButton(QStringLiteral("Answer in terminal"), "agentAnswerInTerminal", "cancel", this);
        row->addWidget(terminal);
        connect(terminal, &QPushButton::clicked, this, [this] {
            if (onAnswer)
                onAnswer(brind::AgentDecision::ask());
        });
    }
    answerButton = new AgentButton(QStringLiteral("Answer"), "agentAnswer", "primary", this);
    row->addWidget(answerButton);
    connect(answerButton, &QPushButton::clicked, this, [this] {
        if (onAnswer)
            onAnswer(brind::AgentQuestionAnswer::updatedInput(originalInput, questions, picksWithTyped()));
    });
    layout->addLayout(row);
    refreshAnswerButton();
}

void AgentQuestionView::addQuestion(const brind::AgentQuestion& question, bool takesOwnAnswer) {
    auto* layout = static_cast<QVBoxLayout*>(this->layout());
    if (question.header) {
        auto* header = new QLabel(fromStd(*question.header).toUpper(), this);
        header->setTextFormat(Qt::PlainText);
        header->setProperty("secondary", true);
        layout->addWidget(header);
    }
    layout->addWidget(wrappedLabel(fromStd(question.question), this));

    // A group of its own per question keeps radio buttons of different questions independent. Check
    // boxes get none: in a group, Tab would leave the question from its first box, and a keyboard
    // user could tick no other.
    auto* group = question.multiSelect ? nullptr : new QButtonGroup(this);
    for (const brind::AgentQuestion::Option& option : question.options) {
        QAbstractButton* choice = question.multiSelect ? static_cast<QAbstractButton*>(new QCheckBox(this))
                                                       : static_cast<QAbstractButton*>(new QRadioButton(this));
        choice->setText(fromStd(option.label));
        choice->setObjectName("agentOption");
        if (group)
            group->addButton(choice);
        if (!firstChoice)
            firstChoice = choice;
        layout->addWidget(choice);
        if (option.description) {
            auto* description = wrappedLabel(fromStd(*option.description), this);
            description->setProperty("secondary", true);
            description->setContentsMargins(PanelStyle::spacing * 3, 0, 0, 0);
            layout->addWidget(description);
        }
        connect(choice, &QAbstractButton::toggled, this, [this, &question, label = option.label](bool on) {
            const auto& chosen = picks[question.question];
            const bool picked = std::ranges::find(chosen, label) != chosen.end();
            // A radio button being switched off by its neighbour needs no toggle of its own.
            if (on != picked && (on || question.multiSelect))
                brind::AgentQuestionAnswer::toggle(label, question, picks);
            refreshAnswerButton();
        });
    }
    if (!takesOwnAnswer)
        return;
    auto* own = new QLineEdit(this);
    own->setObjectName("agentOwnAnswer");
    own->setPlaceholderText(question.multiSelect ? QStringLiteral("Something else too (optional)")
                                                 : QStringLiteral("Or type your own answer"));
    layout->addWidget(own);
    typed[question.question] = own;
    if (!firstChoice)
        firstChoice = own;
    connect(own, &QLineEdit::textChanged, this, [this] { refreshAnswerButton(); });
}

brind::AgentQuestionAnswer::Picks AgentQuestionView::picksWithTyped() const {
    brind::AgentQuestionAnswer::Picks result = picks;
    for (const brind::AgentQuestion& question : questions) {
        const auto field = typed.find(question.question);
        if (field == typed.end())
            continue;
        const std::string text = brind::Text::trimmed(field->second->text().toStdString());
        if (text.empty())
            continue;
        auto& chosen = result[question.question];
        if (!question.multiSelect)
            chosen.clear();
        chosen.push_back(text);
    }
    return result;
}

void AgentQuestionView::refreshAnswerButton() {
    // Every question needs an answer: the agent would otherwise go on with a guess.
    const auto all = picksWithTyped();
    bool answered = true;
    for (const brind::AgentQuestion& question : questions) {
        const auto found = all.find(question.question);
        answered = answered && found != all.end() && !found->second.empty();
    }
    answerButton->setEnabled(answered);
}

} // namespace vq
