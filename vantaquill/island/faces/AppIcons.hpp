#pragma once

#include <QIcon>
#include <QString>
#include <QStringList>

#include <string>

namespace vq {

/// Finds an installed application's icon from its application id: the `Icon=` of `<id>.desktop`
/// in the applications folders of the XDG data directories (the user's first), loaded through the
/// icon theme or from the path it names. Lookups are kept for the life of the process.
struct AppIcons {
    /// A null icon when no desktop file or icon is found.
    static QIcon find(const std::string& applicationID);

    /// The folders searched for desktop files, in order: $XDG_DATA_HOME (or ~/.local/share), then
    /// each of $XDG_DATA_DIRS (or /usr/local/share:/usr/share), each with "/applications".
    static QStringList applicationFolders();

    /// The `Icon=` value of a desktop file's [Desktop Entry] group; empty when absent or unreadable.
    static QString iconKey(const QString& desktopFile);
};

} // namespace vq
