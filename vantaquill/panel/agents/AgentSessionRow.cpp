#include "vantaquill/panel/agents/AgentSessionRow.hpp"

#include "BrindKit/agents/AgentDurationFormat.hpp"
#include "BrindKit/agents/AgentKind.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/agents/AgentButton.hpp"
#include "vantaquill/panel/ElidedLabel.hpp"
#include "vantaquill/panel/agents/AgentTerminalJumpRunner.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <utility>

namespace vq {

namespace {

QString fromStd(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QColor statusColour(brind::AgentSession::Status status) {
    switch (status) {
    case brind::AgentSession::Status::working:
        return PanelStyle::positive();
    case brind::AgentSession::Status::awaitingApproval:
    case brind::AgentSession::Status::needsInput:
        return QColor(0xFF, 0x9F, 0x0A);
    case brind::AgentSession::Status::finished:
    case brind::AgentSession::Status::ended:
        return PanelStyle::secondaryText();
    }
    std::unreachable();
}

// What the session is doing, most telling first: the tool it runs, what it said, what it was asked.
QString activity(const brind::AgentSession& session) {
    if (session.isActive() && session.lastTool) {
        QString text = fromStd(*session.lastTool);
        if (session.lastToolSummary)
            text += QStringLiteral(": ") + fromStd(*session.lastToolSummary);
        return text;
    }
    if (session.lastMessage)
        return fromStd(*session.lastMessage);
    if (session.lastPrompt)
        return QStringLiteral("“") + fromStd(*session.lastPrompt) + QStringLiteral("”");
    return {};
}

} // namespace

QString AgentSessionRow::statusText(brind::AgentSession::Status status) {
    switch (status) {
    case brind::AgentSession::Status::working:
        return QStringLiteral("Working");
    case brind::AgentSession::Status::awaitingApproval:
        return QStringLiteral("Waiting for you");
    case brind::AgentSession::Status::needsInput:
        return QStringLiteral("Needs input");
    case brind::AgentSession::Status::finished:
        return QStringLiteral("Finished");
    case brind::AgentSession::Status::ended:
        return QStringLiteral("Ended");
    }
    std::unreachable();
}

AgentSessionRow::AgentSessionRow(QWidget* parent) : QFrame(parent) {
    setProperty("card", true);
    setObjectName("agentSession");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(PanelStyle::margin, PanelStyle::spacing, PanelStyle::margin, PanelStyle::spacing);
    layout->setSpacing(2);

    auto* top = new QHBoxLayout;
    top->setSpacing(PanelStyle::spacing);
    title = new ElidedLabel({}, this);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    top->addWidget(title, 1);
    status = new QLabel(this);
    status->setObjectName("agentSessionStatus");
    top->addWidget(status);
    elapsed = new QLabel(this);
    elapsed->setProperty("secondary", true);
    top->addWidget(elapsed);
    tokens = new QLabel(this);
    tokens->setObjectName("agentSessionTokens");
    tokens->setProperty("secondary", true);
    tokens->hide();
    top->addWidget(tokens);
    showRequest = new AgentButton(QStringLiteral("Show request"), "agentShowRequest", nullptr, this);
    top->addWidget(showRequest);
    jump = new AgentButton(QStringLiteral("Jump to terminal"), "agentJump", nullptr, this);
    top->addWidget(jump);
    layout->addLayout(top);

    doing = new ElidedLabel({}, this);
    doing->setProperty("secondary", true);
    layout->addWidget(doing);
    note = new ElidedLabel({}, this);
    note->setObjectName("agentSessionNote");
    note->setProperty("secondary", true);
    note->hide();
    layout->addWidget(note);

    connect(jump, &QPushButton::clicked, this, [this] {
        if (onJump)
            onJump(session);
    });
    connect(showRequest, &QPushButton::clicked, this, [this] {
        if (onShowRequest && request)
            onShowRequest(*request);
    });
}

void AgentSessionRow::present(const brind::AgentSession& shown, brind::Date now,
                           const std::optional<std::string>& waitingRequest, bool requestShown) {
    session = shown;
    request = waitingRequest;
    title->setText(fromStd(std::string(brind::displayName(session.agent))) + QStringLiteral(" · ") +
                       fromStd(session.title.value_or(session.project)));
    status->setText(statusText(session.status));
    status->setStyleSheet(QStringLiteral("color: %1;").arg(statusColour(session.status).name()));
    const QString what = activity(session);
    doing->setText(what);
    doing->setVisible(!what.isEmpty());
    // The tokens spent, once read from the agent's transcript; nothing while unknown.
    tokens->setText(session.usage ? fromStd(brind::AgentDurationFormat::tokens(session.usage->spent())) +
                                        QStringLiteral(" tokens")
                                  : QString());
    tokens->setVisible(session.usage.has_value());
    showRequest->setVisible(request && !requestShown);
    jump->setEnabled(session.terminalInfo && AgentTerminalJumpRunner::canJump(*session.terminalInfo));
    tick(now);
}

void AgentSessionRow::tick(brind::Date now) {
    // A working session counts its current turn; an idle one how long it has been idle.
    const brind::Date since = session.isActive() ? session.turnStartedAt : session.lastEventAt;
    const QString text = fromStd(brind::AgentDurationFormat::shortText(now - since));
    if (elapsed->text() != text)
        elapsed->setText(text);
}

void AgentSessionRow::setNote(const QString& text) {
    note->setText(text);
    note->setVisible(!text.isEmpty());
}

} // namespace vq
