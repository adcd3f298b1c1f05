#pragma once

#include "vantaquill/hud/KeyboardLightSignal.hpp"
#include "vantaquill/hud/SysfsBrightness.hpp"

#include <QFileSystemWatcher>

#include <expected>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace vq {

/// The keyboard's light: UPower's `KbdBacklight` on the system bus where UPower offers one (it reads
/// and writes the LED for the session's user and says when the firmware changed it), otherwise the
/// first `*kbd_backlight*` LED in the kernel's folder, written through logind and watched through
/// its `brightness_hw_changed` file. Neither: not `available`, said in one log line.
class KeyboardBacklight {
  public:
    using Changed = std::function<void(double level)>;
    using Log = std::function<void(const std::string&)>;
    /// UPower answers at once or not at all; this bounds a bus that hangs.
    static constexpr int callTimeoutMilliseconds = 2000;

    KeyboardBacklight(std::filesystem::path classRoot, Changed changedElsewhere, Log log);

    bool available() const { return upowerMaximum_ > 0 || led_.has_value(); }
    /// The level 0...1, or nothing when it cannot be read.
    std::optional<double> brightness() const;
    /// Sets the nearest whole level, at least one from the current one; the level it set.
    std::expected<double, std::string> setBrightness(double level);

  private:
    void reported(double level);

    Changed changedElsewhere_;
    int upowerMaximum_ = 0;
    std::optional<SysfsBrightness> led_;
    KeyboardLightSignal signal_;
    QFileSystemWatcher watcher_;
    std::optional<double> lastSeen_;
};

} // namespace vq
