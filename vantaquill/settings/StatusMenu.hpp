#pragma once

#include "vantaquill/qt/Preferences.hpp"

#include <QMenu>
#include <QSystemTrayIcon>

#include <functional>
#include <string>

class QAction;

namespace vq {

/// The icon in the desktop's status area (a StatusNotifierItem where the desktop hosts them, else an
/// XEmbed tray icon) and its menu: open the island, pause notifications, stay awake, settings, quit.
/// The two switches are the preferences "activities.paused" and "activities.stayAwake".
class StatusMenu {
public:
    struct Actions {
        std::function<void()> openIsland;
        std::function<void()> openSettings;
        std::function<void()> quit;
    };

    StatusMenu(Preferences& preferences, Actions actions, const std::function<void(const std::string&)>& log);

    /// The menu the icon shows.
    QMenu* contextMenu() { return &menu; }

private:
    void load();

    Preferences& preferences;
    QMenu menu;
    QSystemTrayIcon icon;
    QAction* pause = nullptr;
    QAction* stayAwake = nullptr;
};

} // namespace vq
