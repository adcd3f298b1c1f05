#include "vantaquill/settings/StatusMenu.hpp"

#include <QAction>
#include <QPainter>
#include <QPixmap>

namespace vq {

namespace {

// The installed theme icon when there is one; else the island itself, a black pill.
QIcon trayIcon() {
    QPixmap pill(64, 64);
    pill.fill(Qt::transparent);
    QPainter painter(&pill);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Qt::white, 3));
    painter.setBrush(Qt::black);
    painter.drawRoundedRect(QRectF(4, 20, 56, 24), 12, 12);
    painter.end();
    return QIcon::fromTheme("vantaquill", QIcon(pill));
}

} // namespace

StatusMenu::StatusMenu(Preferences& preferences, Actions actions, const std::function<void(const std::string&)>& log)
    : preferences(preferences) {
    menu.addAction("Open the Island", actions.openIsland);
    menu.addSeparator();
    pause = menu.addAction("Pause Notifications");
    pause->setCheckable(true);
    QObject::connect(pause, &QAction::toggled, [this](bool on) { this->preferences.set("activities.paused", on); });
    stayAwake = menu.addAction("Stay Awake");
    stayAwake->setCheckable(true);
    QObject::connect(stayAwake, &QAction::toggled,
                     [this](bool on) { this->preferences.set("activities.stayAwake", on); });
    if (actions.pauseClipboard && actions.clipboardPaused) {
        pauseClipboard = menu.addAction("Pause Clipboard History for 1 Hour");
        pauseClipboard->setCheckable(true);
        QObject::connect(pauseClipboard, &QAction::toggled, actions.pauseClipboard);
        // The settings window pauses and resumes too, and a pause ends by itself: read when shown.
        QObject::connect(&menu, &QMenu::aboutToShow, [this, paused = actions.clipboardPaused] {
            const QSignalBlocker quiet(pauseClipboard);
            pauseClipboard->setChecked(paused());
        });
    }
    menu.addSeparator();
    menu.addAction("Settings…", actions.openSettings);
    menu.addAction("Quit vantaquill", actions.quit);

    icon.setIcon(trayIcon());
    icon.setToolTip("vantaquill");
    icon.setContextMenu(&menu);
    QObject::connect(&icon, &QSystemTrayIcon::activated, [open = actions.openIsland](QSystemTrayIcon::ActivationReason why) {
        if (why == QSystemTrayIcon::Trigger)
            open();
    });
    load();
    preferences.onChange([this] { load(); });
    if (!QSystemTrayIcon::isSystemTrayAvailable())
        log("vantaquill: this desktop shows no status icons; the status menu is not shown "
            "(the settings open with `vantaquill-island --settings` or vantaquill://settings)");
    icon.show();
}

void StatusMenu::load() {
    const QSignalBlocker quietPause(pause);
    const QSignalBlocker quietAwake(stayAwake);
    pause->setChecked(preferences.flag("activities.paused"));
    stayAwake->setChecked(preferences.flag("activities.stayAwake"));
}

} // namespace vq
