#include "vantaquill/panel/IslandPanel.hpp"

#include "vantaquill/panel/PanelStyle.hpp"

#include <QButtonGroup>
#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace vq {

namespace {

// Marks a section that waits for an answer in its button.
const QString waitingMark = QStringLiteral(" \u2022");

} // namespace

IslandPanel::IslandPanel(QWidget* parent) : QWidget(parent) {
    setObjectName("panelRoot");
    setPalette(PanelStyle::palette());
    setStyleSheet(PanelStyle::styleSheet() + QStringLiteral(R"(
QPushButton[tab="true"] { background: transparent; color: %1; border-radius: 13px; padding: 3px 12px; }
QPushButton[tab="true"]:checked { background: %2; color: %3; }
QPushButton[tab="true"]:focus { border: 2px solid %4; padding: 1px 10px; }
)")
                                                  .arg(PanelStyle::secondaryText().name(), PanelStyle::control().name(),
                                                       PanelStyle::text().name(), PanelStyle::accent().name()));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(tabsGap);
    tabRow_ = new QHBoxLayout;
    tabRow_->setContentsMargins(0, 0, 0, 0);
    tabRow_->setSpacing(4);
    tabRow_->addStretch();
    tabRow_->addStretch();
    column->addLayout(tabRow_);
    stack_ = new QStackedWidget(this);
    column->addWidget(stack_, 1);
    group_ = new QButtonGroup(this);
    group_->setExclusive(true);
    connect(group_, &QButtonGroup::idClicked, this, [this](int index) {
        lastUsed_ = sections_.at(static_cast<std::size_t>(index));
        showSection(lastUsed_);
    });
}

void IslandPanel::addSection(PanelSection* section) {
    const int index = static_cast<int>(sections_.size());
    sections_.push_back(section);
    auto* tab = new QPushButton(section->title(), this);
    tab->setProperty("tab", true);
    tab->setCheckable(true);
    tab->setFixedHeight(tabsHeight);
    tab->installEventFilter(this);
    tabs_.push_back(tab);
    group_->addButton(tab, index);
    // Between the two stretches, after the tabs already there.
    tabRow_->insertWidget(1 + index, tab);
    tab->show();
    stack_->addWidget(section);
    section->onChanged = [this] {
        updateTabs();
        changed();
    };
    section->onOpenRequested = [this, section] {
        showSection(section);
        if (onOpenRequested)
            onOpenRequested();
    };
    section->onCloseRequested = [this] {
        if (onCloseRequested)
            onCloseRequested();
    };
    if (!lastUsed_)
        lastUsed_ = section;
    if (sections_.size() == 1)
        showSection(section);
    updateTabs();
}

PanelSection* IslandPanel::current() const {
    return static_cast<PanelSection*>(stack_->currentWidget());
}

void IslandPanel::showSection(PanelSection* section) {
    const auto found = std::ranges::find(sections_, section);
    if (found == sections_.end())
        return;
    const auto index = static_cast<std::size_t>(found - sections_.begin());
    tabs_[index]->setChecked(true);
    if (stack_->currentWidget() == section)
        return;
    stack_->setCurrentWidget(section);
    changed();
}

bool IslandPanel::showSectionTitled(const QString& title) {
    const auto found = std::ranges::find_if(
        sections_, [&](PanelSection* section) { return section->title().compare(title, Qt::CaseInsensitive) == 0; });
    if (found == sections_.end())
        return false;
    lastUsed_ = *found;
    showSection(lastUsed_);
    return true;
}

void IslandPanel::step(int delta) {
    if (sections_.empty())
        return;
    const auto count = static_cast<int>(sections_.size());
    const int index = stack_->currentIndex();
    lastUsed_ = sections_[static_cast<std::size_t>(((index + delta) % count + count) % count)];
    showSection(lastUsed_);
    tabs_[static_cast<std::size_t>(stack_->currentIndex())]->setFocus(Qt::TabFocusReason);
}

void IslandPanel::chooseOnOpening() {
    const auto waiting = std::ranges::find_if(sections_, [](PanelSection* section) { return section->needsUser(); });
    showSection(waiting != sections_.end() ? *waiting : lastUsed_);
}

void IslandPanel::focusCurrent() {
    PanelSection* section = current();
    if (!section)
        return;
    if (section->focusProxy()) {
        section->setFocus(Qt::TabFocusReason);
        return;
    }
    // The first control of the section in the tab order.
    for (QWidget* next = section->nextInFocusChain(); next && next != section; next = next->nextInFocusChain()) {
        if (section->isAncestorOf(next) && next->isVisibleTo(section) && next->isEnabled() &&
            (next->focusPolicy() & Qt::TabFocus)) {
            next->setFocus(Qt::TabFocusReason);
            return;
        }
    }
    tabs_[static_cast<std::size_t>(stack_->currentIndex())]->setFocus(Qt::TabFocusReason);
}

int IslandPanel::contentHeight(int width) const {
    const PanelSection* section = current();
    return tabsHeight + tabsGap + (section ? section->contentHeight(width) : 0);
}

bool IslandPanel::eventFilter(QObject* watched, QEvent* event) {
    // Left and right move between the sections while a section button has the keyboard.
    if (event->type() == QEvent::KeyPress && std::ranges::find(tabs_, watched) != tabs_.end()) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Left || key == Qt::Key_Right) {
            step(key == Qt::Key_Left ? -1 : 1);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void IslandPanel::updateTabs() {
    for (std::size_t index = 0; index < sections_.size(); ++index) {
        const PanelSection& section = *sections_[index];
        const QString badge = section.badge();
        tabs_[index]->setText(section.title() + (badge.isEmpty() ? QString() : " " + badge) +
                              (section.needsUser() ? waitingMark : QString()));
    }
}

void IslandPanel::changed() {
    if (onChanged)
        onChanged();
}

} // namespace vq
