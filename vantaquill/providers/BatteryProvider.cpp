#include "vantaquill/providers/BatteryProvider.hpp"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFileSystemWatcher>
#include <QSocketNotifier>
#include <QVariantMap>

#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

namespace vq {

namespace {

const QString upowerService = QStringLiteral("org.freedesktop.UPower");
const QString displayDevice = QStringLiteral("/org/freedesktop/UPower/devices/DisplayDevice");
const QString deviceInterface = QStringLiteral("org.freedesktop.UPower.Device");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
// The kernel's own uevent multicast group (udev re-broadcasts on group 2).
constexpr unsigned kernelUeventGroup = 1;
constexpr std::size_t ueventBufferBytes = 8192;
constexpr double microUnits = 1e6;

std::optional<std::string> firstLine(const std::filesystem::path& file) {
    std::ifstream in(file);
    std::string line;
    if (!in || !std::getline(in, line))
        return std::nullopt;
    while (!line.empty() && (line.back() == '\r' || line.back() == ' '))
        line.pop_back();
    return line;
}

std::optional<double> number(const std::filesystem::path& file) {
    const auto line = firstLine(file);
    if (!line)
        return std::nullopt;
    try {
        std::size_t used = 0;
        const double value = std::stod(*line, &used);
        return used == 0 ? std::nullopt : std::optional(value);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::optional<double> positive(std::optional<double> value) {
    return value && *value > 0 ? value : std::nullopt;
}

} // namespace

BatteryProvider::BatteryProvider(Scheduler& scheduler, std::filesystem::path sysClass, Log log)
    : scheduler_(scheduler), sysClass_(std::move(sysClass)), log_(std::move(log)) {}

BatteryProvider::~BatteryProvider() {
    stop();
}

void BatteryProvider::start(LiveActivityCenter& center) {
    center_ = &center;
    relay_ = std::make_unique<SystemBusRelay>();
    if (!QDBusConnection::systemBus().isConnected()) {
        useKernel();
        return;
    }
    useUPower();
}

void BatteryProvider::stop() {
    settle_.reset();
    reread_.reset();
    uevents_.reset();
    if (ueventSocket_ >= 0)
        ::close(ueventSocket_);
    ueventSocket_ = -1;
    files_.reset();
    if (relay_) {
        QDBusConnection::systemBus().disconnect(upowerService, displayDevice, propertiesInterface,
                                                QStringLiteral("PropertiesChanged"), relay_.get(),
                                                SLOT(relayChanged()));
        relay_.reset();
    }
    peeks_ = BatteryPeeks{};
    upowerAnswered_ = false;
    center_ = nullptr;
}

void BatteryProvider::useUPower() {
    // Followed before the first read, so that no change falls between the two.
    QDBusConnection::systemBus().connect(upowerService, displayDevice, propertiesInterface,
                                         QStringLiteral("PropertiesChanged"), relay_.get(), SLOT(relayChanged()));
    QObject::connect(relay_.get(), &SystemBusRelay::changed, relay_.get(),
                     [this] { settleThen(&BatteryProvider::readUPower); });
    readUPower();
}

void BatteryProvider::readUPower() {
    // Asked without waiting. The first call also starts UPower where the bus starts it on demand;
    // when it fails, the kernel's files are read instead.
    auto message = QDBusMessage::createMethodCall(upowerService, displayDevice, propertiesInterface,
                                                  QStringLiteral("GetAll"));
    message << deviceInterface;
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection::systemBus().asyncCall(message), relay_.get());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, relay_.get(), [this](QDBusPendingCallWatcher* done) {
        done->deleteLater();
        const QDBusPendingReply<QVariantMap> reply = *done;
        if (reply.isError() && !upowerAnswered_) {
            QDBusConnection::systemBus().disconnect(upowerService, displayDevice, propertiesInterface,
                                                    QStringLiteral("PropertiesChanged"), relay_.get(),
                                                    SLOT(relayChanged()));
            useKernel();
            return;
        }
        if (reply.isError()) {
            log_("vantaquill: couldn't read UPower's battery: " + reply.error().message().toStdString());
            return;
        }
        upowerAnswered_ = true;
        const QVariantMap properties = reply.value();
        BatteryPeeks::Reading reading;
        reading.present = properties.value("IsPresent").toBool();
        reading.percent = properties.value("Percentage").toDouble();
        reading.power = BatteryPeeks::powerOfUPowerState(properties.value("State").toUInt());
        reading.secondsToEmpty = positive(properties.value("TimeToEmpty").toDouble());
        reading.secondsToFull = positive(properties.value("TimeToFull").toDouble());
        reading.watts = positive(properties.value("EnergyRate").toDouble());
        if (!reading.present && !toldNoBattery_)
            log_("vantaquill: UPower reports no battery, so there are no battery peeks");
        toldNoBattery_ = !reading.present;
        received(reading);
    });
}

void BatteryProvider::useKernel() {
    const auto folder = sysClass_ / "power_supply";
    // Batteries and chargers announce their changes as kernel uevents of the power_supply subsystem.
    ueventSocket_ = ::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_KOBJECT_UEVENT);
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = kernelUeventGroup;
    if (ueventSocket_ >= 0 &&
        ::bind(ueventSocket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        uevents_ = std::make_unique<QSocketNotifier>(ueventSocket_, QSocketNotifier::Read);
        QObject::connect(uevents_.get(), &QSocketNotifier::activated, uevents_.get(), [this] {
            std::array<char, ueventBufferBytes> buffer{};
            bool ours = false;
            for (;;) {
                const ssize_t got = ::recv(ueventSocket_, buffer.data(), buffer.size(), 0);
                if (got <= 0)
                    break;
                ours = ours || std::string_view(buffer.data(), static_cast<std::size_t>(got))
                                       .find("SUBSYSTEM=power_supply") != std::string_view::npos;
            }
            if (ours)
                settleThen(&BatteryProvider::readKernel);
        });
    } else if (ueventSocket_ >= 0) {
        ::close(ueventSocket_);
        ueventSocket_ = -1;
    }
    // Files that are not the kernel's (a folder given with --sys-class) change like any file.
    files_ = std::make_unique<QFileSystemWatcher>();
    QObject::connect(files_.get(), &QFileSystemWatcher::fileChanged, files_.get(),
                     [this] { settleThen(&BatteryProvider::readKernel); });
    QObject::connect(files_.get(), &QFileSystemWatcher::directoryChanged, files_.get(),
                     [this] { settleThen(&BatteryProvider::readKernel); });
    if (std::filesystem::is_directory(folder))
        files_->addPath(QString::fromStdString(folder.string()));
    readKernel();
    // A computer without a battery has said so already, once.
    if (toldNoBattery_)
        return;
    log_("vantaquill: UPower is not running; the battery is read from " + folder.string());
}

void BatteryProvider::readKernel() {
    const auto folder = sysClass_ / "power_supply";
    // Each battery's files are watched as they are found; a battery may appear later.
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        for (const char* name : {"status", "capacity", "energy_now", "charge_now"}) {
            const auto file = entry.path() / name;
            if (std::filesystem::exists(file) && !files_->files().contains(QString::fromStdString(file.string())))
                files_->addPath(QString::fromStdString(file.string()));
        }
    }
    const auto reading = readPowerSupply(folder);
    if (!reading.present && !toldNoBattery_)
        log_("vantaquill: no battery in " + folder.string() + ", so there are no battery peeks");
    toldNoBattery_ = !reading.present;
    received(reading);
    if (reading.present && reading.power == BatteryPeeks::Power::battery) {
        if (!reread_)
            reread_ = scheduler_.schedule(dischargeReread, [this] {
                reread_.reset();
                readKernel();
            });
    } else {
        reread_.reset();
    }
}

