#include "vantaquill/providers/MPRISPlayer.hpp"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <utility>

namespace vq {

namespace {

const QString objectPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString rootInterface = QStringLiteral("org.mpris.MediaPlayer2");
const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
constexpr double microsecondsPerSecond = 1e6;

// Metadata arrives as a{sv}; QtDBus leaves the inner dictionary as a QDBusArgument.
QVariantMap metadataMap(const QVariant& value) {
    if (value.canConvert<QDBusArgument>())
        return qdbus_cast<QVariantMap>(value.value<QDBusArgument>());
    return value.toMap();
}

std::optional<std::string> nonEmpty(const QVariant& value) {
    const QString text = value.toString();
    if (text.isEmpty())
        return std::nullopt;
    return text.toStdString();
}

} // namespace

MPRISPlayer::MPRISPlayer(QDBusConnection bus, const QString& busName, Scheduler& scheduler,
                         std::function<void()> changed)
    : bus_(std::move(bus)), scheduler_(scheduler), changed_(std::move(changed)) {
    playback_.busName = busName.toStdString();
    playback_.changedAt = scheduler_.now();
    bus_.connect(busName, objectPath, propertiesInterface, QStringLiteral("PropertiesChanged"), &relay_,
                 SLOT(relayPropertiesChanged(QString, QVariantMap, QStringList)));
    bus_.connect(busName, objectPath, playerInterface, QStringLiteral("Seeked"), &relay_, SLOT(relaySeeked(qlonglong)));
    QObject::connect(&relay_, &BusSignalRelay::propertiesChanged, &relay_,
                     [this](const QString& interface, const QVariantMap& changed, const QStringList& invalidated) {
                         propertiesChanged(interface, changed, invalidated);
                     });
    QObject::connect(&relay_, &BusSignalRelay::seeked, &relay_, [this](qlonglong microseconds) { seeked(microseconds); });
    readAll(rootInterface);
    readAll(playerInterface);
}

void MPRISPlayer::call(const QString& method) {
    bus_.asyncCall(QDBusMessage::createMethodCall(QString::fromStdString(playback_.busName), objectPath,
                                                  playerInterface, method));
}

void MPRISPlayer::readAll(const QString& interface) {
    auto message = QDBusMessage::createMethodCall(QString::fromStdString(playback_.busName), objectPath,
                                                  propertiesInterface, QStringLiteral("GetAll"));
    message << interface;
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(message), &relay_);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &relay_, [this](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        const QDBusPendingReply<QVariantMap> reply = *finished;
        if (reply.isError())
            return;
        apply(reply.value());
        readPosition();
    });
}

void MPRISPlayer::readPosition() {
    auto message = QDBusMessage::createMethodCall(QString::fromStdString(playback_.busName), objectPath,
                                                  propertiesInterface, QStringLiteral("Get"));
    message << playerInterface << QStringLiteral("Position");
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(message), &relay_);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &relay_, [this](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *finished;
        // A player without a position leaves the lyrics silent rather than guessing.
        if (reply.isError())
            return;
        bool ok = false;
        const qlonglong microseconds = reply.value().variant().toLongLong(&ok);
        if (!ok)
            return;
        playback_.anchorPosition = static_cast<double>(microseconds) / microsecondsPerSecond;
        playback_.anchoredAt = scheduler_.now();
        changed_();
    });
}

void MPRISPlayer::propertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList&) {
    if (interface != playerInterface && interface != rootInterface)
        return;
    const auto status = playback_.status;
    const auto title = playback_.title;
    apply(changed);
    // The position has no change signal: a new status or track is the moment to ask again.
    if (playback_.status != status || playback_.title != title)
        readPosition();
}

void MPRISPlayer::seeked(qlonglong microseconds) {
    playback_.anchorPosition = static_cast<double>(microseconds) / microsecondsPerSecond;
    playback_.anchoredAt = scheduler_.now();
    changed_();
}

void MPRISPlayer::apply(const QVariantMap& properties) {
    const brind::Date now = scheduler_.now();
    // What was played so far keeps the old status and rate.
    playback_.anchor(now);
    if (properties.contains("Identity"))
        playback_.identity = properties.value("Identity").toString().toStdString();
    if (properties.contains("DesktopEntry"))
        playback_.desktopEntry = properties.value("DesktopEntry").toString().toStdString();
    if (properties.contains("PlaybackStatus")) {
        const auto status = mediaPlaybackStatusNamed(properties.value("PlaybackStatus").toString().toStdString())
                                .value_or(MediaPlayback::Status::stopped);
        if (status != playback_.status)
            playback_.changedAt = now;
        playback_.status = status;
    }
    if (properties.contains("Rate")) {
        bool ok = false;
        const double rate = properties.value("Rate").toDouble(&ok);
        playback_.rate = ok && rate > 0 ? rate : 1;
    }
    if (properties.contains("CanGoNext"))
        playback_.canGoNext = properties.value("CanGoNext").toBool();
    if (properties.contains("CanGoPrevious"))
        playback_.canGoPrevious = properties.value("CanGoPrevious").toBool();
    if (properties.contains("CanPause"))
        playback_.canPause = properties.value("CanPause").toBool();
    if (properties.contains("CanPlay"))
        playback_.canPlay = properties.value("CanPlay").toBool();
    if (properties.contains("Metadata")) {
        const QVariantMap metadata = metadataMap(properties.value("Metadata"));
        playback_.title = metadata.value("xesam:title").toString().toStdString();
        playback_.artists.clear();
        for (const QString& artist : metadata.value("xesam:artist").toStringList())
            playback_.artists.push_back(artist.toStdString());
        playback_.album = nonEmpty(metadata.value("xesam:album"));
        playback_.artURL = nonEmpty(metadata.value("mpris:artUrl"));
        bool ok = false;
        const qlonglong length = metadata.value("mpris:length").toLongLong(&ok);
        playback_.length = ok && length > 0 ? std::optional(static_cast<double>(length) / microsecondsPerSecond)
                                            : std::nullopt;
    }
    changed_();
}

} // namespace vq
