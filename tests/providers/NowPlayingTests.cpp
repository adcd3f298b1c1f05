#include "tests/e2e/E2EProcess.hpp"
#include "tests/package/PrivateSessionBus.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/providers/SoundServer.hpp"
#include "tests/support/BackgroundProgram.hpp"
#include "tests/support/LoopbackHTTPServer.hpp"
#include "vantaquill/providers/MediaActivity.hpp"
#include "vantaquill/providers/MediaController.hpp"
#include "vantaquill/providers/MediaPlayback.hpp"
#include "vantaquill/providers/MediaPlayerChoice.hpp"

#include <QCoreApplication>
#include <chrono>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace vq {
namespace {

using namespace std::chrono_literals;
using e2e::IslandProcess;
using e2e::TemporaryHome;
using Status = MediaPlayback::Status;

const std::string mprisScript = "/usr/lib/mpv-mpris/mpris.so";
const std::string playerName = "org.mpris.MediaPlayer2.mpv";

/// mpv with its MPRIS plugin playing files on the private bus, without sound or window.
class Player : public BackgroundProgram {
  public:
    Player(const TemporaryHome& home, const std::string& busAddress,
           const std::vector<std::filesystem::path>& files)
        : BackgroundProgram("/usr/bin/mpv", arguments(files),
                            {"HOME=" + home.path().string(), "DBUS_SESSION_BUS_ADDRESS=" + busAddress,
                             "PATH=/usr/bin:/bin"}) {}

  private:
    static std::vector<std::string> arguments(const std::vector<std::filesystem::path>& files) {
        std::vector<std::string> all = {"--no-config", "--load-scripts=no", "--script=" + mprisScript,
                                        "--ao=null",   "--vo=null",         "--no-terminal"};
        for (const auto& file : files)
            all.push_back(file.string());
        return all;
    }
};

class NowPlaying : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(bus.running()) << "dbus-daemon (package dbus-daemon) did not start";
        ASSERT_TRUE(std::filesystem::exists("/usr/bin/mpv")) << "mpv is missing (package mpv)";
        ASSERT_TRUE(std::filesystem::exists(mprisScript))
            << "the MPRIS plugin is missing (package mpv-mpris)";
        // Thirty seconds of silence tagged with an artist and an album; a track untitled in its
        // tags is named after its file.
        for (const auto& file : {track, secondTrack})
            std::filesystem::copy_file(std::string(BRIND_TEST_DATA) + "/providers/the-band.wav", file);
    }

    void useLyricsService(const std::string& url) const {
        writePreferences(home, "media.lyricsHost=\"" + url + "\"\n");
    }

    std::string property(const std::string& name) const {
        return dbusSend(bus.address(), {"--print-reply", "--dest=" + playerName, "/org/mpris/MediaPlayer2",
                                        "org.freedesktop.DBus.Properties.Get",
                                        "string:org.mpris.MediaPlayer2.Player", "string:" + name})
            .out;
    }

    bool waitForStatus(const std::string& status) const {
        return eventually(
            [&] { return property("PlaybackStatus").find('"' + status + '"') != std::string::npos; });
    }

    std::filesystem::path cachedLyrics() const {
        return home.path() / ".local/share/vantaquill/Lyrics/the_band_test_tone.lrc";
    }

    TemporaryHome home;
    packagetest::PrivateSessionBus bus{home.path()};
    std::filesystem::path track = home.path() / "Test Tone";
    std::filesystem::path secondTrack = home.path() / "Second Tone";
};

