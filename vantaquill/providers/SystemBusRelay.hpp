#pragma once

// Kept to Qt headers alone: moc reads this file.
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace vq {

/// QtDBus delivers a bus signal only to a named slot; `relayChanged` takes any signal (a slot may
/// take fewer arguments than the signal carries) and re-emits it as a Qt signal without arguments,
/// for the system providers that re-read a service whenever it says something changed;
/// `relayPropertiesChanged` passes the standard property change on with what changed.
class SystemBusRelay : public QObject {
    Q_OBJECT

  public:
    using QObject::QObject;

  signals:
    void changed();
    void propertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList& invalidated);

  public slots:
    void relayChanged() { emit changed(); }
    void relayPropertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList& invalidated) {
        emit propertiesChanged(interface, changed, invalidated);
    }
};

} // namespace vq
