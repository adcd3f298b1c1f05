#include "vantaquill/providers/BluetoothProvider.hpp"

#include "vantaquill/providers/BusMessageRelay.hpp"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QMap>
#include <algorithm>
#include <array>
#include <utility>

namespace vq {

namespace {

const QString bluez = QStringLiteral("org.bluez");
const QString deviceInterface = QStringLiteral("org.bluez.Device1");
const QString batteryInterface = QStringLiteral("org.bluez.Battery1");
const QString objectManager = QStringLiteral("org.freedesktop.DBus.ObjectManager");
const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");
constexpr std::string_view idPrefix = "bluetooth.";

using Interfaces = QMap<QString, QVariantMap>;

/// BlueZ's icon names (freedesktop names chosen from the device's class and appearance) and the
/// symbols drawn for them; a name is matched whole.
constexpr std::array<std::pair<std::string_view, std::string_view>, 14> iconSymbols{{
    {"audio-headset", "headphones"},
    {"audio-headphones", "headphones"},
    {"audio-card", "hifispeaker"},
    {"input-keyboard", "keyboard"},
    {"input-mouse", "computermouse"},
    {"input-tablet", "computermouse"},
    {"input-gaming", "gamecontroller"},
    {"phone", "iphone"},
    {"computer", "desktopcomputer"},
    {"camera-photo", "camera"},
    {"camera-video", "camera"},
    {"printer", "printer"},
    {"scanner", "printer"},
    {"network-wireless", "wifi"},
}};

constexpr std::string_view genericSymbol = "dot.radiowaves.left.and.right";

Interfaces interfacesOf(const QVariant& value) {
    return qdbus_cast<Interfaces>(value);
}

} // namespace

BluetoothProvider::BluetoothProvider(Scheduler& scheduler, Log log)
    : scheduler_(scheduler), log_(std::move(log)) {}

BluetoothProvider::~BluetoothProvider() {
    stop();
}

std::string BluetoothProvider::kindSymbol(std::string_view icon, std::uint32_t deviceClass) {
    for (const auto& [name, symbol] : iconSymbols) {
        if (icon == name)
            return std::string(symbol);
    }
    // The class of device: a major class in bits 8 to 12 and a minor class below it.
    const std::uint32_t major = (deviceClass >> 8) & 0x1f;
    const std::uint32_t minor = (deviceClass >> 2) & 0x3f;
    switch (major) {
    case 1:
        return "desktopcomputer";
    case 2:
        return "iphone";
    case 3:
        return "wifi";
    case 4:
        // Audio and video: headsets (1) and headphones (6) are worn; the rest are speakers and the like.
        return minor == 1 || minor == 6 ? "headphones" : "hifispeaker";
    case 5: {
        // Peripherals: bits 6 and 7 say keyboard (1), pointer (2) or both (3); below them a joystick
        // (1) or a gamepad (2).
        const std::uint32_t kind = (deviceClass >> 6) & 0x3;
        const std::uint32_t device = (deviceClass >> 2) & 0xf;
        if (device == 1 || device == 2)
            return "gamecontroller";
        if (kind == 2)
            return "computermouse";
        if (kind != 0)
            return "keyboard";
        return std::string(genericSymbol);
    }
    case 6:
        return (deviceClass & 0x80) != 0   ? "printer"
               : (deviceClass & 0x20) != 0 ? "camera"
                                           : std::string(genericSymbol);
    default:
        return std::string(genericSymbol);
    }
}

brind::LiveActivity BluetoothProvider::peek(const Device& device, brind::Date until) {
    brind::LiveActivity activity;
    activity.id = std::string(idPrefix) + device.address;
    activity.source = std::string(providerID);
    activity.leading = brind::ActivityGlyph::symbol(kindSymbol(device.icon, device.deviceClass));
    activity.title = device.name;
    if (device.connected) {
        activity.subtitle = "Connected";
        if (device.battery) {
            *activity.subtitle += ", battery " + std::to_string(*device.battery) + "%";
            activity.trailing = brind::ActivityGlyph::text(std::to_string(*device.battery) + "%");
            activity.progress = *device.battery / 100.0;
        } else {
            activity.trailing = brind::ActivityGlyph::symbol("checkmark");
        }
    } else {
        activity.subtitle = "Disconnected";
        activity.trailing = brind::ActivityGlyph::symbol("xmark");
    }
    activity.expiresAt = until;
    activity.alert = true;
    return activity.clamped();
}

void BluetoothProvider::start(LiveActivityCenter& center) {
    center_ = &center;
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        log_("vantaquill: no system bus, so no Bluetooth peeks: BlueZ is reached over the system bus");
        return;
    }
    bus_ = bus;
    relay_ = std::make_unique<BusMessageRelay>();
    bus_->connect(bluez, QStringLiteral("/"), objectManager, QStringLiteral("InterfacesAdded"), relay_.get(),
                  SLOT(relay(QDBusMessage)));
    bus_->connect(bluez, QStringLiteral("/"), objectManager, QStringLiteral("InterfacesRemoved"),
                  relay_.get(), SLOT(relay(QDBusMessage)));
    // Every device's property changes, whatever its path.
    bus_->connect(bluez, QString(), properties, QStringLiteral("PropertiesChanged"), relay_.get(),
                  SLOT(relay(QDBusMessage)));
    QObject::connect(relay_.get(), &BusMessageRelay::received, relay_.get(),
                     [this](const QDBusMessage& message) {
                         received(message.path(), message.member(), message.arguments());
                     });
    // BlueZ started after the island (or restarted) is listed afresh when its name appears.
    service_ = std::make_unique<QDBusServiceWatcher>(bluez, *bus_, QDBusServiceWatcher::WatchForOwnerChange);
    QObject::connect(service_.get(), &QDBusServiceWatcher::serviceOwnerChanged, service_.get(),
                     [this](const QString&, const QString&, const QString& owner) {
                         devices_.clear();
                         if (!owner.isEmpty())
                             list();
                     });
    list();
}

