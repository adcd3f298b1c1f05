#include "vantaquill/panel/agents/AgentPermissionView.hpp"

#include "BrindKit/agents/AgentDecisionEncoder.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/agents/AgentButton.hpp"
#include "vantaquill/panel/ElidedLabel.hpp"

#include <QFontDatabase>
#include <QFontMetrics>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace vq {

namespace {

/// The command box shows this many lines and scrolls beyond them.
constexpr int subjectLines = 3;
/// The panel's style sheet pads and borders fields by this much above and below together.
constexpr int fieldChrome = 8;

/// Tool input keys that name what a call runs or touches, in the order they are looked for.
constexpr std::array<std::string_view, 8> subjectKeys{"command", "file_path", "notebook_path", "absolute_path",
                                                       "path",    "url",       "query",         "pattern"};

QString fromStd(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

QString AgentPermissionView::fullSubject(const brind::AgentHookEvent& event) {
    if (event.toolInputJSON) {
        const brind::JSON input = brind::JSON::parse(*event.toolInputJSON, nullptr, false);
        for (const std::string_view key : subjectKeys) {
            if (auto value = brind::JSONRead::string(input, key); value && !brind::Text::trimmed(*value).empty())
                return fromStd(*value);
        }
        if (input.is_object() && !input.empty())
            return fromStd(input.dump(2));
    }
    return fromStd(event.toolSummary.value_or(event.toolName.value_or("")));
}

AgentPermissionView::AgentPermissionView(const brind::AgentApprovalRequest& request, QWidget* parent)
    : QWidget(parent), suggestion(brind::AgentAllowRule::suggested(request.event)) {
    const auto answers = brind::AgentDecisionEncoder::meaningful(request.event);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(PanelStyle::spacing);

    subject = new QPlainTextEdit(fullSubject(request.event), this);
    subject->setObjectName("agentSubject");
    subject->setReadOnly(true);
    subject->setFocusPolicy(Qt::ClickFocus);
    subject->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    subject->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    layout->addWidget(subject);
    fitSubject();

    const bool offerRule = answers.allow && suggestion;
    if (offerRule) {
        auto* rule = new ElidedLabel({}, this);
        rule->setObjectName("agentSuggestedRule");
        rule->setProperty("secondary", true);
        rule->setText(QStringLiteral("Always allow adds: ") + fromStd(suggestion->display()));
        layout->addWidget(rule);
    }

    auto* row = new QHBoxLayout;
    row->setSpacing(PanelStyle::spacing);
    if (answers.deny) {
        reason = new QLineEdit(this);
        reason->setObjectName("agentDenyReason");
        reason->setPlaceholderText(QStringLiteral("Reason for denying (optional)"));
        reason->setClearButtonEnabled(false);
        row->addWidget(reason, 1);
        denyButton = new AgentButton(QStringLiteral("Deny"), "agentDeny", "destructive", this);
        row->addWidget(denyButton);
        connect(denyButton, &QPushButton::clicked, this, [this] { deny(); });
        // Enter in the reason field sends the denial with it.
        connect(reason, &QLineEdit::returnPressed, this, [this] { deny(); });
    } else {
        row->addStretch(1);
    }
    if (offerRule) {
        auto* always = new AgentButton(QStringLiteral("Always allow"), "agentAlwaysAllow", nullptr, this);
        row->addWidget(always);
        connect(always, &QPushButton::clicked, this, [this] {
            if (onAlwaysAllow)
                onAlwaysAllow(*suggestion);
        });
    }
    if (answers.allow) {
        allowButton = new AgentButton(QStringLiteral("Allow"), "agentAllow", "primary", this);
        row->addWidget(allowButton);
        connect(allowButton, &QPushButton::clicked, this, [this] {
            if (onAnswer)
                onAnswer(brind::AgentDecision::allow());
        });
    }
    layout->addLayout(row);
}

void AgentPermissionView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    fitSubject();
}

void AgentPermissionView::fitSubject() {
    const QFontMetrics metrics(subject->font());
    const double room = std::max(subject->viewport()->width() - 2 * subject->document()->documentMargin(), 1.0);
    int lines = 0;
    for (const QString& line : subject->toPlainText().split(u'\n'))
        lines += std::max(1, static_cast<int>(std::ceil(metrics.horizontalAdvance(line) / room)));
    lines = std::clamp(lines, 1, subjectLines);
    subject->setFixedHeight(lines * metrics.lineSpacing() + static_cast<int>(2 * subject->document()->documentMargin()) +
                            2 * subject->frameWidth() + fieldChrome);
}

QWidget* AgentPermissionView::initialFocus() const {
    if (allowButton)
        return allowButton;
    return denyButton;
}

void AgentPermissionView::deny() {
    if (!onAnswer)
        return;
    const std::string written = reason ? brind::Text::trimmed(reason->text().toStdString()) : std::string();
    onAnswer(written.empty() ? brind::AgentDecision::deny() : brind::AgentDecision::deny(written));
}

} // namespace vq
