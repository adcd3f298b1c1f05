#include "vantaquill/providers/MediaController.hpp"

#include "BrindKit/foundation/Paths.hpp"
#include "BrindKit/system/LyricWing.hpp"
#include "vantaquill/providers/MediaActivity.hpp"
#include "vantaquill/providers/MediaPlayerChoice.hpp"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <limits>
#include <utility>
#include <vector>

namespace vq {

namespace {

// A connection of its own, so that the players' signals never mix with the island's other bus use.
constexpr const char* connectionName = "vantaquill-media";

} // namespace

MediaController::MediaController(Scheduler& scheduler, const std::filesystem::path& dataFolder,
                                 MediaSettings settings, Log log)
    : scheduler_(scheduler), dataFolder_(dataFolder), settings_(std::move(settings)), log_(std::move(log)),
      store_(dataFolder_, settings_.lyricsHost) {}

void MediaController::applySettings(MediaSettings settings) {
    const bool lyricsChanged = settings.lyrics != settings_.lyrics || settings.lyricsHost != settings_.lyricsHost;
    settings_ = std::move(settings);
    if (!lyricsChanged)
        return;
    store_ = brind::LyricsStore(dataFolder_, settings_.lyricsHost);
    // The lyrics shown, or still being asked for, followed the old settings: ask again, or show none.
    ++fetchGeneration_;
    lyricsTrack_.reset();
    lyrics_.reset();
    refresh();
}

MediaController::~MediaController() {
    // Whoever listens may be gone already; stopping has nobody left to tell.
    onNowPlayingChanged = nullptr;
    stop();
}

void MediaController::start(LiveActivityCenter& center) {
    center_ = &center;
    if (onNowPlayingChanged)
        onNowPlayingChanged();
    center.handleActions(std::string(MediaActivity::id),
                         [this](const std::string&, const std::string& action) { perform(action); });
    const auto address = brind::Paths::sessionBusAddress();
    const QDBusConnection bus = address ? QDBusConnection::connectToBus(QString::fromStdString(*address), connectionName)
                                        : QDBusConnection(QString());
    if (!bus.isConnected()) {
        if (address)
            QDBusConnection::disconnectFromBus(connectionName);
        log_("vantaquill: no session bus, so no now playing: media players are reached over the session bus");
        return;
    }
    bus_ = bus;
    // Players come and go with their names; the bus announces every name change, and the ones
    // that are not players are passed over.
    relay_ = std::make_unique<BusSignalRelay>();
    bus_->connect("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged",
                  relay_.get(), SLOT(relayNameOwnerChanged(QString, QString, QString)));
    QObject::connect(relay_.get(), &BusSignalRelay::nameOwnerChanged, relay_.get(),
                     [this](const QString& name, const QString& oldOwner, const QString& newOwner) {
                         // A name handed from one process to another is a new player.
                         if (!oldOwner.isEmpty())
                             playerVanished(name);
                         if (!newOwner.isEmpty())
                             playerAppeared(name);
                     });
    listPlayers();
}

void MediaController::stop() {
    ++fetchGeneration_;
    lineTimer_.reset();
    players_.clear();
    relay_.reset();
    shown_.reset();
    lyricsTrack_.reset();
    lyrics_.reset();
    nowPlaying_.reset();
    if (bus_) {
        bus_.reset();
        QDBusConnection::disconnectFromBus(connectionName);
    }
    center_ = nullptr;
    if (onNowPlayingChanged)
        onNowPlayingChanged();
}

void MediaController::listPlayers() {
    const auto message = QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                        "org.freedesktop.DBus", "ListNames");
    auto* watcher = new QDBusPendingCallWatcher(bus_->asyncCall(message), relay_.get());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, relay_.get(), [this](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        const QDBusPendingReply<QStringList> reply = *finished;
        if (reply.isError() || !bus_)
            return;
        for (const QString& name : reply.value())
            playerAppeared(name);
    });
}

void MediaController::playerAppeared(const QString& busName) {
    const std::string name = busName.toStdString();
    if (!bus_ || !MediaPlayerChoice::isPlayer(name) || players_.contains(name))
        return;
    players_.emplace(name, std::make_unique<MPRISPlayer>(*bus_, busName, scheduler_, [this] { refresh(); }));
}

void MediaController::playerVanished(const QString& busName) {
    if (players_.erase(busName.toStdString()) > 0)
        refresh();
}

void MediaController::refresh() {
    if (!center_)
        return;
    lineTimer_.reset();
    std::vector<MediaPlayback> all;
    all.reserve(players_.size());
    for (const auto& [name, player] : players_)
        all.push_back(player->playback());
    const auto chosen = MediaPlayerChoice::choose(all);
    if (!chosen) {
        shown_.reset();
        center_->end(MediaActivity::id);
        show(std::nullopt);
        return;
    }
    const MediaPlayback& playback = all[*chosen];
    shown_ = playback.busName;
    followLyrics(playback);

    std::optional<std::string> line;
    if (lyrics_) {
        const auto position = playback.position(scheduler_.now());
        const auto display =
            brind::LyricWing::current(*lyrics_, position.value_or(std::numeric_limits<double>::quiet_NaN()));
        line = display.text;
        // One timer, due when the next line starts; a pause or a seek re-reads the player and
        // re-arms it from the new position.
        if (playback.status == MediaPlayback::Status::playing && display.next)
            lineTimer_ = scheduler_.schedule(*display.next / playback.rate, [this] { refresh(); });
    }
    center_->post(MediaActivity::make(playback, line));
    show(NowPlaying{playback, line});
}

void MediaController::show(std::optional<NowPlaying> nowPlaying) {
    // Players repeat unchanged properties; the panel redraws only for a real change.
    if (nowPlaying == nowPlaying_)
        return;
    nowPlaying_ = std::move(nowPlaying);
    if (onNowPlayingChanged)
        onNowPlayingChanged();
}

void MediaController::followLyrics(const MediaPlayback& playback) {
    if (!settings_.lyrics)
        return;
    brind::LyricsStore::Track track{playback.artistLine(), playback.title, playback.album, playback.length};
    // A track is its artists and title: an album or length that a player reports a moment later
    // does not make it another track to ask about.
    if (lyricsTrack_ && lyricsTrack_->artist == track.artist && lyricsTrack_->title == track.title)
        return;
    lyricsTrack_ = track;
    lyrics_.reset();
    const std::uint64_t generation = ++fetchGeneration_;
    if (track.artist.empty() || track.title.empty())
        return;
    store_.fetch(track, transport_.call(), [this, generation, track](brind::LyricsStore::FetchResult result) {
        if (generation != fetchGeneration_)
            return;
        if (!result) {
            log_("vantaquill: no lyrics for " + track.artist + " - " + track.title + ": " + result.error().reason);
            return;
        }
        lyrics_ = std::move(*result);
        refresh();
    });
}

void MediaController::perform(std::string_view action) {
    if (!shown_)
        return;
    const auto player = players_.find(*shown_);
    if (player == players_.end())
        return;
    if (action == MediaActivity::previousAction)
        player->second->call("Previous");
    else if (action == MediaActivity::playAction)
        player->second->call("Play");
    else if (action == MediaActivity::pauseAction)
        player->second->call("Pause");
    else if (action == MediaActivity::nextAction)
        player->second->call("Next");
}

} // namespace vq
