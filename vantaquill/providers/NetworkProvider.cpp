#include "vantaquill/providers/NetworkProvider.hpp"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QVariantMap>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace vq {

namespace {

const QString service = QStringLiteral("org.freedesktop.NetworkManager");
const QString managerPath = QStringLiteral("/org/freedesktop/NetworkManager");
const QString managerInterface = QStringLiteral("org.freedesktop.NetworkManager");
const QString activeInterface = QStringLiteral("org.freedesktop.NetworkManager.Connection.Active");
const QString wirelessInterface = QStringLiteral("org.freedesktop.NetworkManager.Device.Wireless");
const QString accessPointInterface = QStringLiteral("org.freedesktop.NetworkManager.AccessPoint");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

// NetworkManager's enumerations (NMConnectivityState, NMState, NMActiveConnectionState, NMMetered).
constexpr unsigned connectivityUnknown = 0;
constexpr unsigned connectivityFull = 4;
constexpr unsigned stateConnectedLocal = 50;
constexpr unsigned stateConnectedGlobal = 70;
constexpr unsigned activeActivated = 2;
// Set when the access point or its DHCP server says it is a phone sharing its mobile data.
constexpr unsigned meteredGuessYes = 3;

QString objectPath(const QVariant& value) {
    if (value.canConvert<QDBusObjectPath>())
        return value.value<QDBusObjectPath>().path();
    return value.toString();
}

QStringList objectPaths(const QVariant& value) {
    QList<QDBusObjectPath> paths;
    if (value.canConvert<QDBusArgument>())
        paths = qdbus_cast<QList<QDBusObjectPath>>(value.value<QDBusArgument>());
    else
        paths = value.value<QList<QDBusObjectPath>>();
    QStringList result;
    for (const auto& path : paths)
        result.push_back(path.path());
    return result;
}

bool isObject(const QString& path) {
    return !path.isEmpty() && path != QLatin1String("/");
}

bool isTunnelType(const QString& type) {
    return type == QLatin1String("vpn") || type == QLatin1String("wireguard");
}

bool isWifiType(const QString& type) {
    return type == QLatin1String("802-11-wireless");
}

// The properties a snapshot is made of. Access points report their signal strength and devices
// their traffic every few seconds; those changes are not worth a read.
bool readsProperty(const QString& name) {
    static const QStringList read{"Connectivity", "State", "PrimaryConnection", "ActiveConnections", "Metered",
                                  "ActiveAccessPoint", "Ssid", "Type", "Vpn", "Devices", "SpecificObject",
                                  "Default", "Default6"};
    return read.contains(name);
}

} // namespace

/// What one read of NetworkManager has gathered so far.
struct NetworkProvider::Read {
    std::uint64_t generation = 0;
    QVariantMap manager;
    std::map<QString, QVariantMap> active;
    std::size_t pending = 0;
    bool wifi = false;
    std::optional<std::string> ssid;
};

namespace {

/// One asynchronous property call whose answer (or nothing, on an error) goes to `done`.
void askProperties(QObject* owner, const QString& path, const QString& method, const QVariantList& arguments,
                   std::function<void(std::optional<QVariant>)> done) {
    auto message = QDBusMessage::createMethodCall(service, path, propertiesInterface, method);
    message.setArguments(arguments);
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::systemBus().asyncCall(message), owner);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, owner,
                     [done = std::move(done)](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         const QDBusMessage reply = finished->reply();
                         if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
                             done(std::nullopt);
                             return;
                         }
                         done(reply.arguments().front());
                     });
}

void getAll(QObject* owner, const QString& path, const QString& interface, std::function<void(QVariantMap)> done) {
    askProperties(owner, path, QStringLiteral("GetAll"), {interface}, [done = std::move(done)](std::optional<QVariant> value) {
        if (!value) {
            done({});
            return;
        }
        if (value->canConvert<QDBusArgument>())
            done(qdbus_cast<QVariantMap>(value->value<QDBusArgument>()));
        else
            done(value->toMap());
    });
}

void get(QObject* owner, const QString& path, const QString& interface, const QString& name,
         std::function<void(std::optional<QVariant>)> done) {
    askProperties(owner, path, QStringLiteral("Get"), {interface, name}, [done = std::move(done)](std::optional<QVariant> value) {
        if (value && value->canConvert<QDBusVariant>())
            done(value->value<QDBusVariant>().variant());
        else
            done(std::move(value));
    });
}

} // namespace

NetworkProvider::NetworkProvider(Scheduler& scheduler, brind::NetworkPeekPreferences::Lookup preferences, Log log)
    : scheduler_(scheduler), preferences_(std::move(preferences)), log_(std::move(log)) {}

NetworkProvider::~NetworkProvider() {
    stop();
}

