#pragma once

// Kept to Qt headers alone: moc reads this file, and it cannot read the standard library's
// C++20 headers.
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace vq {

/// QtDBus delivers a bus signal only to a named slot; this receives the signals the now-playing
/// provider follows (a player's property changes and jumps, the bus's name changes) and re-emits
/// them as Qt signals, which take lambdas.
class BusSignalRelay : public QObject {
    Q_OBJECT

  public:
    using QObject::QObject;

  signals:
    void propertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList& invalidated);
    void seeked(qlonglong microseconds);
    void nameOwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);

  public slots:
    void relayPropertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList& invalidated) {
        emit propertiesChanged(interface, changed, invalidated);
    }
    void relaySeeked(qlonglong microseconds) { emit seeked(microseconds); }
    void relayNameOwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner) {
        emit nameOwnerChanged(name, oldOwner, newOwner);
    }
};

} // namespace vq
