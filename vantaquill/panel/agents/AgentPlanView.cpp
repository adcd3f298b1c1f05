#include "vantaquill/panel/agents/AgentPlanView.hpp"

#include "BrindKit/agents/AgentQuestionAnswer.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/agents/AgentButton.hpp"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace vq {

namespace {

/// The plan scrolls inside a box this high: the panel has room for it and the answer row.
constexpr int planHeight = 130;

} // namespace

AgentPlanView::AgentPlanView(const std::string& plan, QWidget* parent) : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(PanelStyle::spacing);

    auto* text = new QTextBrowser(this);
    text->setObjectName("agentPlan");
    // A plan's links point at the agent's files or the web; following one inside the island
    // would replace the plan.
    text->setOpenLinks(false);
    text->setMarkdown(QString::fromUtf8(plan.data(), static_cast<qsizetype>(plan.size())));
    text->setFixedHeight(planHeight);
    layout->addWidget(text);

    auto* row = new QHBoxLayout;
    row->setSpacing(PanelStyle::spacing);
    feedback = new QLineEdit(this);
    feedback->setObjectName("agentPlanFeedback");
    feedback->setPlaceholderText(QStringLiteral("What should change? (optional)"));
    row->addWidget(feedback, 1);
    auto* keepPlanning = new AgentButton(QStringLiteral("Keep planning"), "agentKeepPlanning", nullptr, this);
    row->addWidget(keepPlanning);
    approveButton = new AgentButton(QStringLiteral("Approve"), "agentApprovePlan", "primary", this);
    row->addWidget(approveButton);
    layout->addLayout(row);

    const auto sendBack = [this] {
        const std::string written = feedback->text().toStdString();
        if (onAnswer)
            onAnswer(brind::AgentDecision::deny(
                brind::AgentQuestionAnswer::keepPlanningReason(written.empty() ? std::nullopt : std::optional(written))));
    };
    connect(keepPlanning, &QPushButton::clicked, this, sendBack);
    // Enter after typing feedback sends the plan back with it: feedback means "not yet".
    connect(feedback, &QLineEdit::returnPressed, this, sendBack);
    connect(approveButton, &QPushButton::clicked, this, [this] {
        if (onAnswer)
            onAnswer(brind::AgentDecision::allow());
    });
}

QWidget* AgentPlanView::initialFocus() const {
    return approveButton;
}

} // namespace vq
