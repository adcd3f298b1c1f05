#include "vantaquill/providers/FocusWatcher.hpp"

#include "BrindKit/foundation/Paths.hpp"
#include "vantaquill/providers/BusSignalRelay.hpp"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

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
                                 ++serverChanges_;
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
                             ++serverChanges_;
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
    banners_.reset();
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
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, relay_.get(),
                     [this, asked = serverChanges_](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *finished;
        // No server, or one without the switch: nothing to follow there. A change that came after
        // the question is newer than the answer.
        if (asked == serverChanges_) {
            if (reply.isError())
                serverInhibited_.reset();
            else
                serverInhibited_ = reply.value().variant().toBool();
        }
        serverAnswered_ = true;
        update();
        reportMissing();
    });
}

void FocusWatcher::followGNOME() {
    if (onGNOME()) {
        banners_ = GSettingsKey::follow(gnomeSchema, gnomeKey, [this](const QString& value) {
            // Banners switched off are GNOME's do not disturb.
            bannersOff_ = value == QStringLiteral("false");
            gnomeAnswered_ = true;
            update();
            reportMissing();
        });
    }
    if (!banners_) {
        gnomeAnswered_ = true;
        reportMissing();
    }
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
