#include "vantaquill/hud/SessionBrightness.hpp"

#include <QDBusConnection>
#include <QDBusMessage>

namespace vq {

std::expected<void, std::string> SessionBrightness::set(const std::string& subsystem, const std::string& name,
                                                        int value) {
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.login1", "/org/freedesktop/login1/session/auto",
                                                       "org.freedesktop.login1.Session", "SetBrightness");
    call << QString::fromStdString(subsystem) << QString::fromStdString(name) << static_cast<uint>(value);
    const QDBusMessage reply = QDBusConnection::systemBus().call(call, QDBus::Block, callTimeoutMilliseconds);
    if (reply.type() == QDBusMessage::ErrorMessage)
        return std::unexpected(reply.errorMessage().toStdString());
    return {};
}

} // namespace vq