void NetworkProvider::start(LiveActivityCenter& center) {
    center_ = &center;
    delivery_.emplace(scheduler_.now());
    relay_ = std::make_unique<SystemBusRelay>();
    if (!QDBusConnection::systemBus().isConnected()) {
        useKernel("there is no system bus");
        return;
    }
    useNetworkManager();
}

void NetworkProvider::stop() {
    ++generation_;
    settle_.reset();
    check_.reset();
    kernel_.reset();
    unfollowNetworkManager();
    relay_.reset();
    machine_ = brind::NetworkPeekMachine({brind::NetworkPeek::allKinds.begin(), brind::NetworkPeek::allKinds.end()});
    delivery_.reset();
    latest_.reset();
    managerAnswered_ = false;
    center_ = nullptr;
}

void NetworkProvider::useNetworkManager() {
    QDBusConnection bus = QDBusConnection::systemBus();
    // Any of its objects (the manager, the active connections, the devices and their access points),
    // followed before the first read so that no change falls between the two.
    bus.connect(service, QString(), propertiesInterface, QStringLiteral("PropertiesChanged"), relay_.get(),
                SLOT(relayPropertiesChanged(QString, QVariantMap, QStringList)));
    bus.connect(service, managerPath, managerInterface, QStringLiteral("StateChanged"), relay_.get(),
                SLOT(relayChanged()));
    QObject::connect(relay_.get(), &SystemBusRelay::changed, relay_.get(), [this] { changed(); });
    QObject::connect(relay_.get(), &SystemBusRelay::propertiesChanged, relay_.get(),
                     [this](const QString&, const QVariantMap& properties, const QStringList& invalidated) {
                         if (!invalidated.isEmpty() || std::ranges::any_of(properties.keys(), readsProperty))
                             changed();
                     });
    readNetworkManager();
}

void NetworkProvider::unfollowNetworkManager() {
    if (!relay_)
        return;
    QDBusConnection bus = QDBusConnection::systemBus();
    bus.disconnect(service, QString(), propertiesInterface, QStringLiteral("PropertiesChanged"), relay_.get(),
                   SLOT(relayPropertiesChanged(QString, QVariantMap, QStringList)));
    bus.disconnect(service, managerPath, managerInterface, QStringLiteral("StateChanged"), relay_.get(),
                   SLOT(relayChanged()));
}

void NetworkProvider::useKernel(const std::string& why) {
    unfollowNetworkManager();
    auto opened = NetlinkNetwork::open([this] { changed(); });
    if (!opened) {
        log_("vantaquill: no network peeks: " + why + " and the kernel's routes cannot be read (" + opened.error() + ")");
        return;
    }
    kernel_ = std::move(*opened);
    log_("vantaquill: " + why + "; network peeks follow the kernel's links and routes (no Wi-Fi names or hotspots)");
    if (auto snapshot = kernel_->read())
        received(*snapshot);
}

void NetworkProvider::changed() {
    if (settle_)
        return;
    settle_ = scheduler_.schedule(settleDelay, [this] {
        settle_.reset();
        if (kernel_) {
            if (auto snapshot = kernel_->read())
                received(*snapshot);
            return;
        }
        readNetworkManager();
    });
}

