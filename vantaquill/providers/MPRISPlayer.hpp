#pragma once

#include "vantaquill/Scheduler.hpp"
#include "vantaquill/providers/BusSignalRelay.hpp"
#include "vantaquill/providers/MediaPlayback.hpp"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <functional>

namespace vq {

/// One MPRIS player on the session bus, followed from the moment its name appears: its properties
/// as they change, its position (which it reports only when asked, and by `Seeked` when it jumps),
/// and the calls that control it.
class MPRISPlayer {
  public:
    MPRISPlayer(QDBusConnection bus, const QString& busName, Scheduler& scheduler, std::function<void()> changed);

    MPRISPlayer(const MPRISPlayer&) = delete;
    MPRISPlayer& operator=(const MPRISPlayer&) = delete;

    const MediaPlayback& playback() const { return playback_; }

    /// Calls a method of the player's `org.mpris.MediaPlayer2.Player` interface ("PlayPause", "Next", ...).
    void call(const QString& method);

  private:
    void propertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList& invalidated);
    void seeked(qlonglong microseconds);
    void readAll(const QString& interface);
    void readPosition();
    void apply(const QVariantMap& properties);

    QDBusConnection bus_;
    Scheduler& scheduler_;
    std::function<void()> changed_;
    MediaPlayback playback_;
    /// Receives the bus signals; the pending calls hang on it too, so none answers a gone player.
    BusSignalRelay relay_;
};

} // namespace vq
