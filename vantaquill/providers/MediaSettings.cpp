#include "vantaquill/providers/MediaSettings.hpp"

#include "BrindKit/system/LyricsStore.hpp"

#include <QSettings>

namespace vq {

MediaSettings MediaSettings::read(const std::filesystem::path& file) {
    const QSettings settings(QString::fromStdString(file.string()), QSettings::IniFormat);
    MediaSettings result;
    result.enabled = settings.value("media.enabled", true).toBool();
    result.lyrics = settings.value("media.lyrics", true).toBool();
    const QString host = settings.value("media.lyricsHost").toString().trimmed();
    result.lyricsHost = host.isEmpty() ? std::string(brind::LyricsStore::defaultBaseURL) : host.toStdString();
    return result;
}

} // namespace vq