void NetworkProvider::readNetworkManager() {
    auto read = std::make_shared<Read>();
    read->generation = ++generation_;
    QObject* owner = relay_.get();
    const auto current = [this, read] { return read->generation == generation_; };

    const auto finish = [this, read, current] {
        if (!current())
            return;
        const QVariantMap& manager = read->manager;
        const unsigned connectivity = manager.value("Connectivity").toUInt();
        const unsigned state = manager.value("State").toUInt();
        std::vector<std::pair<QString, const QVariantMap*>> activated;
        for (const auto& [path, properties] : read->active) {
            if (properties.value("State").toUInt() == activeActivated)
                activated.emplace_back(path, &properties);
        }
        brind::NetworkSnapshot snapshot;
        // Without a connectivity check configured, NetworkManager only knows a global connection.
        snapshot.online = connectivity == connectivityFull ||
                          (connectivity == connectivityUnknown && state == stateConnectedGlobal);
        snapshot.linkUp = state >= stateConnectedLocal || !activated.empty();
        snapshot.vpn = std::ranges::any_of(activated, [](const auto& entry) {
            return entry.second->value("Vpn").toBool() || isTunnelType(entry.second->value("Type").toString());
        });
        snapshot.wifi = read->wifi;
        snapshot.ssid = read->ssid;
        snapshot.hotspot = snapshot.wifi && manager.value("Metered").toUInt() == meteredGuessYes;
        received(snapshot);
    };

    // The Wi-Fi connection that carries the path, then its network's name through the device's
    // access point (or the one the connection was made to).
    const auto findWifi = [this, read, current, owner, finish] {
        if (!current())
            return;
        QString primary = objectPath(read->manager.value("PrimaryConnection"));
        const auto activatedEntry = [read](const QString& path) -> const QVariantMap* {
            const auto found = read->active.find(path);
            if (found == read->active.end() || found->second.value("State").toUInt() != activeActivated)
                return nullptr;
            return &found->second;
        };
        if (!isObject(primary) || !activatedEntry(primary)) {
            primary.clear();
            for (const auto& [path, properties] : read->active) {
                if (properties.value("Default").toBool() || properties.value("Default6").toBool()) {
                    primary = path;
                    break;
                }
            }
        }
        const QVariantMap* carrier = activatedEntry(primary);
        const QVariantMap* wifi = carrier && isWifiType(carrier->value("Type").toString()) ? carrier : nullptr;
        // A VPN leads the path over whatever link it runs on.
        if (!wifi && (!carrier || isTunnelType(carrier->value("Type").toString()))) {
            for (const auto& [path, properties] : read->active) {
                if (isWifiType(properties.value("Type").toString()) && activatedEntry(path)) {
                    wifi = &properties;
                    break;
                }
            }
        }
        if (!wifi) {
            finish();
            return;
        }
        read->wifi = true;
        const QString specific = objectPath(wifi->value("SpecificObject"));
        const QStringList devices = objectPaths(wifi->value("Devices"));
        const auto readSSID = [read, current, owner, finish](const QString& accessPoint) {
            if (!isObject(accessPoint)) {
                finish();
                return;
            }
            get(owner, accessPoint, accessPointInterface, QStringLiteral("Ssid"),
                [read, current, finish](std::optional<QVariant> ssid) {
                    if (!current())
                        return;
                    if (ssid) {
                        const QByteArray bytes = ssid->toByteArray();
                        if (!bytes.isEmpty())
                            read->ssid = QString::fromUtf8(bytes).toStdString();
                    }
                    finish();
                });
        };
        if (devices.isEmpty()) {
            readSSID(specific);
            return;
        }
        get(owner, devices.front(), wirelessInterface, QStringLiteral("ActiveAccessPoint"),
            [current, specific, readSSID](std::optional<QVariant> accessPoint) {
                if (!current())
                    return;
                const QString path = accessPoint ? objectPath(*accessPoint) : QString();
                readSSID(isObject(path) ? path : specific);
            });
    };

    // Asked without waiting. The first call also starts NetworkManager where the bus starts it on
    // demand; when it fails, the kernel's links and routes are followed instead.
    getAll(owner, managerPath, managerInterface, [this, read, current, owner, findWifi](QVariantMap manager) {
        if (!current())
            return;
        if (manager.isEmpty()) {
            if (!managerAnswered_)
                useKernel("NetworkManager is not running");
            return;
        }
        managerAnswered_ = true;
        read->manager = std::move(manager);
        const QStringList paths = objectPaths(read->manager.value("ActiveConnections"));
        if (paths.isEmpty()) {
            findWifi();
            return;
        }
        read->pending = static_cast<std::size_t>(paths.size());
        for (const QString& path : paths) {
            getAll(owner, path, activeInterface, [read, current, path, findWifi](QVariantMap properties) {
                if (!current())
                    return;
                read->active[path] = std::move(properties);
                if (--read->pending == 0)
                    findWifi();
            });
        }
    });
}

void NetworkProvider::received(const brind::NetworkSnapshot& snapshot) {
    if (!center_ || !delivery_)
        return;
    latest_ = snapshot;
    if (machine_.last() == snapshot)
        return;
    const brind::Date now = scheduler_.now();
    const auto preferences = brind::NetworkPeekPreferences::read(preferences_);
    std::vector<brind::NetworkPeek> peeks = machine_.update(snapshot);
    std::erase_if(peeks, [&preferences](const brind::NetworkPeek& peek) { return !preferences.enabled.contains(peek.kind()); });
    const auto plan = delivery_->receive(peeks, now);
    for (const auto& peek : plan.post)
        center_->post(brind::NetworkPeekDelivery::activity(preferences.presented(peek), now));
    if (plan.check) {
        check_ = scheduler_.schedule(plan.check->after, [this, generation = plan.check->generation] {
            check_.reset();
            if (!delivery_ || !center_)
                return;
            if (auto peek = delivery_->confirm(generation, latest_ && latest_->online))
                center_->post(brind::NetworkPeekDelivery::activity(*peek, scheduler_.now()));
        });
    } else if (!delivery_->hasPendingCheck()) {
        check_.reset();
    }
}

} // namespace vq
