#include "vantaquill/island/faces/AppIcons.hpp"

#include "vantaquill/island/faces/IconTheme.hpp"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>

namespace vq {

namespace {

/// The file names an application id may be installed under: as given, in lower case, and the
/// last component of a reverse-domain id ("org.gnome.Nautilus" is often "nautilus.desktop").
QStringList desktopNames(const QString& id) {
    QStringList names{id, id.toLower()};
    const qsizetype dot = id.lastIndexOf(u'.');
    if (dot >= 0)
        names << id.mid(dot + 1).toLower();
    names.removeDuplicates();
    return names;
}

QIcon loadIcon(const QString& key) {
    if (key.isEmpty())
        return {};
    if (QFileInfo(key).isAbsolute())
        return QFileInfo::exists(key) ? QIcon(key) : QIcon();
    if (QIcon::hasThemeIcon(key))
        return QIcon::fromTheme(key);
    // Older packages put a bare image in the pixmaps folder instead of the theme.
    for (const char* suffix : {".png", ".svg", ".xpm"}) {
        const QString path = QStringLiteral("/usr/share/pixmaps/") + key + QLatin1String(suffix);
        if (QFileInfo::exists(path))
            return QIcon(path);
    }
    return {};
}

QIcon lookUp(const QString& id) {
    for (const QString& folder : AppIcons::applicationFolders()) {
        for (const QString& name : desktopNames(id)) {
            const QString file = folder + u'/' + name + QStringLiteral(".desktop");
            if (!QFileInfo::exists(file))
                continue;
            if (QIcon icon = loadIcon(AppIcons::iconKey(file)); !icon.isNull())
                return icon;
        }
    }
    // Some applications install a theme icon named after their id without a desktop file we can see.
    return QIcon::hasThemeIcon(id) ? QIcon::fromTheme(id) : QIcon();
}

} // namespace

QStringList AppIcons::applicationFolders() {
    QStringList folders;
    QString home = qEnvironmentVariable("XDG_DATA_HOME");
    if (home.isEmpty())
        home = QDir::homePath() + QStringLiteral("/.local/share");
    folders << home + QStringLiteral("/applications");
    QString dirs = qEnvironmentVariable("XDG_DATA_DIRS");
    if (dirs.isEmpty())
        dirs = QStringLiteral("/usr/local/share:/usr/share");
    for (const QString& dir : dirs.split(u':', Qt::SkipEmptyParts))
        folders << dir + QStringLiteral("/applications");
    return folders;
}

QString AppIcons::iconKey(const QString& desktopFile) {
    QFile file(desktopFile);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    bool inEntry = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(u'[')) {
            inEntry = line == QStringLiteral("[Desktop Entry]");
            continue;
        }
        if (inEntry && line.startsWith(QStringLiteral("Icon=")))
            return line.mid(5).trimmed();
    }
    return {};
}

QIcon AppIcons::find(const std::string& applicationID) {
    static QHash<QString, QIcon> cache;
    const QString id = QString::fromStdString(applicationID);
    if (const auto found = cache.constFind(id); found != cache.constEnd())
        return *found;
    IconTheme::ensure();
    return *cache.insert(id, id.isEmpty() ? QIcon() : lookUp(id));
}

} // namespace vq
