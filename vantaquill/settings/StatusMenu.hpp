#pragma once

#include "vantaquill/qt/Preferences.hpp"

#include <QMenu>
#include <QSystemTrayIcon>

#include <functional>
#include <string>

class QAction;

namespace vq {

/// The icon in the desktop's status area (a StatusNotifierItem where the desktop hosts them, else an
/// XEmbed tray icon) and its menu: open the island, pause notifications, stay awake, pause the
/// clipboard history for an hour, settings, quit. The first two switches are the preferences
/// "activities.paused" and "activities.stayAwake"; the clipboard's pause is the running island's.
class StatusMenu {
public:
    struct Actions {
        std::function<void()> openIsland;
        std::function<void()> openSettings;
        std::function<void()> quit;
        /// Pauses the clipboard history for `pauseHours` (true) or resumes it (false); and whether
        /// it is paused now, however the pause was asked for. Both empty: no such item.
        std::function<void(bool)> pauseClipboard;
        std::function<bool()> clipboardPaused;
    };

    static constexpr double pauseHours = 1;

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
    QAction* pauseClipboard = nullptr;
};

} // namespace vq
