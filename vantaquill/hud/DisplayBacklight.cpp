#include "vantaquill/hud/DisplayBacklight.hpp"

#include "vantaquill/hud/SessionBrightness.hpp"

#include "BrindKit/island/HUDKeyRules.hpp"

#include <algorithm>

namespace vq {

namespace {

constexpr const char* actualFile = "actual_brightness";

} // namespace

DisplayBacklight::DisplayBacklight(std::filesystem::path classRoot, Changed changedElsewhere, Log log)
    : changedElsewhere_(std::move(changedElsewhere)) {
    const auto found = SysfsBrightness::backlights(classRoot);
    if (found.empty()) {
        log("vantaquill: no backlight in " + (classRoot / "backlight").string() +
            ", so the brightness keys are left to the desktop");
        return;
    }
    device_ = found.front();
    lastSeen_ = device_->level(actualFile);
    watcher_.addPath(QString::fromStdString((device_->folder / actualFile).string()));
    QObject::connect(&watcher_, &QFileSystemWatcher::fileChanged, [this] { fileChanged(); });
}

std::optional<double> DisplayBacklight::level() const {
    if (!device_)
        return std::nullopt;
    return device_->level();
}

std::expected<double, std::string> DisplayBacklight::setLevel(double level) {
    const auto maximum = device_ ? device_->maximum() : std::nullopt;
    const auto current = device_ ? device_->value() : std::nullopt;
    if (!maximum || !current)
        return std::unexpected("there is no backlight");
    const int raw = std::max(brind::HUDKeyRules::rawLevel(level, *current, *maximum), std::min(lowestRaw, *maximum));
    if (auto set = SessionBrightness::set("backlight", device_->name(), raw); !set)
        return std::unexpected(set.error());
    return static_cast<double>(raw) / *maximum;
}

void DisplayBacklight::fileChanged() {
    // A file written by replacing it (as a test's stand-in may be) is no longer watched.
    const QString path = QString::fromStdString((device_->folder / actualFile).string());
    if (!watcher_.files().contains(path))
        watcher_.addPath(path);
    const auto level = device_->level(actualFile);
    // The kernel may tell of a write that left the level as it was.
    if (!level || level == lastSeen_)
        return;
    lastSeen_ = level;
    changedElsewhere_(*level);
}

} // namespace vq
