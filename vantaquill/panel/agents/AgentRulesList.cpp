#include "vantaquill/panel/agents/AgentRulesList.hpp"

#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/agents/AgentButton.hpp"
#include "vantaquill/panel/ElidedLabel.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace vq {

AgentRulesList::AgentRulesList(QWidget* parent) : QFrame(parent) {
    setProperty("card", true);
    setObjectName("agentRules");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(PanelStyle::margin, PanelStyle::spacing, PanelStyle::margin, PanelStyle::spacing);
    layout->setSpacing(PanelStyle::spacing / 2);
    auto* title = new QLabel(QStringLiteral("Always allowed"), this);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    layout->addWidget(title);
    empty = new QLabel(QStringLiteral("Nothing yet. “Always allow” on a request adds a rule here, for that agent, "
                                      "tool and folder."),
                       this);
    empty->setWordWrap(true);
    empty->setProperty("secondary", true);
    layout->addWidget(empty);
    rows = new QVBoxLayout;
    rows->setSpacing(PanelStyle::spacing / 2);
    layout->addLayout(rows);
}

void AgentRulesList::present(const brind::AgentRuleBook& book) {
    if (built && book == shown)
        return;
    built = true;
    shown = book;
    while (QLayoutItem* item = rows->takeAt(0)) {
        if (QWidget* row = item->widget()) {
            // Removing is answered from inside the row's own button: delete it once that returns.
            row->hide();
            row->deleteLater();
        }
        delete item;
    }
    empty->setVisible(book.rules.empty());
    for (const brind::AgentAllowRule& rule : book.rules) {
        auto* row = new QWidget(this);
        auto* line = new QHBoxLayout(row);
        line->setContentsMargins(0, 0, 0, 0);
        auto* text = new ElidedLabel({}, row);
        const std::string display = rule.display();
        text->setText(QString::fromUtf8(display.data(), static_cast<qsizetype>(display.size())));
        line->addWidget(text, 1);
        auto* remove = new AgentButton(QStringLiteral("Remove"), "agentRemoveRule", nullptr, row);
        remove->setAccessibleName(QStringLiteral("Remove ") + text->text());
        line->addWidget(remove);
        connect(remove, &QPushButton::clicked, this, [this, id = rule.id()] {
            if (onRemove)
                onRemove(id);
        });
        rows->addWidget(row);
        row->show();
    }
}

} // namespace vq
