#include "vantaquill/providers/MediaPlayerChoice.hpp"

#include <tuple>
#include <utility>

namespace vq {

bool MediaPlayerChoice::isPlayer(std::string_view busName) {
    return busName.starts_with(busPrefix) && busName.size() > busPrefix.size() && busName != proxyName;
}

std::optional<std::size_t> MediaPlayerChoice::choose(const std::vector<MediaPlayback>& players) {
    std::optional<std::size_t> best;
    const auto rank = [](const MediaPlayback& player) {
        switch (player.status) {
        case MediaPlayback::Status::playing:
            return 2;
        case MediaPlayback::Status::paused:
            return 1;
        case MediaPlayback::Status::stopped:
            return 0;
        }
        std::unreachable();
    };
    for (std::size_t index = 0; index < players.size(); ++index) {
        const MediaPlayback& candidate = players[index];
        if (rank(candidate) == 0)
            continue;
        if (!best) {
            best = index;
            continue;
        }
        const MediaPlayback& current = players[*best];
        // Greater rank first, then the later change, then the smaller name.
        if (std::tuple(rank(candidate), candidate.changedAt, current.busName) >
            std::tuple(rank(current), current.changedAt, candidate.busName))
            best = index;
    }
    return best;
}

} // namespace vq