TEST_F(NowPlaying, FollowsThePlayerItsLyricsAndItsButtons) {
    LoopbackHTTPServer lyrics(
        200, R"({"syncedLyrics":"[00:01.00]First line\n[00:03.00]Second line\n[00:20.00]Twentieth line\n"})");
    useLyricsService(lyrics.url());
    IslandProcess island(home);
    ASSERT_NE(island.port(), 0);
    Player player(home, bus.address(), {track, secondTrack});
    ASSERT_TRUE(player.running());

    const auto shown = island.waitForLine("title=\"Test Tone\" subtitle=\"The Band\"", patience);
    ASSERT_TRUE(shown.has_value()) << island.errors();
    EXPECT_NE(shown->find("id=media.nowPlaying source=media"), std::string::npos) << *shown;
    EXPECT_NE(shown->find("action=\"pause\""), std::string::npos) << *shown;

    // The lines follow the track's clock.
    ASSERT_TRUE(island.waitForLine("subtitle=\"First line\"", patience));
    ASSERT_TRUE(island.waitForLine("subtitle=\"Second line\"", patience));
    const auto requests = lyrics.requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_NE(
        requests[0].find(
            "GET /api/get?artist_name=The%20Band&track_name=Test%20Tone&album_name=The%20Album&duration=30 "),
        std::string::npos)
        << requests[0];
    EXPECT_NE(requests[0].find("User-Agent: vantaquill/"), std::string::npos) << requests[0];
    EXPECT_TRUE(std::filesystem::exists(cachedLyrics()));

    // The island's button reaches the player, and the player's answer comes back as a play button.
    ASSERT_TRUE(island.sendInput("press media.nowPlaying pause\n"));
    EXPECT_TRUE(waitForStatus("Paused"));
    ASSERT_TRUE(island.waitForLine("subtitle=\"Second line\" action=\"previous\" action=\"play\"", patience));

    // A jump while paused moves the line at once.
    ASSERT_EQ(dbusSend(bus.address(), {"--print-reply", "--dest=" + playerName, "/org/mpris/MediaPlayer2",
                                       "org.mpris.MediaPlayer2.Player.Seek", "int64:18000000"})
                  .exitCode,
              0);
    ASSERT_TRUE(island.waitForLine("subtitle=\"Twentieth line\"", patience));

    ASSERT_TRUE(island.sendInput("press media.nowPlaying play\n"));
    EXPECT_TRUE(waitForStatus("Playing"));
    ASSERT_TRUE(
        island.waitForLine("subtitle=\"Twentieth line\" action=\"previous\" action=\"pause\"", patience));

    EXPECT_EQ(lyrics.requests().size(), 1u) << "the track's lyrics were asked for more than once";

    // The next track brings its own lyrics.
    ASSERT_TRUE(island.sendInput("press media.nowPlaying next\n"));
    ASSERT_TRUE(island.waitForLine("title=\"Second Tone\" subtitle=\"First line\"", patience));
    ASSERT_EQ(lyrics.requests().size(), 2u);
    EXPECT_NE(lyrics.requests()[1].find("track_name=Second%20Tone"), std::string::npos)
        << lyrics.requests()[1];

    // The settings apply while the island runs: lyrics switched off leave the artists, now playing
    // switched off ends the activity, and switched on again it follows the player once more.
    writePreferences(home, "media.lyricsHost=\"" + lyrics.url() + "\"\nmedia.lyrics=false\n");
    ASSERT_TRUE(island.waitForLine("title=\"Second Tone\" subtitle=\"The Band\"", patience));
    writePreferences(home, "media.enabled=false\n");
    ASSERT_TRUE(island.waitForLine("activity ended id=media.nowPlaying", patience));
    writePreferences(home, "media.lyrics=false\n");
    ASSERT_TRUE(island.waitForLine("title=\"Second Tone\" subtitle=\"The Band\"", patience));

    // The player leaving the bus ends the activity.
    player.quit();
    EXPECT_TRUE(island.waitForLine("activity ended id=media.nowPlaying", patience));
}

// Each kind of answer without lyrics, and the reason given for it, is in the lyrics store's tests.
// Here a refusal that carries lyrics all the same, and a service that does not answer in time (the
// request gives up after ten seconds while the island keeps answering the user).
TEST_F(NowPlaying, AnAnswerWithoutLyricsLeavesTheArtistsAndIsNotCached) {
    // The status, how long the answer is held back, how long the island is given to judge it.
    const std::tuple<int, std::chrono::seconds, std::chrono::seconds, std::string> cases[] = {
        {404, 0s, 1s, "the lyrics service answered with a status other than 200"},
        {200, 30s, 12s, "the lyrics service did not answer in time"},
    };
    for (const auto& [status, delay, judging, reason] : cases) {
        LoopbackHTTPServer lyrics(status, R"({"syncedLyrics":"[00:00.50]Too late"})", delay);
        SCOPED_TRACE(reason);
        useLyricsService(lyrics.url());
        IslandProcess island(home);
        ASSERT_NE(island.port(), 0);
        Player player(home, bus.address(), {track});
        ASSERT_TRUE(island.waitForLine("title=\"Test Tone\" subtitle=\"The Band\"", patience))
            << island.errors();
        ASSERT_TRUE(island.sendInput("press media.nowPlaying pause\n"));
        EXPECT_TRUE(waitForStatus("Paused"));
        EXPECT_TRUE(eventually([&] { return lyrics.requests().size() == 1; }));
        // A player that quits before the answer is judged takes its question with it.
        std::this_thread::sleep_for(judging);
        island.stop();
        EXPECT_NE(island.errors().find("no lyrics for The Band - Test Tone: " + reason), std::string::npos)
            << island.errors();
        EXPECT_FALSE(sawLine(island, "Too late"));
        EXPECT_FALSE(std::filesystem::exists(cachedLyrics()));
    }
}

