#include "vantaquill/instance/SingleInstance.hpp"

#include "BrindKit/foundation/Paths.hpp"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <optional>

namespace vq {

namespace {

// Each call opens its own named connection so that a hand-off and a claim in one process do not
// share state, and so that Qt never falls back to starting a bus of its own.
constexpr const char* handOffConnectionName = "vantaquill-hand-off";
constexpr const char* claimConnectionName = "vantaquill-instance";
constexpr int exitHandedOff = 0;
constexpr int exitHung = 1;

std::optional<QDBusConnection> connectToSessionBus(const char* name) {
    const auto address = brind::Paths::sessionBusAddress();
    if (!address)
        return std::nullopt;
    QDBusConnection connection = QDBusConnection::connectToBus(QString::fromStdString(*address), QString::fromLatin1(name));
    if (!connection.isConnected()) {
        QDBusConnection::disconnectFromBus(QString::fromLatin1(name));
        return std::nullopt;
    }
    return connection;
}

} // namespace

// Serves `Open` without moc: a virtual object sees every message sent to its path.
class SingleInstance::Endpoint final : public QDBusVirtualObject {
public:
    explicit Endpoint(std::function<void(const QString&)> onURL) : onURL(std::move(onURL)) {}

    QString introspect(const QString&) const override {
        return QStringLiteral("<interface name=\"%1\"><method name=\"Open\"><arg name=\"url\" type=\"s\" "
                              "direction=\"in\"/></method></interface>")
            .arg(QString::fromLatin1(interfaceName));
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        const bool isOpen = message.type() == QDBusMessage::MethodCallMessage &&
                            message.interface() == QLatin1String(interfaceName) &&
                            message.member() == QLatin1String("Open");
        if (!isOpen)
            return false;
        if (message.signature() != QLatin1String("s")) {
            connection.send(message.createErrorReply(QDBusError::InvalidArgs, "Open takes one string, the URL."));
            return true;
        }
        // Answer first: the caller only waits to learn that the URL arrived, not for its outcome.
        connection.send(message.createReply());
        const QString url = message.arguments().constFirst().toString();
        onURL(url.isEmpty() ? QString::fromLatin1(showURL) : url);
        return true;
    }

private:
    std::function<void(const QString&)> onURL;
};

SingleInstance::SingleInstance() = default;

SingleInstance::~SingleInstance() {
    if (!connection)
        return;
    connection->unregisterObject(QString::fromLatin1(objectPath));
    connection->unregisterService(QString::fromLatin1(serviceName));
    QDBusConnection::disconnectFromBus(QString::fromLatin1(claimConnectionName));
}

std::expected<SingleInstance::HandOff, std::string> SingleInstance::handOff(const QString& url,
                                                                           std::chrono::milliseconds timeout) {
    auto bus = connectToSessionBus(handOffConnectionName);
    if (!bus)
        return HandOff::noSessionBus;
    struct Disconnect {
        ~Disconnect() { QDBusConnection::disconnectFromBus(QString::fromLatin1(handOffConnectionName)); }
    } disconnect;

    QDBusMessage call = QDBusMessage::createMethodCall(QString::fromLatin1(serviceName), QString::fromLatin1(objectPath),
                                                      QString::fromLatin1(interfaceName), QStringLiteral("Open"));
    call << url;
    // No auto-start: a name nobody holds means no island runs, and this process becomes it.
    call.setAutoStartService(false);
    const QDBusMessage reply = bus->call(call, QDBus::Block, static_cast<int>(timeout.count()));
    if (reply.type() == QDBusMessage::ReplyMessage)
        return HandOff::delivered;
    const QString error = reply.errorName();
    if (error == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown") ||
        error == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
        return HandOff::noInstance;
    if (error == QLatin1String("org.freedesktop.DBus.Error.NoReply") ||
        error == QLatin1String("org.freedesktop.DBus.Error.Timeout"))
        return std::unexpected("the running island (" + std::string(serviceName) + " on the session bus) did not answer within " +
                               std::to_string(timeout.count()) + " ms");
    return std::unexpected("couldn't hand the URL to the running island: " + reply.errorMessage().toStdString());
}

std::optional<int> SingleInstance::start(const QString& url, std::function<void(const QString&)> onURL,
                                         const std::function<void(const std::string&)>& error) {
    const auto claimed = claim(std::move(onURL));
    if (!claimed) {
        // The island still works; only a second one cannot find it.
        error(claimed.error());
        return std::nullopt;
    }
    switch (*claimed) {
    case Claim::claimed:
    case Claim::noSessionBus:
        return std::nullopt;
    case Claim::taken:
        break;
    }
    const auto handed = handOff(url);
    if (!handed) {
        error(handed.error());
        return exitHung;
    }
    switch (*handed) {
    case HandOff::delivered:
        return exitHandedOff;
    case HandOff::noInstance:
    case HandOff::noSessionBus:
        // The holder quit in between: run on our own rather than not at all.
        return std::nullopt;
    }
    std::unreachable();
}

std::expected<SingleInstance::Claim, std::string> SingleInstance::claim(std::function<void(const QString&)> onURL) {
    auto bus = connectToSessionBus(claimConnectionName);
    if (!bus)
        return Claim::noSessionBus;
    endpoint = std::make_unique<Endpoint>(std::move(onURL));
    if (!bus->registerVirtualObject(QString::fromLatin1(objectPath), endpoint.get())) {
        QDBusConnection::disconnectFromBus(QString::fromLatin1(claimConnectionName));
        return std::unexpected("couldn't serve " + std::string(objectPath) + " on the session bus");
    }
    const auto registered = bus->interface()->registerService(QString::fromLatin1(serviceName),
                                                              QDBusConnectionInterface::DontQueueService,
                                                              QDBusConnectionInterface::DontAllowReplacement);
    connection = *bus;
    if (!registered.isValid())
        return std::unexpected("couldn't claim " + std::string(serviceName) + ": " +
                               registered.error().message().toStdString());
    if (registered.value() != QDBusConnectionInterface::ServiceRegistered)
        return Claim::taken;
    return Claim::claimed;
}

} // namespace vq
