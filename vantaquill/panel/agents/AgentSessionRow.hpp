#pragma once

#include "BrindKit/agents/AgentSession.hpp"
#include "BrindKit/foundation/Date.hpp"

#include <QFrame>

#include <functional>
#include <optional>
#include <string>

class QLabel;
class QPushButton;

namespace vq {

class ElidedLabel;

/// One agent session: agent and project, status, the time spent on the current turn, the tokens it
/// has spent (once its transcript told), what it is doing now, its waiting request, and the button
/// that brings its terminal forward.
class AgentSessionRow : public QFrame {
public:
    explicit AgentSessionRow(QWidget* parent = nullptr);

    /// Shows `session` at `now`; `waitingRequest` is the id of its open request, if any, and
    /// `requestShown` whether the panel already shows that request.
    void present(const brind::AgentSession& session, brind::Date now, const std::optional<std::string>& waitingRequest,
              bool requestShown);
    /// Moves the elapsed time to `now`.
    void tick(brind::Date now);
    /// A line under the session for the outcome of a jump; empty hides it.
    void setNote(const QString& text);

    /// "Jump to terminal" was pressed.
    std::function<void(const brind::AgentSession&)> onJump;
    /// "Show request" was pressed: the panel should show this request first.
    std::function<void(const std::string& requestID)> onShowRequest;

    static QString statusText(brind::AgentSession::Status status);

private:
    brind::AgentSession session;
    std::optional<std::string> request;
    ElidedLabel* title = nullptr;
    QLabel* status = nullptr;
    QLabel* elapsed = nullptr;
    QLabel* tokens = nullptr;
    ElidedLabel* doing = nullptr;
    ElidedLabel* note = nullptr;
    QPushButton* showRequest = nullptr;
    QPushButton* jump = nullptr;
};

} // namespace vq
