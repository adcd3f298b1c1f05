#include "vantaquill/panel/agents/AgentsSection.hpp"

#include "BrindKit/agents/AgentSession.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/agents/AgentRequestCard.hpp"
#include "vantaquill/panel/agents/AgentRulesList.hpp"
#include "vantaquill/panel/agents/AgentSessionRow.hpp"

#include <QKeyEvent>
#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>
#include <set>

namespace vq {

namespace {

/// The countdown and the elapsed times move in whole seconds.
constexpr double tickInterval = 1.0;

QString fromStd(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QLabel* heading(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setProperty("secondary", true);
    label->setContentsMargins(PanelStyle::margin, 0, 0, 0);
    return label;
}

} // namespace

AgentsSection::AgentsSection(AgentHub& hub, Scheduler& scheduler, QString jumpCommand, QWidget* parent)
    : PanelSection(parent), hub(hub), scheduler(scheduler),
      jumper(new AgentTerminalJumpRunner(std::move(jumpCommand), this)) {
    setObjectName("agentsSection");
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    outer->addWidget(scroll);

    content = new QWidget(scroll);
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(PanelStyle::spacing);

    problem = new QLabel(content);
    problem->setObjectName("agentProblem");
    problem->setWordWrap(true);
    problem->setStyleSheet(QStringLiteral("color: %1;").arg(PanelStyle::destructive().name()));
    problem->hide();
    layout->addWidget(problem);

    requestSlot = new QVBoxLayout;
    layout->addLayout(requestSlot);

    layout->addWidget(heading(QStringLiteral("Sessions"), content));
    noSessions = new QLabel(QStringLiteral("No agent sessions. Run “vantaquill hooks install”, then start Claude "
                                           "Code, Codex, Gemini CLI or Cursor in a terminal: its sessions, "
                                           "requests and questions appear here."),
                            content);
    noSessions->setWordWrap(true);
    noSessions->setProperty("secondary", true);
    layout->addWidget(noSessions);
    sessionRows = new QVBoxLayout;
    sessionRows->setSpacing(PanelStyle::spacing / 2);
    layout->addLayout(sessionRows);

    rules = new AgentRulesList(content);
    rules->onRemove = [this](const std::string& id) { removeRule(id); };
    layout->addWidget(rules);
    layout->addStretch(1);
    scroll->setWidget(content);

    refresh();
}

AgentsSection::~AgentsSection() = default;

QString AgentsSection::title() const {
    return QStringLiteral("Agents");
}

bool AgentsSection::needsUser() const {
    return waiting;
}

int AgentsSection::contentHeight(int width) const {
    const QLayout* layout = content->layout();
    if (layout->hasHeightForWidth())
        return layout->totalHeightForWidth(width);
    return layout->totalSizeHint().height();
}

std::optional<std::string> AgentsSection::shownRequest() const {
    if (!card)
        return std::nullopt;
    return card->requestID();
}

void AgentsSection::refresh() {
    refreshRequest();
    refreshSessions();
    rules->present(hub.rules());
    scheduleTick();
    // The panel may need to grow or shrink, and opens on this section while a request waits. It
    // does not open by itself: the waiting activity peeks instead, so the island never takes the
    // keyboard from the terminal the user is typing in.
    changed();
}

void AgentsSection::refreshRequest() {
    const auto requests = hub.broker().openRequests();
    waiting = !requests.empty();
    const auto isOpen = [&requests](const std::string& id) {
        return std::ranges::any_of(requests, [&id](const brind::AgentApprovalRequest& request) { return request.id == id; });
    };
    if (chosenRequest && !isOpen(*chosenRequest))
        chosenRequest.reset();
    const brind::AgentApprovalRequest* target = nullptr;
    for (const auto& request : requests) {
        if (!target || (chosenRequest && request.id == *chosenRequest))
            target = &request;
    }
    const int others = static_cast<int>(requests.size()) - 1;
    if (card && target && card->requestID() == target->id) {
        card->setOthersWaiting(others);
        return;
    }
    if (card) {
        // The answer may have come from the card's own button: delete it once that returns.
        setFocusProxy(nullptr);
        requestSlot->removeWidget(card);
        card->hide();
        card->deleteLater();
        card = nullptr;
    }
    if (!target)
        return;
    card = new AgentRequestCard(*target, others, scheduler.now(), content);
    card->onAnswer = [this](const std::string& id, brind::AgentDecision decision) { answer(id, std::move(decision)); };
    card->onAlwaysAllow = [this](const std::string& id, const brind::AgentAllowRule& rule) { alwaysAllow(id, rule); };
    requestSlot->addWidget(card);
    // The panel gives the keyboard to the section on opening: it belongs to the request's answer.
    setFocusProxy(card->initialFocus());
    // Shown now rather than when the layout gets round to it, so that it can take the focus.
    card->show();
    if (isVisible())
        focusRequest();
}

void AgentsSection::refreshSessions() {
    std::map<std::string, std::string> requestOfSession; // session key -> its first open request
    for (const auto& request : hub.broker().openRequests())
        requestOfSession.try_emplace(brind::AgentSession::key(request.event.agent, request.event.sessionID), request.id);
    const auto shown = shownRequest();
    const brind::Date now = scheduler.now();

    std::set<std::string> present;
    int position = 0;
    for (const brind::AgentSession& session : hub.tracker().ordered()) {
        const std::string key = session.key();
        present.insert(key);
        auto& row = rows[key];
        if (!row) {
            row = new AgentSessionRow(content);
            row->onJump = [this, key](const brind::AgentSession& jumped) {
                if (!jumped.terminalInfo)
                    return;
                jumper->jump(*jumped.terminalInfo, [this, key](const QString& message) {
                    if (const auto found = rows.find(key); found != rows.end())
                        found->second->setNote(message);
                });
            };
            row->onShowRequest = [this](const std::string& id) {
                chosenRequest = id;
                refresh();
            };
        }
        const auto waitingRequest = requestOfSession.find(key);
        const std::optional<std::string> request =
            waitingRequest == requestOfSession.end() ? std::nullopt : std::optional(waitingRequest->second);
        row->present(session, now, request, request && request == shown);
        // Keep the tracker's order: active sessions first, the latest event first.
        sessionRows->removeWidget(row);
        sessionRows->insertWidget(position++, row);
        row->show();
    }
    for (auto it = rows.begin(); it != rows.end();) {
        if (present.contains(it->first)) {
            ++it;
            continue;
        }
        sessionRows->removeWidget(it->second);
        it->second->hide();
        it->second->deleteLater();
        it = rows.erase(it);
    }
    noSessions->setVisible(rows.empty());
}

void AgentsSection::answer(const std::string& id, brind::AgentDecision decision) {
    problem->hide();
    if (!hub.broker().answer(id, std::move(decision), scheduler.now()))
        showProblem(QStringLiteral("That request was already answered or ran out of time."));
    refresh();
    if (!waiting)
        requestClose();
}

void AgentsSection::alwaysAllow(const std::string& id, const brind::AgentAllowRule& suggested) {
    problem->hide();
    const auto outcome = hub.alwaysAllow(id, suggested);
    if (!outcome.resumed)
        showProblem(QStringLiteral("That request was already answered or ran out of time."));
    refresh();
    if (!waiting)
        requestClose();
    if (!outcome.saved)
        showProblem(fromStd(outcome.saved.error()));
}

void AgentsSection::removeRule(const std::string& id) {
    problem->hide();
    const auto removed = hub.removeRule(id);
    refresh();
    if (!removed)
        showProblem(fromStd(removed.error()));
}

void AgentsSection::showProblem(const QString& text) {
    problem->setText(text);
    problem->show();
    changed();
}

void AgentsSection::focusRequest() {
    if (card && card->initialFocus())
        card->initialFocus()->setFocus(Qt::OtherFocusReason);
}

void AgentsSection::showEvent(QShowEvent* event) {
    PanelSection::showEvent(event);
    tick();
    scheduleTick();
    focusRequest();
}

void AgentsSection::hideEvent(QHideEvent* event) {
    PanelSection::hideEvent(event);
    ticker.reset();
}

void AgentsSection::keyPressEvent(QKeyEvent* event) {
    // Enter reaches the focused button through the panel; Escape, unused by every control here
    // but the fields (which leave it alone), closes the island.
    if (event->key() == Qt::Key_Escape) {
        requestClose();
        return;
    }
    PanelSection::keyPressEvent(event);
}

void AgentsSection::scheduleTick() {
    const bool moving = card || !rows.empty();
    if (!isVisible() || !moving) {
        ticker.reset();
        return;
    }
    if (ticker)
        return;
    ticker = scheduler.schedule(tickInterval, [this] {
        ticker.reset();
        tick();
        scheduleTick();
    });
}

void AgentsSection::tick() {
    const brind::Date now = scheduler.now();
    if (card)
        card->tick(now);
    for (const auto& [key, row] : rows)
        row->tick(now);
}

} // namespace vq
