#include "vantaquill/panel/agents/AgentButton.hpp"

namespace vq {

AgentButton::AgentButton(const QString& text, const char* name, const char* role, QWidget* parent)
    : QPushButton(text, parent) {
    setObjectName(QString::fromLatin1(name));
    if (role)
        setProperty("role", QString::fromLatin1(role));
}

} // namespace vq
