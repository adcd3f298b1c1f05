#pragma once

#include <filesystem>

namespace vq {

/// The HUD keys of the preferences file.
struct HUDSettings {
    /// "hud.enabled": the island shows the HUD flashes for the system's levels at all.
    bool enabled = true;
    /// "hud.volume": the volume flashes.
    bool volume = true;

    /// Reads the keys from the preferences file (an INI file); a missing key keeps its default.
    static HUDSettings read(const std::filesystem::path& file);

    /// Both switches on.
    bool showsVolume() const { return enabled && volume; }

    friend bool operator==(const HUDSettings&, const HUDSettings&) = default;
};

} // namespace vq
