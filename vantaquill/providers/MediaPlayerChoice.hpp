#pragma once

#include "vantaquill/providers/MediaPlayback.hpp"

#include <optional>
#include <string_view>
#include <vector>

namespace vq {

/// Which of the session's players the island shows, and which bus names count as players.
struct MediaPlayerChoice {
    static constexpr std::string_view busPrefix = "org.mpris.MediaPlayer2.";
    /// playerctld re-publishes whichever player was active last under its own name; following it
    /// too would show every track twice.
    static constexpr std::string_view proxyName = "org.mpris.MediaPlayer2.playerctld";

    /// True for a player's own name: the MPRIS prefix with something after it, and not the proxy.
    static bool isPlayer(std::string_view busName);

    /// The index of the player to show: a playing one beats a paused one, and among equals the one
    /// whose status changed last wins (then the smaller bus name, so the choice never flickers).
    /// Stopped players are not shown; nothing when no player is playing or paused.
    static std::optional<std::size_t> choose(const std::vector<MediaPlayback>& players);
};

} // namespace vq
