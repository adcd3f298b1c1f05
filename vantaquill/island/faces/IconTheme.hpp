#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace vq {

/// The icon theme the island's symbols and application icons come from. Qt knows the user's theme
/// where a desktop platform theme runs (GNOME, KDE); elsewhere (sway, Hyprland, a bare X session, the
/// offscreen platform) it knows none and looks nowhere, so the island picks the theme the user set
/// for GTK programs, or else a common theme that is installed.
struct IconTheme {
    struct Choice {
        QString name;
        QStringList searchPaths;
        friend bool operator==(const Choice&, const Choice&) = default;
    };

    /// The theme to use given what Qt reports and the environment: Qt's own choice when it has one
    /// ("hicolor", Qt's fallback without a desktop, is none); otherwise the folders `$XDG_DATA_HOME/icons`, `~/.icons`, each `$XDG_DATA_DIRS/icons` and
    /// `/usr/share/pixmaps` are searched, for the theme named by `gtk-icon-theme-name` in
    /// `$XDG_CONFIG_HOME/gtk-3.0/settings.ini` (or gtk-4.0), else the first of Adwaita, breeze and
    /// hicolor that is installed.
    static Choice choose(const QString& qtTheme, const QStringList& qtSearchPaths,
                         const QProcessEnvironment& environment);

    /// Applies `choose` to Qt once per process, before the first icon lookup.
    static void ensure();
};

} // namespace vq
