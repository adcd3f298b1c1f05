#include "vantaquill/panel/agents/AgentRequestCard.hpp"

#include "BrindKit/agents/AgentInteraction.hpp"
#include "BrindKit/agents/AgentKind.hpp"
#include "BrindKit/foundation/Overloaded.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/agents/AgentCountdownRing.hpp"
#include "vantaquill/panel/ElidedLabel.hpp"
#include "vantaquill/panel/agents/AgentPermissionView.hpp"
#include "vantaquill/panel/agents/AgentPlanView.hpp"
#include "vantaquill/panel/agents/AgentQuestionView.hpp"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <optional>

namespace vq {

namespace {

QString fromStd(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString headline(const brind::AgentHookEvent& event, const std::optional<brind::AgentInteraction>& interaction) {
    const QString agent = fromStd(std::string(brind::displayName(event.agent)));
    if (!interaction)
        return agent + QStringLiteral(" asks to use ") + fromStd(event.toolName.value_or("a tool"));
    return std::visit(brind::Overloaded{
                          [&](const brind::AgentInteraction::Questions& asked) {
                              return asked.questions.size() == 1
                                         ? agent + QStringLiteral(" asks a question")
                                         : agent + QStringLiteral(" asks %1 questions").arg(asked.questions.size());
                          },
                          [&](const brind::AgentInteraction::Plan&) { return agent + QStringLiteral(" has a plan"); },
                      },
                      interaction->value);
}

} // namespace

AgentRequestCard::AgentRequestCard(const brind::AgentApprovalRequest& shown, int othersWaiting, brind::Date now,
                                   QWidget* parent)
    : QFrame(parent), request(shown) {
    setProperty("card", true);
    setObjectName("agentRequest");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(PanelStyle::margin, PanelStyle::margin, PanelStyle::margin, PanelStyle::margin);
    layout->setSpacing(PanelStyle::spacing);

    const brind::AgentHookEvent& event = request.event;
    const auto interaction = event.toolName
                                 ? brind::AgentInteraction::parse(*event.toolName, event.toolInputJSON.value_or(""))
                                 : std::nullopt;

    auto* header = new QHBoxLayout;
    header->setSpacing(PanelStyle::spacing);
    ring = new AgentCountdownRing(this);
    header->addWidget(ring);
    auto* titles = new QVBoxLayout;
    titles->setSpacing(0);
    auto* title = new ElidedLabel({}, this);
    title->setObjectName("agentRequestTitle");
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    title->setText(headline(event, interaction));
    titles->addWidget(title);
    place = new ElidedLabel({}, this);
    place->setProperty("secondary", true);
    titles->addWidget(place);
    header->addLayout(titles, 1);
    layout->addLayout(header);

    const auto answer = [this](brind::AgentDecision decision) {
        if (onAnswer)
            onAnswer(request.id, std::move(decision));
    };
    if (!interaction) {
        auto* view = new AgentPermissionView(request, this);
        view->onAnswer = answer;
        view->onAlwaysAllow = [this](const brind::AgentAllowRule& rule) {
            if (onAlwaysAllow)
                onAlwaysAllow(request.id, rule);
        };
        focusTarget = view->initialFocus();
        layout->addWidget(view);
    } else if (const auto* plan = std::get_if<brind::AgentInteraction::Plan>(&interaction->value)) {
        auto* view = new AgentPlanView(plan->text, this);
        view->onAnswer = answer;
        focusTarget = view->initialFocus();
        layout->addWidget(view);
    } else {
        auto* view = new AgentQuestionView(
            request, std::get<brind::AgentInteraction::Questions>(interaction->value).questions, this);
        view->onAnswer = answer;
        focusTarget = view->initialFocus();
        layout->addWidget(view);
    }
    setOthersWaiting(othersWaiting);
    tick(now);
}

void AgentRequestCard::tick(brind::Date now) {
    ring->setRemaining(request.deadline - now, request.deadline - request.arrivedAt);
}

void AgentRequestCard::setOthersWaiting(int count) {
    QString text = fromStd(request.event.projectName());
    if (request.event.toolSummary && request.event.toolName &&
        !brind::AgentInteraction::isInteractiveTool(*request.event.toolName))
        text += QStringLiteral(" · ") + fromStd(*request.event.toolSummary);
    if (count > 0)
        text += QStringLiteral(" · %1 more waiting").arg(count);
    place->setText(text);
}

} // namespace vq
