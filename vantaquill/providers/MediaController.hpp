#pragma once

#include "BrindKit/system/LRCLyrics.hpp"
#include "BrindKit/system/LyricsStore.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/providers/BusSignalRelay.hpp"
#include "vantaquill/providers/LyricsTransport.hpp"
#include "vantaquill/providers/MPRISPlayer.hpp"
#include "vantaquill/providers/MediaSettings.hpp"

#include <QDBusConnection>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vq {

/// Now playing: follows every MPRIS player on the session bus, shows the one that matters as the
/// media activity, turns its buttons into calls to that player, and keeps the current line of the
/// track's synced lyrics in the activity, moved on by one timer set to the next line.
class MediaController final : public LiveActivityCenter::Provider {
  public:
    static constexpr std::string_view providerID = "media";
    using Log = std::function<void(const std::string&)>;

    MediaController(Scheduler& scheduler, const std::filesystem::path& dataFolder, MediaSettings settings, Log log);
    ~MediaController() override;
    MediaController(const MediaController&) = delete;
    MediaController& operator=(const MediaController&) = delete;

    /// The chosen player's track and the lyric line current when it was last read.
    struct NowPlaying {
        MediaPlayback playback{};
        std::optional<std::string> lyricLine{};
        friend bool operator==(const NowPlaying&, const NowPlaying&) = default;
    };

    std::string id() const override { return std::string(providerID); }
    void start(LiveActivityCenter& center) override;
    void stop() override;

    /// Whether the controller follows the players (between `start` and `stop`).
    bool started() const { return center_ != nullptr; }
    /// Takes the lyrics keys of new settings at once (`enabled` is the centre's start and stop).
    void applySettings(MediaSettings settings);

    /// What the island shows as playing; nothing while no player plays or pauses a track.
    const std::optional<NowPlaying>& nowPlaying() const { return nowPlaying_; }
    /// Told after `nowPlaying` changed (another track, state or lyric line, or the player left),
    /// and when the controller starts or stops.
    std::function<void()> onNowPlayingChanged;

    /// Sends one of `MediaActivity`'s button actions to the shown player; unknown ones do nothing.
    void perform(std::string_view action);

  private:
    void playerAppeared(const QString& busName);
    void playerVanished(const QString& busName);
    void listPlayers();
    /// Chooses the player to show and posts (or ends) the activity.
    void refresh();
    void followLyrics(const MediaPlayback& playback);
    void show(std::optional<NowPlaying> nowPlaying);

    Scheduler& scheduler_;
    std::filesystem::path dataFolder_;
    MediaSettings settings_;
    Log log_;
    brind::LyricsStore store_;
    LyricsTransport transport_;
    LiveActivityCenter* center_ = nullptr;
    std::optional<QDBusConnection> bus_;
    /// Hears the bus's name changes, and owns the controller's pending calls.
    std::unique_ptr<BusSignalRelay> relay_;
    std::map<std::string, std::unique_ptr<MPRISPlayer>, std::less<>> players_;
    std::optional<std::string> shown_;
    std::optional<NowPlaying> nowPlaying_;
    /// The track the lyrics belong to (asked for once per change of track), and the lyrics once found.
    std::optional<brind::LyricsStore::Track> lyricsTrack_;
    std::optional<brind::LRCLyrics> lyrics_;
    /// Bumped whenever the track changes or the controller stops, so a late answer is dropped.
    std::uint64_t fetchGeneration_ = 0;
    std::unique_ptr<Scheduler::Timer> lineTimer_;
};

} // namespace vq
