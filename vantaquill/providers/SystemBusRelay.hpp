#pragma once

// Kept to Qt headers alone: moc reads this file.
#include <QObject>

namespace vq {

/// QtDBus delivers a bus signal only to a named slot; this one takes any signal (a slot may take
/// fewer arguments than the signal carries) and re-emits it as a Qt signal without arguments, for
/// the system providers that re-read a service whenever it says something changed.
class SystemBusRelay : public QObject {
    Q_OBJECT

  public:
    using QObject::QObject;

  signals:
    void changed();

  public slots:
    void relayChanged() { emit changed(); }
};

} // namespace vq
