#include "vantaquill/panel/widgets/WidgetCard.hpp"

#include "vantaquill/panel/PanelStyle.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace vq {

WidgetCard::WidgetCard(const QString& heading, QWidget* parent) : QFrame(parent) {
    setProperty("card", true);
    setAccessibleName(heading);
    body_ = new QVBoxLayout(this);
    body_->setContentsMargins(PanelStyle::margin, PanelStyle::spacing, PanelStyle::margin, PanelStyle::margin);
    body_->setSpacing(PanelStyle::spacing / 2);
    auto* top = new QHBoxLayout;
    auto* title = new QLabel(heading, this);
    title->setProperty("secondary", true);
    status_ = new QLabel(this);
    status_->setProperty("secondary", true);
    status_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    top->addWidget(title);
    top->addStretch();
    top->addWidget(status_);
    body_->addLayout(top);
}

void WidgetCard::setStatus(const QString& status) {
    status_->setText(status);
}

QString WidgetCard::status() const {
    return status_->text();
}

QHBoxLayout* WidgetCard::addRow() {
    auto* row = new QHBoxLayout;
    row->setSpacing(PanelStyle::spacing);
    body_->addLayout(row);
    return row;
}

} // namespace vq
