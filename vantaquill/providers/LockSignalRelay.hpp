#pragma once

// Kept to Qt headers alone: moc reads this file, and it cannot read the standard library's
// C++20 headers.
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace vq {

/// QtDBus delivers a bus signal only to a named slot; this receives the signals the lock watcher
/// follows (the session's property changes from logind, a screen saver's ActiveChanged) and re-emits
/// them as Qt signals, which take lambdas.
class LockSignalRelay : public QObject {
    Q_OBJECT

  public:
    using QObject::QObject;

  signals:
    void propertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList& invalidated);
    void activeChanged(bool active);

  public slots:
    void relayPropertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList& invalidated) {
        emit propertiesChanged(interface, changed, invalidated);
    }
    void relayActiveChanged(bool active) { emit activeChanged(active); }
};

} // namespace vq
