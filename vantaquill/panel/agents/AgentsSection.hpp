#pragma once

#include "vantaquill/AgentHub.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/panel/PanelSection.hpp"
#include "vantaquill/panel/agents/AgentTerminalJumpRunner.hpp"

#include <QPointer>
#include <QString>

#include <map>
#include <memory>
#include <optional>
#include <string>

class QLabel;
class QScrollArea;
class QVBoxLayout;

namespace vq {

class AgentRequestCard;
class AgentRulesList;
class AgentSessionRow;

/// The panel's Agents section: the open request (permission, questions or plan) with its
/// countdown, the sessions with their terminals, and the standing rules. Answers go straight to the
/// broker, so the held hook call returns the agent's own JSON at once.
///
/// Call `refresh` whenever the hub reports a change (`AgentHub::onChange`).
class AgentsSection : public PanelSection {
public:
    /// `jumpCommand` is the `vantaquill` program that brings terminals forward.
    AgentsSection(AgentHub& hub, Scheduler& scheduler,
                  QString jumpCommand = AgentTerminalJumpRunner::defaultCommand(), QWidget* parent = nullptr);
    ~AgentsSection() override;

    QString title() const override;
    bool needsUser() const override;
    int contentHeight(int width) const override;

    /// Reads the hub again: requests, sessions and rules.
    void refresh();

    /// The request the section shows now, if any.
    std::optional<std::string> shownRequest() const;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void refreshRequest();
    void refreshSessions();
    void answer(const std::string& id, brind::AgentDecision decision);
    void alwaysAllow(const std::string& id, const brind::AgentAllowRule& rule);
    void removeRule(const std::string& id);
    void showProblem(const QString& text);
    void focusRequest();
    /// The clock of the countdown and the elapsed times: one timer, running only while the
    /// section is visible and something on it moves.
    void scheduleTick();
    void tick();

    AgentHub& hub;
    Scheduler& scheduler;
    AgentTerminalJumpRunner* jumper = nullptr;
    QScrollArea* scroll = nullptr;
    QWidget* content = nullptr;
    QLabel* problem = nullptr;
    QVBoxLayout* requestSlot = nullptr;
    QPointer<AgentRequestCard> card;
    /// The request the user chose with "Show request"; otherwise the first in the broker's order.
    std::optional<std::string> chosenRequest;
    QLabel* noSessions = nullptr;
    QVBoxLayout* sessionRows = nullptr;
    std::map<std::string, AgentSessionRow*> rows; ///< by session key, in the tracker's order
    AgentRulesList* rules = nullptr;
    bool waiting = false;
    std::unique_ptr<Scheduler::Timer> ticker;
};

} // namespace vq
