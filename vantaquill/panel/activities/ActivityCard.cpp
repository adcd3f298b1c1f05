#include "vantaquill/panel/activities/ActivityCard.hpp"

#include "vantaquill/island/faces/GlyphPainter.hpp"
#include "vantaquill/island/faces/SymbolIcons.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/ElidedLabel.hpp"
#include "vantaquill/panel/activities/GlyphView.hpp"

#include <QHBoxLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <cmath>

namespace vq {

namespace {

constexpr int progressSteps = 1000;
constexpr int iconSide = 14;
/// Icons are drawn at twice their size so they stay sharp on a scale-2 screen.
constexpr int iconScale = 2;

QColor accentOf(const brind::LiveActivity& activity) {
    return activity.tint ? GlyphPainter::colour(*activity.tint) : QColor(Qt::white);
}

QIcon symbolIcon(const std::string& symbol, const QColor& colour) {
    QPixmap pixmap(iconSide * iconScale, iconSide * iconScale);
    pixmap.fill(Qt::transparent);
    {
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        SymbolIcons::paint(painter, symbol, QRectF(pixmap.rect()), colour);
    }
    pixmap.setDevicePixelRatio(iconScale);
    return QIcon(pixmap);
}

QPushButton* actionButton(const brind::ActivityAction& action) {
    auto* button = new QPushButton(QString::fromStdString(action.label));
    button->setObjectName(QString::fromStdString("action:" + action.id));
    button->setFocusPolicy(Qt::StrongFocus);
    QColor iconColour = PanelStyle::text();
    switch (action.role) {
    case brind::ActivityAction::Role::normal:
        break;
    case brind::ActivityAction::Role::primary:
    case brind::ActivityAction::Role::destructive:
        button->setProperty("role", QString::fromUtf8(brind::name(action.role).data()));
        iconColour = Qt::white;
        break;
    case brind::ActivityAction::Role::cancel:
        button->setProperty("role", QStringLiteral("cancel"));
        iconColour = PanelStyle::secondaryText();
        break;
    }
    if (action.symbol) {
        button->setIcon(symbolIcon(*action.symbol, iconColour));
        button->setIconSize({iconSide, iconSide});
    }
    return button;
}

} // namespace

ActivityCard::ActivityCard(QWidget* parent)
    : QFrame(parent), leading(new GlyphView), trailing(new GlyphView), title(new ElidedLabel),
      subtitle(new ElidedLabel), progress(new QProgressBar), buttonRow(new QHBoxLayout) {
    setProperty("card", true);
    title->setStyleSheet(QStringLiteral("font-weight: 600;"));
    subtitle->setProperty("secondary", true);
    progress->setRange(0, progressSteps);
    progress->setTextVisible(false);

    auto* heading = new QHBoxLayout;
    heading->setSpacing(PanelStyle::spacing);
    heading->addWidget(title, 1);
    heading->addWidget(trailing);
    buttonRow->setSpacing(PanelStyle::spacing);

    auto* text = new QVBoxLayout;
    text->setSpacing(4);
    text->addLayout(heading);
    text->addWidget(subtitle);
    text->addWidget(progress);
    text->addLayout(buttonRow);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(PanelStyle::spacing + 2, PanelStyle::spacing, PanelStyle::spacing + 2, PanelStyle::spacing);
    layout->setSpacing(PanelStyle::spacing + 2);
    layout->addWidget(leading, 0, Qt::AlignTop);
    layout->addLayout(text, 1);
}

void ActivityCard::setActivity(const brind::LiveActivity& activity) {
    const bool buttonsChange =
        !buttonsBuilt || activity.actions != activity_.actions || activity.dismissible != activity_.dismissible;
    activity_ = activity;
    setObjectName(QString::fromStdString(activity.id));
    leading->setGlyph(activity.leading, accentOf(activity));
    trailing->setGlyph(activity.trailing, accentOf(activity));
    title->setText(QString::fromStdString(activity.title));
    subtitle->setText(QString::fromStdString(activity.subtitle.value_or("")));
    subtitle->setVisible(activity.subtitle && !activity.subtitle->empty());
    progress->setVisible(activity.progress.has_value());
    progress->setValue(int(std::lround(activity.progress.value_or(0) * progressSteps)));
    setCursor(activity.tapAction ? Qt::PointingHandCursor : Qt::ArrowCursor);
    if (buttonsChange)
        rebuildButtons();
}

std::vector<QPushButton*> ActivityCard::buttons() const {
    std::vector<QPushButton*> all = actionButtons;
    if (dismiss)
        all.push_back(dismiss);
    return all;
}

// A press may end this very activity and so rebuild the panel while the button is still reporting
// its click: old buttons are deleted later, never at once.
void ActivityCard::rebuildButtons() {
    for (auto* button : buttons()) {
        button->hide();
        button->deleteLater();
    }
    actionButtons.clear();
    dismiss = nullptr;
    buttonsBuilt = true;
    while (buttonRow->count() > 0)
        delete buttonRow->takeAt(0);

    for (const auto& action : activity_.actions) {
        auto* button = actionButton(action);
        connect(button, &QPushButton::clicked, this, [this, id = action.id] {
            if (onAction)
                onAction(id);
        });
        buttonRow->addWidget(button);
        actionButtons.push_back(button);
    }
    buttonRow->addStretch(1);
    if (activity_.dismissible) {
        dismiss = new QPushButton(QStringLiteral("Dismiss"));
        dismiss->setObjectName(QStringLiteral("dismiss"));
        dismiss->setProperty("role", QStringLiteral("cancel"));
        dismiss->setFocusPolicy(Qt::StrongFocus);
        connect(dismiss, &QPushButton::clicked, this, [this] {
            if (onDismiss)
                onDismiss();
        });
        buttonRow->addWidget(dismiss);
    }
}

void ActivityCard::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && activity_.tapAction && rect().contains(event->position().toPoint()) &&
        onAction) {
        onAction(*activity_.tapAction);
        return;
    }
    QFrame::mouseReleaseEvent(event);
}

} // namespace vq
