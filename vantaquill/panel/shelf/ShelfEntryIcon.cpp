#include "vantaquill/panel/shelf/ShelfEntryIcon.hpp"

#include "vantaquill/island/faces/IconTheme.hpp"

#include <QApplication>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QStyle>

#include <utility>

namespace vq {

namespace {

bool isFolder(const brind::ShelfEntry& entry) {
    return entry.kind == brind::ShelfEntry::Kind::file && entry.path &&
           QFileInfo(QString::fromStdString(*entry.path)).isDir();
}

} // namespace

QStringList ShelfEntryIcon::names(const brind::ShelfEntry& entry) {
    switch (entry.kind) {
    case brind::ShelfEntry::Kind::file: {
        if (isFolder(entry))
            return {QStringLiteral("folder")};
        const QMimeType type = QMimeDatabase().mimeTypeForFile(QString::fromStdString(entry.path.value_or("")));
        QStringList result{type.iconName(), type.genericIconName(), QStringLiteral("text-x-generic")};
        result.removeDuplicates();
        return result;
    }
    case brind::ShelfEntry::Kind::text:
        return {QStringLiteral("text-x-generic")};
    case brind::ShelfEntry::Kind::link:
        return {QStringLiteral("text-html"), QStringLiteral("applications-internet"), QStringLiteral("text-x-generic")};
    }
    std::unreachable();
}

QIcon ShelfEntryIcon::of(const brind::ShelfEntry& entry) {
    IconTheme::ensure();
    for (const QString& name : names(entry))
        if (QIcon::hasThemeIcon(name))
            return QIcon::fromTheme(name);
    return QApplication::style()->standardIcon(isFolder(entry) ? QStyle::SP_DirIcon : QStyle::SP_FileIcon);
}

} // namespace vq
