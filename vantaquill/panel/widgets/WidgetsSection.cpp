#include "vantaquill/panel/widgets/WidgetsSection.hpp"

#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/widgets/NowPlayingCard.hpp"
#include "vantaquill/panel/widgets/PomodoroCard.hpp"
#include "vantaquill/panel/widgets/StatisticsCard.hpp"
#include "vantaquill/panel/widgets/StayAwakeCard.hpp"
#include "vantaquill/panel/widgets/TeleprompterCard.hpp"
#include "vantaquill/panel/widgets/WeatherCard.hpp"
#include "vantaquill/providers/MediaController.hpp"
#include "vantaquill/providers/PomodoroController.hpp"
#include "vantaquill/providers/StatsSampler.hpp"
#include "vantaquill/settings/StayAwake.hpp"

#include <QAbstractButton>
#include <QKeyEvent>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace vq {

WidgetsSection::WidgetsSection(Sources sources, QWidget* parent) : PanelSection(parent), sources_(std::move(sources)) {
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    scroll_ = new QScrollArea(this);
    scroll_->setWidgetResizable(true);
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* content = new QWidget(scroll_);
    column_ = new QVBoxLayout(content);
    column_->setContentsMargins(0, 0, 0, 0);
    column_->setSpacing(PanelStyle::spacing);

    nowPlaying_ = new NowPlayingCard(sources_.media, content);
    pomodoroCard_ = new PomodoroCard(sources_.pomodoro, content);
    stayAwakeCard_ = new StayAwakeCard(sources_.stayAwake, sources_.scheduler, content);
    statistics_ = new StatisticsCard(sources_.stats, content);
    teleprompter_ = new TeleprompterCard(sources_.scheduler, content);
    weather_ = new WeatherCard(sources_.preferences, sources_.forecastFile, sources_.weather, content);
    cards_ = {nowPlaying_, pomodoroCard_, stayAwakeCard_, statistics_, teleprompter_, weather_};
    for (QWidget* card : cards_)
        column_->addWidget(card);
    column_->addStretch();
    scroll_->setWidget(content);
    outer->addWidget(scroll_);
    for (auto* button : content->findChildren<QAbstractButton*>())
        button->installEventFilter(this);

    if (sources_.media)
        sources_.media->onNowPlayingChanged = [this] { nowPlaying_->refresh(); };
    sources_.pomodoro.onChange = [this] { pomodoroCard_->refresh(); };
    sources_.stayAwake.onChange = [this] { stayAwakeCard_->refresh(); };
}

WidgetsSection::~WidgetsSection() {
    if (sources_.media)
        sources_.media->onNowPlayingChanged = nullptr;
    sources_.pomodoro.onChange = nullptr;
    sources_.stayAwake.onChange = nullptr;
    sources_.stats.hide(this);
}

int WidgetsSection::contentHeight(int) const {
    return scroll_->widget()->sizeHint().height();
}

void WidgetsSection::refreshWeather() {
    weather_->refresh();
    changed();
}

void WidgetsSection::showEvent(QShowEvent* event) {
    PanelSection::showEvent(event);
    sources_.stats.show(this, [this] { statistics_->refresh(); });
    statistics_->refresh();
    weather_->refresh();
}

void WidgetsSection::hideEvent(QHideEvent* event) {
    PanelSection::hideEvent(event);
    sources_.stats.hide(this);
    statistics_->refresh();
}

namespace {

/// The card's first control that takes the keyboard now, in the order Tab visits them.
QWidget* firstControl(QWidget* card) {
    for (QWidget* widget = card->nextInFocusChain(); widget && widget != card; widget = widget->nextInFocusChain()) {
        if (card->isAncestorOf(widget) && widget->isVisible() && widget->isEnabled() &&
            (widget->focusPolicy() & Qt::TabFocus))
            return widget;
    }
    return nullptr;
}

} // namespace

void WidgetsSection::focusCard(int step) {
    const QWidget* focused = focusWidget();
    const auto current = std::ranges::find_if(cards_, [focused](QWidget* card) { return card->isAncestorOf(focused); });
    // From outside every card, down goes to the first card and up to the last.
    auto index = current == cards_.end() ? (step > 0 ? -1 : static_cast<int>(cards_.size()))
                                         : static_cast<int>(current - cards_.begin());
    for (index += step; index >= 0 && index < static_cast<int>(cards_.size()); index += step) {
        if (QWidget* control = firstControl(cards_[static_cast<std::size_t>(index)])) {
            control->setFocus(Qt::TabFocusReason);
            scroll_->ensureWidgetVisible(control);
            return;
        }
    }
}

bool WidgetsSection::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress || !qobject_cast<QAbstractButton*>(watched))
        return PanelSection::eventFilter(watched, event);
    switch (static_cast<QKeyEvent*>(event)->key()) {
    case Qt::Key_Up: focusCard(-1); return true;
    case Qt::Key_Down: focusCard(1); return true;
    default: return false;
    }
}

void WidgetsSection::keyPressEvent(QKeyEvent* event) {
    // Keys reach the section when the focused control has no use for them: Up and Down move between
    // cards, Left and Right between one card's controls. (Enter is the panel's: it presses the
    // focused button wherever it is.)
    switch (event->key()) {
    case Qt::Key_Escape: requestClose(); return;
    case Qt::Key_Up: focusCard(-1); return;
    case Qt::Key_Down: focusCard(1); return;
    case Qt::Key_Left: focusNextPrevChild(false); return;
    case Qt::Key_Right: focusNextPrevChild(true); return;
    default: PanelSection::keyPressEvent(event); return;
    }
}

} // namespace vq
