#pragma once

#include "BrindKit/agents/AgentRuleBook.hpp"

#include <QFrame>

#include <functional>
#include <string>

class QVBoxLayout;
class QLabel;

namespace vq {

/// The standing allow rules, one line each with its Remove button.
class AgentRulesList : public QFrame {
public:
    explicit AgentRulesList(QWidget* parent = nullptr);

    /// Shows `book`; rebuilt only when the rules changed, so focus stays where it is otherwise.
    void present(const brind::AgentRuleBook& book);

    /// Remove was pressed for the rule with this id.
    std::function<void(const std::string& id)> onRemove;

private:
    brind::AgentRuleBook shown;
    bool built = false;
    QVBoxLayout* rows = nullptr;
    QLabel* empty = nullptr;
};

} // namespace vq
