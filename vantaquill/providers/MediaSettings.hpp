#pragma once

#include <string>
#include <string_view>

namespace vq {

/// The now-playing keys of the preferences file, as the preferences store checked them.
struct MediaSettings {
    /// "media.enabled": follow the session's players and show what plays.
    bool enabled = true;
    /// "media.lyrics": fetch synced lyrics and show the current line.
    bool lyrics = true;
    /// "media.lyricsHost": the lyrics service's scheme and host.
    std::string lyricsHost;

    /// The service to ask for lyrics: the configured host, or LRCLIB's when none is set.
    static std::string lyricsHostOrDefault(std::string_view configured);

    friend bool operator==(const MediaSettings&, const MediaSettings&) = default;
};

} // namespace vq
