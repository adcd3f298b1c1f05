#pragma once

#include "BrindKit/island/LiveActivity.hpp"
#include "vantaquill/providers/MediaPlayback.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace vq {

/// The island's now-playing activity for the chosen player.
struct MediaActivity {
    static constexpr std::string_view source = "media";
    static constexpr std::string_view id = "media.nowPlaying";

    /// The buttons' ids, which the controller turns into calls to the player.
    static constexpr std::string_view previousAction = "previous";
    static constexpr std::string_view playAction = "play";
    static constexpr std::string_view pauseAction = "pause";
    static constexpr std::string_view nextAction = "next";

    /// The player's application icon leads (a music note when it names no desktop entry); the
    /// visualiser trails while it plays and a pause symbol while it is paused. The subtitle is the
    /// current lyric line when there is one, else the artists. Previous and next appear when the
    /// player can do them; the middle button pauses a playing player and plays a paused one.
    static brind::LiveActivity make(const MediaPlayback& playback, const std::optional<std::string>& lyricLine);
};

} // namespace vq
