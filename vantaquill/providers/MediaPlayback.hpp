#pragma once

#include "BrindKit/foundation/Date.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vq {

/// What one media player on the session bus is playing, as far as it has told us.
struct MediaPlayback {
    /// The player's own words for its state.
    enum class Status { playing, paused, stopped };

    /// The well-known name the player owns ("org.mpris.MediaPlayer2.mpv").
    std::string busName{};
    /// The player's desktop entry without ".desktop" ("mpv"): its application icon.
    std::string desktopEntry{};
    /// The player's name for people ("mpv Media Player").
    std::string identity{};
    Status status = Status::stopped;
    std::string title{};
    std::vector<std::string> artists{};
    std::optional<std::string> album{};
    /// Seconds; players that stream may not know it.
    std::optional<double> length{};
    std::optional<std::string> artURL{};
    bool canGoNext = false;
    bool canGoPrevious = false;
    bool canPause = false;
    bool canPlay = false;
    /// Playback speed: 1 is normal.
    double rate = 1;
    /// The last position the player reported, in seconds, and when; nothing until it has said.
    std::optional<double> anchorPosition{};
    brind::Date anchoredAt{};
    /// When the status last changed (or the player appeared): the most recent change wins.
    brind::Date changedAt{};

    /// The position now: players report it only when asked, so between reports it runs on at
    /// `rate` while playing. Never negative, never past a known length.
    std::optional<double> position(brind::Date now) const;

    /// Re-anchors at `now` before the rate or status changes, so the time already played keeps
    /// the old speed.
    void anchor(brind::Date now);

    /// The artists joined with ", ".
    std::string artistLine() const;

    friend bool operator==(const MediaPlayback&, const MediaPlayback&) = default;
};

/// "Playing", "Paused" or "Stopped", as the players write it.
std::string_view name(MediaPlayback::Status status);
std::optional<MediaPlayback::Status> mediaPlaybackStatusNamed(std::string_view name);

} // namespace vq
