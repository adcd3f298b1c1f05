#pragma once

// Kept to Qt headers alone: moc reads this file, and it cannot read the standard library's
// C++20 headers.
#include <QObject>

namespace vq {

/// QtDBus delivers a bus signal only to a named slot; this receives UPower's keyboard-light
/// `BrightnessChanged` and re-emits it as a Qt signal, which takes a lambda.
class KeyboardLightSignal : public QObject {
    Q_OBJECT

  public:
    using QObject::QObject;

  signals:
    void brightnessChanged(int value);

  public slots:
    void relayBrightnessChanged(int value) { emit brightnessChanged(value); }
};

} // namespace vq
