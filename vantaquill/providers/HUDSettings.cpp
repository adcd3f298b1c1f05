#include "vantaquill/providers/HUDSettings.hpp"

#include <QSettings>

namespace vq {

HUDSettings HUDSettings::read(const std::filesystem::path& file) {
    const QSettings settings(QString::fromStdString(file.string()), QSettings::IniFormat);
    HUDSettings result;
    result.enabled = settings.value("hud.enabled", true).toBool();
    result.volume = settings.value("hud.volume", true).toBool();
    return result;
}

} // namespace vq
