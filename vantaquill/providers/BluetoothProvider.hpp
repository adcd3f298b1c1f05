#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/island/LiveActivity.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"

#include <QDBusConnection>
#include <QMap>
#include <QString>
#include <QVariantMap>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

class QDBusServiceWatcher;

namespace vq {

class BusMessageRelay;

/// Bluetooth devices coming and going: BlueZ on the system bus announces its devices through its
/// object manager and each device's `Connected` through property changes; a device that connects or
/// disconnects gives a short peek with its name, an icon of its kind and, where the device reports
/// it (`org.bluez.Battery1`), its battery level. The devices connected when the island starts are
/// taken as they are, without a peek.
class BluetoothProvider final : public LiveActivityCenter::Provider {
  public:
    static constexpr std::string_view providerID = "bluetooth";
    /// How long a peek stays.
    static constexpr double peekDuration = 4;
    using Log = std::function<void(const std::string&)>;

    /// What the island knows of one device.
    struct Device {
        std::string name;
        std::string address;
        /// BlueZ's freedesktop icon name ("audio-headset", "input-mouse"), empty when unknown.
        std::string icon;
        /// The Bluetooth class of device, 0 when unknown.
        std::uint32_t deviceClass = 0;
        bool connected = false;
        /// 0...100, while the device reports it.
        std::optional<int> battery;
        friend bool operator==(const Device&, const Device&) = default;
    };

    BluetoothProvider(Scheduler& scheduler, Log log);
    ~BluetoothProvider() override;
    BluetoothProvider(const BluetoothProvider&) = delete;
    BluetoothProvider& operator=(const BluetoothProvider&) = delete;

    std::string id() const override { return std::string(providerID); }
    void start(LiveActivityCenter& center) override;
    void stop() override;

    /// The symbol for a device's kind: from its icon name, else from its class of device.
    static std::string kindSymbol(std::string_view icon, std::uint32_t deviceClass);
    /// The peek for a device that just connected or disconnected, gone at `until`.
    static brind::LiveActivity peek(const Device& device, brind::Date until);

  private:
    void list();
    void received(const QString& path, const QString& member, const QVariantList& arguments);
    /// Applies one interface's properties of the device at `path`; `announce` peeks at a change of
    /// `Connected` (not for what the first listing finds).
    void apply(const QString& path, const QString& interface, const QVariantMap& properties, bool announce);
    void applyAll(const QString& path, const QMap<QString, QVariantMap>& interfaces, bool announce);
    void show(const std::string& path);
    bool isPeeking(const std::string& path) const;

    Scheduler& scheduler_;
    Log log_;
    LiveActivityCenter* center_ = nullptr;
    std::optional<QDBusConnection> bus_;
    std::unique_ptr<BusMessageRelay> relay_;
    std::unique_ptr<QDBusServiceWatcher> service_;
    std::map<std::string, Device> devices_;
    /// When each device's current peek goes, so that a battery level reported just after the
    /// connection joins the peek still showing.
    std::map<std::string, brind::Date> peeking_;
    bool toldMissing_ = false;
};

} // namespace vq
