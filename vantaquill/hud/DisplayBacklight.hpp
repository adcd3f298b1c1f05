#pragma once

#include "vantaquill/hud/SysfsBrightness.hpp"

#include <QFileSystemWatcher>

#include <expected>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace vq {

/// The display's backlight: read from the kernel's backlight folder, written through logind, and
/// watched for changes made elsewhere (the desktop's keys, a power manager, `brightnessctl`). The
/// kernel tells a change of `actual_brightness` to inotify watchers, so nothing is polled.
class DisplayBacklight {
  public:
    using Changed = std::function<void(double level)>;
    using Log = std::function<void(const std::string&)>;
    /// Many panels go dark at 0: the lowest level the keys write keeps one raw unit of light.
    static constexpr int lowestRaw = 1;

    /// `classRoot` is where the device classes are (/sys/class); the first backlight there is used.
    DisplayBacklight(std::filesystem::path classRoot, Changed changedElsewhere, Log log);

    /// A backlight whose level can be read.
    bool available() const { return level().has_value(); }
    std::optional<double> level() const;
    /// Sets the nearest raw value, at least one unit from the current one; the level it set.
    std::expected<double, std::string> setLevel(double level);

  private:
    void fileChanged();

    std::optional<SysfsBrightness> device_;
    Changed changedElsewhere_;
    QFileSystemWatcher watcher_;
    std::optional<double> lastSeen_;
};

} // namespace vq