void BatteryProvider::settleThen(void (BatteryProvider::*read)()) {
    if (settle_)
        return;
    settle_ = scheduler_.schedule(settleDelay, [this, read] {
        settle_.reset();
        (this->*read)();
    });
}

void BatteryProvider::received(const BatteryPeeks::Reading& reading) {
    if (!center_)
        return;
    if (auto activity = peeks_.observe(reading, scheduler_.now()))
        center_->post(std::move(*activity));
}

BatteryPeeks::Reading BatteryProvider::readPowerSupply(const std::filesystem::path& folder) {
    BatteryPeeks::Reading reading;
    double energyNow = 0;
    double energyFull = 0;
    bool energyKnown = true;
    double capacities = 0;
    int batteries = 0;
    double watts = 0;
    std::optional<double> secondsToEmpty;
    std::optional<double> secondsToFull;
    std::vector<BatteryPeeks::Power> powers;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        const auto& device = entry.path();
        if (firstLine(device / "type") != "Battery" || firstLine(device / "scope") == "Device")
            continue;
        if (firstLine(device / "present") == "0")
            continue;
        auto now = number(device / "energy_now");
        auto full = number(device / "energy_full");
        if (!now || !full) {
            now = number(device / "charge_now");
            full = number(device / "charge_full");
        }
        const auto capacity = number(device / "capacity");
        if (!capacity && !(now && full && *full > 0))
            continue;
        ++batteries;
        if (now && full && *full > 0) {
            energyNow += *now;
            energyFull += *full;
        } else {
            energyKnown = false;
        }
        capacities += capacity ? *capacity : 100 * *now / *full;
        if (const auto power = positive(number(device / "power_now")))
            watts += *power / microUnits;
        else if (const auto current = positive(number(device / "current_now")),
                 voltage = positive(number(device / "voltage_now"));
                 current && voltage)
            watts += *current / microUnits * *voltage / microUnits;
        secondsToEmpty = positive(number(device / "time_to_empty_now"));
        secondsToFull = positive(number(device / "time_to_full_now"));
        powers.push_back(BatteryPeeks::powerOfStatus(firstLine(device / "status").value_or("")));
    }
    if (batteries == 0)
        return reading;
    reading.present = true;
    reading.percent = energyKnown && energyFull > 0 ? 100 * energyNow / energyFull : capacities / batteries;
    const auto any = [&powers](BatteryPeeks::Power power) { return std::ranges::find(powers, power) != powers.end(); };
    using Power = BatteryPeeks::Power;
    if (any(Power::battery))
        reading.power = Power::battery;
    else if (any(Power::charging))
        reading.power = Power::charging;
    else if (any(Power::pluggedIdle))
        reading.power = Power::pluggedIdle;
    else if (any(Power::full))
        reading.power = Power::full;
    if (watts > 0)
        reading.watts = watts;
    // Several batteries' own times do not add up; the sum of energies does, so leave them out then.
    if (batteries == 1) {
        reading.secondsToEmpty = secondsToEmpty;
        reading.secondsToFull = secondsToFull;
    }
    return reading;
}

} // namespace vq
