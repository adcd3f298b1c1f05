#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vq {

/// One brightness device in the kernel's device folders: a backlight under `backlight/` or an LED
/// under `leds/`, with its `brightness` and `max_brightness` files in raw units.
struct SysfsBrightness {
    std::filesystem::path folder;

    /// The device's name, which logind's `SetBrightness` takes.
    std::string name() const { return folder.filename().string(); }
    std::optional<int> maximum() const;
    /// `brightness` (or another file of the device in the same units) over `max_brightness`.
    std::optional<double> level(const std::string& file = "brightness") const;
    /// A file of the device in raw units (`brightness`, `actual_brightness`, ...).
    std::optional<int> value(const std::string& file = "brightness") const;

    /// The backlights under `classRoot/backlight`, the ones to use first: firmware interfaces, then
    /// platform drivers, then raw panels (the order desktops use, as firmware knows the panel's
    /// curve best); by name within a kind.
    static std::vector<SysfsBrightness> backlights(const std::filesystem::path& classRoot);
    /// The keyboard lights under `classRoot/leds` (names holding "kbd_backlight"), by name.
    static std::vector<SysfsBrightness> keyboardLights(const std::filesystem::path& classRoot);

    friend bool operator==(const SysfsBrightness&, const SysfsBrightness&) = default;
};

} // namespace vq
