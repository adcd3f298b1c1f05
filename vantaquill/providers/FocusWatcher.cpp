#include "vantaquill/providers/FocusWatcher.hpp"

#include "BrindKit/foundation/Paths.hpp"
#include "vantaquill/providers/BusSignalRelay.hpp"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QProcess>
#include <QStandardPaths>

#include <utility>

namespace vq {

namespace {

// A connection of its own, so that dropping it on stop takes every match rule with it.
constexpr const char* connectionName = "vantaquill-focus";
constexpr const char* serverName = "org.freedesktop.Notifications";
constexpr const char* serverPath = "/org/freedesktop/Notifications";
constexpr const char* gnomeSchema = "org.gnome.desktop.notifications";
constexpr const char* gnomeKey = "show-banners";

bool onGNOME() {
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(':').contains("GNOME", Qt::CaseInsensitive);
}

// `gsettings get` prints "false"; `gsettings monitor` prints "show-banners: false".
std::optional<bool> bannersOffIn(const QByteArray& output) {
    const QByteArray value = output.trimmed().split(' ').last();
    if (value == "false")
        return true;
    if (value == "true")
        return false;
    return std::nullopt;
}

} // namespace

FocusWatcher::FocusWatcher(Change onChange, Log log) : onChange_(std::move(onChange)), log_(std::move(log)) {}

FocusWatcher::~FocusWatcher() {
    onChange_ = nullptr;
    stop();
}

void FocusWatcher::start(LiveActivityCenter&) {
    serverAnswered_ = false;
    gnomeAnswered_ = false;
    if (const auto address = brind::Paths::sessionBusAddress()) {
        const QDBusConnection bus = QDBusConnection::connectToBus(QString::fromStdString(*address), connectionName);
        if (bus.isConnected())
            bus_ = bus;
        else
            QDBusConnection::disconnectFromBus(connectionName);
    }
    if (bus_) {
        relay_ = std::make_unique<BusSignalRelay>();
        bus_->connect(serverName, serverPath, "org.freedesktop.DBus.Properties", "PropertiesChanged", relay_.get(),
                      SLOT(relayPropertiesChanged(QString, QVariantMap, QStringList)));
        QObject::connect(relay_.get(), &BusSignalRelay::propertiesChanged, relay_.get(),
                         [this](const QString& interface, const QVariantMap& changed, const QStringList& invalidated) {
                             if (interface != serverName)
                                 return;
                             if (const auto found = changed.find("Inhibited"); found != changed.end()) {
                                 serverInhibited_ = found->toBool();
                                 update();
                             } else if (invalidated.contains("Inhibited")) {
                                 readInhibited();
                             }
                         });
        // A server that starts (or is replaced) after the island is asked again.
        bus_->connect("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged",
                      {serverName}, QString(), relay_.get(), SLOT(relayNameOwnerChanged(QString, QString, QString)));
        QObject::connect(relay_.get(), &BusSignalRelay::nameOwnerChanged, relay_.get(),
                         [this](const QString&, const QString&, const QString& newOwner) {
                             serverInhibited_.reset();
                             update();
                             if (!newOwner.isEmpty())
                                 readInhibited();
                         });
        readInhibited();
    } else {
        serverAnswered_ = true;
    }
    followGNOME();
}

void FocusWatcher::stop() {
    if (reader_) {
        reader_->disconnect();
        reader_->kill();
        reader_->waitForFinished(1000);
        reader_.reset();
    }
    if (monitor_) {
        monitor_->disconnect();
        monitor_->kill();
        monitor_->waitForFinished(1000);
        monitor_.reset();
    }
    relay_.reset();
    if (bus_) {
        bus_.reset();
        QDBusConnection::disconnectFromBus(connectionName);
    }
    serverInhibited_.reset();
    bannersOff_.reset();
    update();
}

void FocusWatcher::readInhibited() {
    auto message = QDBusMessage::createMethodCall(serverName, serverPath, "org.freedesktop.DBus.Properties", "Get");
    message << QString(serverName) << QString("Inhibited");
    auto* watcher = new QDBusPendingCallWatcher(bus_->asyncCall(message), relay_.get());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, relay_.get(), [this](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *finished;
        // No server, or one without the switch: nothing to follow there.
        if (reply.isError())
            serverInhibited_.reset();
        else
            serverInhibited_ = reply.value().variant().toBool();
        serverAnswered_ = true;
        update();
        reportMissing();
    });
}

void FocusWatcher::followGNOME() {
    const QString program = QStandardPaths::findExecutable("gsettings");
    if (!onGNOME() || program.isEmpty()) {
        gnomeAnswered_ = true;
        reportMissing();
        return;
    }
    // The monitor starts first, so that a change made while the value is being read is not missed.
    monitor_ = std::make_unique<QProcess>();
    QObject::connect(monitor_.get(), &QProcess::readyReadStandardOutput, monitor_.get(), [this] {
        while (monitor_->canReadLine()) {
            if (const auto off = bannersOffIn(monitor_->readLine())) {
                bannersOff_ = off;
                update();
            }
        }
    });
    monitor_->start(program, {"monitor", gnomeSchema, gnomeKey});
    reader_ = std::make_unique<QProcess>();
    QObject::connect(reader_.get(), &QProcess::finished, reader_.get(), [this](int code) {
        // A change the monitor already reported is newer than this reading.
        if (!bannersOff_ && code == 0)
            bannersOff_ = bannersOffIn(reader_->readAllStandardOutput());
        gnomeAnswered_ = true;
        update();
        reportMissing();
    });
    reader_->start(program, {"get", gnomeSchema, gnomeKey});
}

void FocusWatcher::update() {
    const bool now = doNotDisturb();
    if (now == last_)
        return;
    last_ = now;
    if (onChange_)
        onChange_(now);
}

void FocusWatcher::reportMissing() {
    if (!serverAnswered_ || !gnomeAnswered_ || serverInhibited_ || bannersOff_ || toldMissing_)
        return;
    toldMissing_ = true;
    log_("vantaquill: the desktop's do not disturb is not followed: the notification server has no Inhibited "
         "switch and the GNOME banner setting is not in use; Pause notifications in the status menu still quiets "
         "the island");
}

} // namespace vq
