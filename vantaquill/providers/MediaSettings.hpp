#pragma once

#include <filesystem>
#include <string>

namespace vq {

/// The now-playing keys of the preferences file.
struct MediaSettings {
    /// "media.enabled": follow the session's players and show what plays.
    bool enabled = true;
    /// "media.lyrics": fetch synced lyrics and show the current line.
    bool lyrics = true;
    /// "media.lyricsHost": the lyrics service's scheme and host.
    std::string lyricsHost;

    /// Reads the keys from the preferences file (an INI file); a missing key keeps its default.
    static MediaSettings read(const std::filesystem::path& file);

    friend bool operator==(const MediaSettings&, const MediaSettings&) = default;
};

} // namespace vq