void BluetoothProvider::stop() {
    service_.reset();
    relay_.reset();
    bus_.reset();
    devices_.clear();
    peeking_.clear();
    center_ = nullptr;
}

void BluetoothProvider::list() {
    auto call = QDBusMessage::createMethodCall(bluez, QStringLiteral("/"), objectManager,
                                               QStringLiteral("GetManagedObjects"));
    auto* watcher = new QDBusPendingCallWatcher(bus_->asyncCall(call), relay_.get());
    QObject::connect(
        watcher, &QDBusPendingCallWatcher::finished, relay_.get(), [this](QDBusPendingCallWatcher* done) {
            done->deleteLater();
            const QDBusMessage reply = done->reply();
            if (reply.type() == QDBusMessage::ErrorMessage || reply.arguments().isEmpty()) {
                if (!toldMissing_)
                    log_("vantaquill: no BlueZ on the system bus (" + reply.errorMessage().toStdString() +
                         "), so no Bluetooth peeks until it starts");
                toldMissing_ = true;
                return;
            }
            toldMissing_ = false;
            const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
            argument.beginMap();
            while (!argument.atEnd()) {
                QDBusObjectPath path;
                Interfaces interfaces;
                argument.beginMapEntry();
                argument >> path >> interfaces;
                argument.endMapEntry();
                applyAll(path.path(), interfaces, false);
            }
            argument.endMap();
        });
}

void BluetoothProvider::received(const QString& path, const QString& member, const QVariantList& arguments) {
    if (member == QLatin1String("InterfacesAdded") && arguments.size() >= 2) {
        const QString added = qdbus_cast<QDBusObjectPath>(arguments.at(0)).path();
        applyAll(added, interfacesOf(arguments.at(1)), true);
    } else if (member == QLatin1String("InterfacesRemoved") && arguments.size() >= 2) {
        const std::string removed = qdbus_cast<QDBusObjectPath>(arguments.at(0)).path().toStdString();
        const QStringList interfaces = qdbus_cast<QStringList>(arguments.at(1));
        const auto device = devices_.find(removed);
        if (device == devices_.end())
            return;
        if (interfaces.contains(deviceInterface)) {
            devices_.erase(device);
            peeking_.erase(removed);
        } else if (interfaces.contains(batteryInterface)) {
            device->second.battery.reset();
        }
    } else if (member == QLatin1String("PropertiesChanged") && arguments.size() >= 2) {
        apply(path, arguments.at(0).toString(), qdbus_cast<QVariantMap>(arguments.at(1)), true);
    }
}

void BluetoothProvider::applyAll(const QString& path, const QMap<QString, QVariantMap>& interfaces,
                                 bool announce) {
    // A device's own properties first, so that its battery joins a device the island knows.
    if (interfaces.contains(deviceInterface))
        apply(path, deviceInterface, interfaces.value(deviceInterface), announce);
    for (auto interface = interfaces.cbegin(); interface != interfaces.cend(); ++interface) {
        if (interface.key() != deviceInterface)
            apply(path, interface.key(), interface.value(), announce);
    }
}

void BluetoothProvider::apply(const QString& path, const QString& interface, const QVariantMap& changed,
                              bool announce) {
    const std::string key = path.toStdString();
    if (interface == deviceInterface) {
        auto& device = devices_[key];
        const bool wasConnected = device.connected;
        if (changed.contains(QStringLiteral("Alias")))
            device.name = changed.value(QStringLiteral("Alias")).toString().toStdString();
        else if (device.name.empty() && changed.contains(QStringLiteral("Name")))
            device.name = changed.value(QStringLiteral("Name")).toString().toStdString();
        if (changed.contains(QStringLiteral("Address")))
            device.address = changed.value(QStringLiteral("Address")).toString().toStdString();
        if (changed.contains(QStringLiteral("Icon")))
            device.icon = changed.value(QStringLiteral("Icon")).toString().toStdString();
        if (changed.contains(QStringLiteral("Class")))
            device.deviceClass = changed.value(QStringLiteral("Class")).toUInt();
        if (changed.contains(QStringLiteral("Connected")))
            device.connected = changed.value(QStringLiteral("Connected")).toBool();
        if (device.address.empty())
            device.address = path.section(QLatin1Char('/'), -1).toStdString();
        if (device.name.empty())
            device.name = device.address;
        if (announce && device.connected != wasConnected) {
            peeking_[key] = scheduler_.now() + peekDuration;
            show(key);
        } else if (isPeeking(key)) {
            // The listing may answer after the change it already holds was heard: the name joins.
            show(key);
        }
        return;
    }
    if (interface == batteryInterface && changed.contains(QStringLiteral("Percentage"))) {
        const auto device = devices_.find(key);
        if (device == devices_.end())
            return;
        device->second.battery = std::clamp(changed.value(QStringLiteral("Percentage")).toInt(), 0, 100);
        // A level that arrives while the connection's peek shows joins it.
        if (isPeeking(key))
            show(key);
    }
}

bool BluetoothProvider::isPeeking(const std::string& path) const {
    const auto until = peeking_.find(path);
    return until != peeking_.end() && scheduler_.now() < until->second;
}

void BluetoothProvider::show(const std::string& path) {
    const auto device = devices_.find(path);
    const auto until = peeking_.find(path);
    if (!center_ || device == devices_.end() || until == peeking_.end())
        return;
    center_->post(peek(device->second, until->second));
}

} // namespace vq
