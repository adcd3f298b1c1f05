#pragma once

// Kept to Qt headers alone: moc reads this file, and it cannot read the standard library's
// C++20 headers.
#include <QDBusObjectPath>
#include <QObject>

namespace vq {

/// QtDBus delivers a bus signal only to a named slot; this receives the system-bus signals the
/// weather follows (waking from sleep, the network coming back, a new location) and re-emits them
/// as Qt signals, which take lambdas.
class WeatherSignalRelay : public QObject {
    Q_OBJECT

  public:
    using QObject::QObject;

  signals:
    void prepareForSleep(bool sleeping);
    void networkStateChanged(uint state);
    void locationUpdated(const QDBusObjectPath& previous, const QDBusObjectPath& current);

  public slots:
    void relayPrepareForSleep(bool sleeping) { emit prepareForSleep(sleeping); }
    void relayNetworkStateChanged(uint state) { emit networkStateChanged(state); }
    void relayLocationUpdated(const QDBusObjectPath& previous, const QDBusObjectPath& current) {
        emit locationUpdated(previous, current);
    }
};

} // namespace vq