// The panel's card reads the controller itself: what plays, told when it changes, and its buttons.
TEST_F(NowPlaying, TheControllerTellsWhatPlaysAndTakesButtons) {
    int argc = 0;
    QCoreApplication application(argc, nullptr);
    SessionOf session({{"DBUS_SESSION_BUS_ADDRESS", bus.address()}});
    ManualScheduler scheduler;
    LiveActivityCenter center(scheduler);
    MediaController media(scheduler, home.path(),
                          MediaSettings{.enabled = true, .lyrics = false, .lyricsHost = {}},
                          [](const std::string&) {});
    int told = 0;
    media.onNowPlayingChanged = [&told] { ++told; };
    media.start(center);
    EXPECT_EQ(media.nowPlaying(), std::nullopt);

    Player player(home, bus.address(), {track});
    ASSERT_TRUE(player.running());
    // The player may publish the title before the tags it reads after it.
    EXPECT_TRUE(pumpUntil([&] {
        return media.nowPlaying() && media.nowPlaying()->playback.title == "Test Tone" &&
               media.nowPlaying()->playback.artistLine() == "The Band";
    })) << (media.nowPlaying() ? media.nowPlaying()->playback.title + " / " + media.nowPlaying()->playback.artistLine()
                               : "nothing playing");
    ASSERT_TRUE(media.nowPlaying());
    EXPECT_GT(told, 0);
    EXPECT_EQ(media.nowPlaying()->lyricLine, std::nullopt);

    media.perform(MediaActivity::pauseAction);
    EXPECT_TRUE(waitForStatus("Paused"));
    ASSERT_TRUE(
        pumpUntil([&] { return media.nowPlaying()->playback.status == MediaPlayback::Status::paused; }));

    player.quit();
    ASSERT_TRUE(pumpUntil([&] { return !media.nowPlaying(); }));
    media.stop();
}

TEST(ProvidersWithoutTheirService, EachSaysSoOnceAndTheIslandKeepsRunning) {
    TemporaryHome home;
    IslandProcess island(home);
    ASSERT_NE(island.port(), 0);
    // libpulse finds no server while it connects, at start.
    ASSERT_TRUE(providersStarted(island));
    // Asked for anyway, the volume HUD answers with the reason.
    const auto volume =
        e2e::run(e2e::builtProgram("vantaquill"),
                 {"--port", std::to_string(island.port()), "hud", "volume", "up"}, home.environment());
    EXPECT_EQ(volume.exitCode, 1);
    EXPECT_EQ(volume.err,
              "vantaquill: No sound server answers (PulseAudio, or PipeWire's pulse server), so the volume "
              "cannot be set. (503 hud_unavailable)\n");
    EXPECT_EQ(island.waitForLine("hud shown", 500ms), std::nullopt);
    EXPECT_EQ(island.stop(), 0);
    const std::string errors = island.errors();
    const std::vector<std::string> toldOnce{
        "no session bus, so no now playing",
        "no sound server (PulseAudio, or PipeWire's pulse server), so no volume HUD",
        "so the microphone is not watched",
        "no download folder at " + (home.path() / "Downloads").string(),
        "so no Bluetooth peeks",
        "does not hide while the screen is shared: PipeWire, which carries every screen capture on Wayland, "
        "does not answer"};
    for (const auto& line : toldOnce)
        EXPECT_TRUE(saidOnce(errors, line));
}

MediaPlayback player(std::string name, Status status, double changedAt) {
    MediaPlayback playback;
    playback.busName = "org.mpris.MediaPlayer2." + std::move(name);
    playback.status = status;
    playback.changedAt = brind::Date{changedAt};
    return playback;
}

TEST(MediaPlayerChoice, PlayingBeatsPausedAndTheLatestChangeWinsAmongPlayersOnly) {
    struct Case {
        const char* what;
        std::vector<MediaPlayback> players;
        std::optional<std::size_t> chosen;
    };
    const std::vector<Case> cases = {
        {"nobody", {}, std::nullopt},
        {"stopped players are not shown", {player("a", Status::stopped, 5)}, std::nullopt},
        {"playing beats a later pause", {player("a", Status::paused, 9), player("b", Status::playing, 1)}, 1},
        {"the later of two playing", {player("a", Status::playing, 3), player("b", Status::playing, 7)}, 1},
        {"the later of two paused", {player("a", Status::paused, 8), player("b", Status::paused, 2)}, 0},
        {"a tie goes to the smaller name",
         {player("b", Status::playing, 4), player("a", Status::playing, 4)},
         1},
    };
    for (const auto& test : cases)
        EXPECT_EQ(MediaPlayerChoice::choose(test.players), test.chosen) << test.what;

    // Players are followed, but not the proxy that stands for them nor other names.
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

// Its id, title and lyric line are read from the island's console in the tests above.
TEST(MediaActivity, ShowsTheTrackAndTheButtonsThePlayerOffers) {
    MediaPlayback playback = player("mpv", Status::playing, 0);
    playback.desktopEntry = "mpv";
    playback.identity = "mpv Media Player";
    playback.title = "Test Tone";
    playback.artists = {"Band", "", "Guest"};
    playback.canPause = true;
    playback.canPlay = true;
    playback.canGoNext = true;

    auto activity = MediaActivity::make(playback, std::nullopt);
    EXPECT_EQ(activity.leading, brind::ActivityGlyph::appIcon("mpv"));
    EXPECT_EQ(activity.trailing, brind::ActivityGlyph::visualiser());
    EXPECT_EQ(activity.subtitle, "Band, Guest");
    ASSERT_EQ(activity.actions.size(), 2u);
    EXPECT_EQ(activity.actions[0].id, "pause");
    EXPECT_EQ(activity.actions[1].id, "next");

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
