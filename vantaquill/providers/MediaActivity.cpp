#include "vantaquill/providers/MediaActivity.hpp"

namespace vq {

brind::LiveActivity MediaActivity::make(const MediaPlayback& playback, const std::optional<std::string>& lyricLine) {
    brind::LiveActivity activity;
    activity.id = std::string(id);
    activity.source = std::string(source);
    activity.priority = brind::ActivityPriority::normal;
    activity.leading = playback.desktopEntry.empty() ? brind::ActivityGlyph::symbol("music.note")
                                                     : brind::ActivityGlyph::appIcon(playback.desktopEntry);
    const bool playing = playback.status == MediaPlayback::Status::playing;
    activity.trailing = playing ? brind::ActivityGlyph::visualiser() : brind::ActivityGlyph::symbol("pause.fill");
    activity.title = !playback.title.empty() ? playback.title : playback.identity;
    if (lyricLine) {
        activity.subtitle = *lyricLine;
    } else if (auto artists = playback.artistLine(); !artists.empty()) {
        activity.subtitle = std::move(artists);
    }
    using Role = brind::ActivityAction::Role;
    if (playback.canGoPrevious)
        activity.actions.push_back({std::string(previousAction), "Previous", Role::normal, "backward.fill"});
    if (playing && playback.canPause)
        activity.actions.push_back({std::string(pauseAction), "Pause", Role::primary, "pause.fill"});
    else if (!playing && playback.canPlay)
        activity.actions.push_back({std::string(playAction), "Play", Role::primary, "play.fill"});
    if (playback.canGoNext)
        activity.actions.push_back({std::string(nextAction), "Next", Role::normal, "forward.fill"});
    return activity;
}

} // namespace vq
