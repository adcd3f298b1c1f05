#pragma once

#include <QPushButton>

namespace vq {

/// A push button of the Agents section, named for tests and for the accessibility tree, whose `role`
/// ("primary", "destructive", "cancel" or none) picks its look from the panel's style sheet.
class AgentButton : public QPushButton {
public:
    AgentButton(const QString& text, const char* name, const char* role, QWidget* parent);
};

} // namespace vq
