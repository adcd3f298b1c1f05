#include "vantaquill/providers/MediaActivity.hpp"
#include "vantaquill/providers/MediaPlayback.hpp"
#include "vantaquill/providers/MediaPlayerChoice.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vq {
namespace {

using Status = MediaPlayback::Status;

MediaPlayback player(std::string name, Status status, double changedAt) {
    MediaPlayback playback;
    playback.busName = "org.mpris.MediaPlayer2." + std::move(name);
    playback.status = status;
    playback.changedAt = brind::Date{changedAt};
    return playback;
}

TEST(MediaPlayerChoice, PlayingBeatsPausedAndTheLatestChangeWins) {
    struct Case {
        const char* what;
        std::vector<MediaPlayback> players;
        std::optional<std::size_t> chosen;
    };
    const std::vector<Case> cases = {
        {"nobody", {}, std::nullopt},
        {"stopped players are not shown", {player("a", Status::stopped, 5)}, std::nullopt},
        {"playing beats a later pause",
         {player("a", Status::paused, 9), player("b", Status::playing, 1)}, 1},
        {"the later of two playing",
         {player("a", Status::playing, 3), player("b", Status::playing, 7)}, 1},
        {"the later of two paused",
         {player("a", Status::paused, 8), player("b", Status::paused, 2)}, 0},
        {"a tie goes to the smaller name",
         {player("b", Status::playing, 4), player("a", Status::playing, 4)}, 1},
    };
    for (const auto& test : cases)
        EXPECT_EQ(MediaPlayerChoice::choose(test.players), test.chosen) << test.what;
}

TEST(MediaPlayerChoice, FollowsPlayersButNotTheProxyOrOtherNames) {
    EXPECT_TRUE(MediaPlayerChoice::isPlayer("org.mpris.MediaPlayer2.mpv"));
    EXPECT_TRUE(MediaPlayerChoice::isPlayer("org.mpris.MediaPlayer2.vlc.instance42"));
    EXPECT_FALSE(MediaPlayerChoice::isPlayer("org.mpris.MediaPlayer2.playerctld"));
    EXPECT_FALSE(MediaPlayerChoice::isPlayer("org.mpris.MediaPlayer2."));
    EXPECT_FALSE(MediaPlayerChoice::isPlayer("org.freedesktop.Notifications"));
}

TEST(MediaPlayback, PositionRunsOnAtTheRateWhilePlayingAndStaysInsideTheTrack) {
    MediaPlayback playback = player("a", Status::playing, 0);
    EXPECT_EQ(playback.position(brind::Date{10}), std::nullopt) << "no report yet";
    playback.anchorPosition = 4;
    playback.anchoredAt = brind::Date{100};
    playback.rate = 1.5;
    playback.length = 20;
    EXPECT_DOUBLE_EQ(*playback.position(brind::Date{102}), 7);
    EXPECT_DOUBLE_EQ(*playback.position(brind::Date{200}), 20) << "never past the length";
    EXPECT_DOUBLE_EQ(*playback.position(brind::Date{90}), 4) << "a clock behind the report adds nothing";

    // A pause keeps what was played before it and then stands still.
    playback.anchor(brind::Date{104});
    playback.status = Status::paused;
    EXPECT_DOUBLE_EQ(*playback.position(brind::Date{150}), 10);
}

TEST(MediaPlayback, StatusNamesAreThePlayersOwn) {
    for (const auto status : {Status::playing, Status::paused, Status::stopped})
        EXPECT_EQ(mediaPlaybackStatusNamed(name(status)), status);
    EXPECT_EQ(mediaPlaybackStatusNamed("playing"), std::nullopt);
}

TEST(MediaActivity, ShowsTheTrackTheLyricLineAndTheButtonsThePlayerOffers) {
    MediaPlayback playback = player("mpv", Status::playing, 0);
    playback.desktopEntry = "mpv";
    playback.identity = "mpv Media Player";
    playback.title = "Test Tone";
    playback.artists = {"Band", "", "Guest"};
    playback.canPause = true;
    playback.canPlay = true;
    playback.canGoNext = true;

    auto activity = MediaActivity::make(playback, std::nullopt);
    EXPECT_EQ(activity.id, "media.nowPlaying");
    EXPECT_EQ(activity.source, "media");
    EXPECT_EQ(activity.leading, brind::ActivityGlyph::appIcon("mpv"));
    EXPECT_EQ(activity.trailing, brind::ActivityGlyph::visualiser());
    EXPECT_EQ(activity.title, "Test Tone");
    EXPECT_EQ(activity.subtitle, "Band, Guest");
    ASSERT_EQ(activity.actions.size(), 2u);
    EXPECT_EQ(activity.actions[0].id, "pause");
    EXPECT_EQ(activity.actions[1].id, "next");

    activity = MediaActivity::make(playback, std::string("First line"));
    EXPECT_EQ(activity.subtitle, "First line");

    playback.status = Status::paused;
    playback.title.clear();
    playback.desktopEntry.clear();
    playback.canGoPrevious = true;
    activity = MediaActivity::make(playback, std::nullopt);
    EXPECT_EQ(activity.title, "mpv Media Player") << "an untitled track is named after its player";
    EXPECT_EQ(activity.leading, brind::ActivityGlyph::symbol("music.note"));
    EXPECT_EQ(activity.trailing, brind::ActivityGlyph::symbol("pause.fill"));
    ASSERT_EQ(activity.actions.size(), 3u);
    EXPECT_EQ(activity.actions[0].id, "previous");
    EXPECT_EQ(activity.actions[1].id, "play");
}

} // namespace
} // namespace vq
