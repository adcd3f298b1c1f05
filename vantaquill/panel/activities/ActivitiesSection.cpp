#include "vantaquill/panel/activities/ActivitiesSection.hpp"

#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/activities/ActivityCard.hpp"
#include "vantaquill/panel/activities/ConsentCard.hpp"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>
#include <ranges>

namespace vq {

namespace {

const QString emptyText = QStringLiteral(
    "<p style=\"font-size: 13px; color: #F2F2F2;\">Nothing is running.</p>"
    "<p>Timers, downloads, what is playing and what scripts and apps send show up here. From a "
    "terminal:</p>"
    "<pre>  vantaquill notify --title Build --progress 0.4</pre>"
    "<p>or from an app: POST /v1/activities (see docs/SDK.md).</p>");

bool holdsFocus(const QWidget* widget) {
    const QWidget* focus = QApplication::focusWidget();
    return focus && (focus == widget || widget->isAncestorOf(focus));
}

// Removed cards are hidden now and deleted later: the click that removed one may still be on its
// way out of one of its buttons.
void retire(QWidget* card) {
    card->hide();
    card->deleteLater();
}

} // namespace

ActivitiesSection::ActivitiesSection(LiveActivityCenter& center, ConsentQueue& consents, QWidget* parent)
    : PanelSection(parent), center(center), consents(consents), scroll(new QScrollArea), list(new QWidget),
      listLayout(new QVBoxLayout(list)), empty(new QLabel(emptyText)) {
    setObjectName(QStringLiteral("activities"));
    setFocusPolicy(Qt::StrongFocus);
    empty->setObjectName(QStringLiteral("empty"));
    empty->setProperty("secondary", true);
    empty->setWordWrap(true);
    empty->setTextFormat(Qt::RichText);
    listLayout->setContentsMargins(0, 0, 0, 0);
    listLayout->setSpacing(PanelStyle::spacing);

    scroll->setObjectName(QStringLiteral("activityList"));
    scroll->setWidget(list);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // The keyboard moves between the cards' buttons; the list scrolls to follow it.
    scroll->setFocusPolicy(Qt::NoFocus);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(scroll);
    refresh();
}

QString ActivitiesSection::title() const {
    return QStringLiteral("Activities");
}

bool ActivitiesSection::needsUser() const {
    return !consents.empty();
}

int ActivitiesSection::contentHeight(int width) const {
    const QLayout* layout = list->layout();
    return layout->hasHeightForWidth() ? layout->totalHeightForWidth(width) : layout->totalSizeHint().height();
}

void ActivitiesSection::refresh() {
    const bool neededUser = needsUser();
    const int height = contentHeight(width());
    bool arrived = false;
    refreshConsents(arrived);
    refreshActivities();
    relayout();

    if (arrived) {
        // A prompt being answered keeps the focus; otherwise it goes to the safe answer.
        const bool answering = std::ranges::any_of(consentCards, holdsFocus);
        if (!answering)
            focusButton(preferredFocus());
        scroll->ensureWidgetVisible(consentCards.front(), 0, 0);
        requestOpen();
    }
    if (arrived || neededUser != needsUser() || height != contentHeight(width()))
        changed();
}

void ActivitiesSection::refreshConsents(bool& arrived) {
    const auto pending = consents.pending();
    std::vector<ConsentCard*> kept;
    for (auto* card : consentCards) {
        const bool waiting = std::ranges::any_of(
            pending, [card](const ConsentQueue::Request& request) { return request.serial == card->request().serial; });
        if (waiting)
            kept.push_back(card);
        else
            retire(card);
    }
    consentCards = std::move(kept);
    for (const auto& request : pending) {
        if (request.serial <= newestSerialSeen)
            continue;
        newestSerialSeen = request.serial;
        arrived = true;
        auto* card = new ConsentCard(request, list);
        card->onAnswer = [this, serial = request.serial](bool allowed) {
            consents.answer(serial, allowed);
            refresh();
            if (consents.empty())
                requestClose();
        };
        watchKeys({card->denyButton(), card->allowButton()});
        consentCards.push_back(card);
    }
}

void ActivitiesSection::refreshActivities() {
    const auto& activities = center.activities();
    std::vector<ActivityCard*> ordered;
    ordered.reserve(activities.size());
    for (const auto& activity : activities) {
        const auto found = std::ranges::find(activityCards, activity.id,
                                             [](const ActivityCard* card) { return card->activity().id; });
        ActivityCard* card = nullptr;
        if (found != activityCards.end()) {
            card = *found;
            activityCards.erase(found);
        } else {
            card = new ActivityCard(list);
            card->onAction = [this, id = activity.id](const std::string& actionID) {
                center.perform(id, actionID);
                refresh();
            };
            card->onDismiss = [this, id = activity.id] {
                center.dismiss(id);
                refresh();
            };
        }
        card->setActivity(activity);
        watchKeys(card->buttons());
        ordered.push_back(card);
    }
    for (auto* gone : activityCards)
        retire(gone);
    activityCards = std::move(ordered);
}

// The layout is rebuilt in the queue's order each time: the cards are few, and reordering in place
// would cost more code than it saves.
void ActivitiesSection::relayout() {
    while (listLayout->count() > 0)
        delete listLayout->takeAt(0);
    for (auto* card : consentCards)
        listLayout->addWidget(card);
    for (auto* card : activityCards)
        listLayout->addWidget(card);
    empty->setVisible(consentCards.empty() && activityCards.empty());
    listLayout->addWidget(empty);
    listLayout->addStretch(1);
    for (auto* card : consentCards)
        card->show();
    for (auto* card : activityCards)
        card->show();
    // Tab visits the cards from top to bottom, whatever order they were made in, starting with the
    // first prompt's safe answer (the panel gives the keyboard to the first control after the section).
    QWidget* previous = this;
    for (const auto& row : buttonRows()) {
        for (auto* button : row) {
            setTabOrder(previous, button);
            previous = button;
        }
    }
}

std::vector<std::vector<QPushButton*>> ActivitiesSection::buttonRows() const {
    std::vector<std::vector<QPushButton*>> rows;
    for (const auto* card : consentCards)
        rows.push_back({card->denyButton(), card->allowButton()});
    for (const auto* card : activityCards) {
        if (auto buttons = card->buttons(); !buttons.empty())
            rows.push_back(std::move(buttons));
    }
    return rows;
}

QPushButton* ActivitiesSection::preferredFocus() const {
    const auto rows = buttonRows();
    return rows.empty() ? nullptr : rows.front().front();
}

void ActivitiesSection::focusButton(QPushButton* button) {
    if (!button) {
        setFocus(Qt::OtherFocusReason);
        return;
    }
    button->setFocus(Qt::TabFocusReason);
    scroll->ensureWidgetVisible(button->parentWidget(), 0, PanelStyle::spacing);
}

bool ActivitiesSection::moveFocus(QPushButton* from, int cards, int buttons) {
    const auto rows = buttonRows();
    for (std::size_t row = 0; row < rows.size(); ++row) {
        const auto column = std::ranges::find(rows[row], from);
        if (column == rows[row].end())
            continue;
        const auto index = column - rows[row].begin();
        const auto targetRow = std::clamp<std::ptrdiff_t>(std::ptrdiff_t(row) + cards, 0, std::ptrdiff_t(rows.size()) - 1);
        const auto& target = rows[std::size_t(targetRow)];
        const auto targetColumn = cards != 0 ? 0 : std::clamp<std::ptrdiff_t>(index + buttons, 0, std::ptrdiff_t(target.size()) - 1);
        focusButton(target[std::size_t(targetColumn)]);
        return true;
    }
    return false;
}

void ActivitiesSection::watchKeys(const std::vector<QPushButton*>& buttons) {
    for (auto* button : buttons)
        button->installEventFilter(this);
}

void ActivitiesSection::focusInEvent(QFocusEvent* event) {
    PanelSection::focusInEvent(event);
    if (auto* button = preferredFocus())
        focusButton(button);
}

void ActivitiesSection::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Escape:
        requestClose();
        return;
    case Qt::Key_Down:
    case Qt::Key_Right:
        if (auto* button = preferredFocus()) {
            focusButton(button);
            return;
        }
        break;
    default:
        break;
    }
    PanelSection::keyPressEvent(event);
}

bool ActivitiesSection::eventFilter(QObject* watched, QEvent* event) {
    auto* button = qobject_cast<QPushButton*>(watched);
    if (!button || event->type() != QEvent::KeyPress)
        return PanelSection::eventFilter(watched, event);
    switch (static_cast<QKeyEvent*>(event)->key()) {
    case Qt::Key_Up:
        return moveFocus(button, -1, 0);
    case Qt::Key_Down:
        return moveFocus(button, 1, 0);
    case Qt::Key_Left:
        return moveFocus(button, 0, -1);
    case Qt::Key_Right:
        return moveFocus(button, 0, 1);
    case Qt::Key_Escape:
        requestClose();
        return true;
    default:
        return false;
    }
}

} // namespace vq
