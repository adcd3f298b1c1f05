#include "vantaquill/island/faces/IconTheme.hpp"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QIcon>

namespace vq {

namespace {

QString homeFolder(const QProcessEnvironment& environment) {
    const QString home = environment.value(QStringLiteral("HOME"));
    return home.isEmpty() ? QDir::homePath() : home;
}

QString gtkThemeName(const QProcessEnvironment& environment) {
    QString config = environment.value(QStringLiteral("XDG_CONFIG_HOME"));
    if (config.isEmpty())
        config = homeFolder(environment) + QStringLiteral("/.config");
    for (const char* version : {"gtk-3.0", "gtk-4.0"}) {
        QFile file(config + u'/' + QLatin1String(version) + QStringLiteral("/settings.ini"));
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            continue;
        while (!file.atEnd()) {
            const QString line = QString::fromUtf8(file.readLine()).trimmed();
            if (!line.startsWith(QStringLiteral("gtk-icon-theme-name")))
                continue;
            const qsizetype equals = line.indexOf(u'=');
            if (equals < 0)
                continue;
            QString name = line.mid(equals + 1).trimmed();
            if (name.size() >= 2 && name.startsWith(u'"') && name.endsWith(u'"'))
                name = name.mid(1, name.size() - 2);
            if (!name.isEmpty())
                return name;
        }
    }
    return {};
}

bool installed(const QString& theme, const QStringList& paths) {
    for (const QString& path : paths) {
        if (QFileInfo::exists(path + u'/' + theme + QStringLiteral("/index.theme")))
            return true;
    }
    return false;
}

} // namespace

IconTheme::Choice IconTheme::choose(const QString& qtTheme, const QStringList& qtSearchPaths,
                                    const QProcessEnvironment& environment) {
    // Without a desktop's platform theme (a bare X session, a window manager alone) Qt reports
    // "hicolor", the fallback theme that holds application icons only: that is no choice at all.
    if (!qtTheme.isEmpty() && qtTheme != QStringLiteral("hicolor"))
        return {qtTheme, qtSearchPaths};
    QStringList paths = qtSearchPaths;
    QString dataHome = environment.value(QStringLiteral("XDG_DATA_HOME"));
    if (dataHome.isEmpty())
        dataHome = homeFolder(environment) + QStringLiteral("/.local/share");
    paths << dataHome + QStringLiteral("/icons") << homeFolder(environment) + QStringLiteral("/.icons");
    QString dataDirs = environment.value(QStringLiteral("XDG_DATA_DIRS"));
    if (dataDirs.isEmpty())
        dataDirs = QStringLiteral("/usr/local/share:/usr/share");
    for (const QString& folder : dataDirs.split(u':', Qt::SkipEmptyParts))
        paths << folder + QStringLiteral("/icons");
    paths << QStringLiteral("/usr/share/pixmaps");
    paths.removeDuplicates();

    if (const QString gtk = gtkThemeName(environment); !gtk.isEmpty() && installed(gtk, paths))
        return {gtk, paths};
    for (const QString& common : {QStringLiteral("Adwaita"), QStringLiteral("breeze")}) {
        if (installed(common, paths))
            return {common, paths};
    }
    return {QStringLiteral("hicolor"), paths};
}

void IconTheme::ensure() {
    static const bool applied = [] {
        const Choice choice =
            choose(QIcon::themeName(), QIcon::themeSearchPaths(), QProcessEnvironment::systemEnvironment());
        if (choice.searchPaths != QIcon::themeSearchPaths())
            QIcon::setThemeSearchPaths(choice.searchPaths);
        if (choice.name != QIcon::themeName())
            QIcon::setThemeName(choice.name);
        return true;
    }();
    (void)applied;
}

} // namespace vq
