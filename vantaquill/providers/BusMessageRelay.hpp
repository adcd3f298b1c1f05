#pragma once

// Kept to Qt headers alone: moc reads this file, and it cannot read the standard library's
// C++20 headers.
#include <QDBusMessage>
#include <QObject>

namespace vq {

/// QtDBus delivers a bus signal only to a named slot; this one takes any signal whole (its path,
/// member and arguments) and re-emits it as a Qt signal, which takes a lambda. For signals whose
/// sender's object path matters, such as the property changes of many devices at once.
class BusMessageRelay : public QObject {
    Q_OBJECT

  public:
    using QObject::QObject;

  signals:
    void received(const QDBusMessage& message);

  public slots:
    void relay(const QDBusMessage& message) { emit received(message); }
};

} // namespace vq
