#include "vantaquill/providers/MediaSettings.hpp"

#include "BrindKit/system/LyricsStore.hpp"

#include <QString>

namespace vq {

std::string MediaSettings::lyricsHostOrDefault(std::string_view configured) {
    const QString host = QString::fromUtf8(configured.data(), static_cast<qsizetype>(configured.size())).trimmed();
    return host.isEmpty() ? std::string(brind::LyricsStore::defaultBaseURL) : host.toStdString();
}

} // namespace vq
