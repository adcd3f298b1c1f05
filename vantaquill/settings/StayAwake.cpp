#include "vantaquill/settings/StayAwake.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/foundation/Paths.hpp"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace vq {

namespace {

const QString reason = QStringLiteral("Stay awake is on");

/// The idle inhibitors desktops honour for blanking the screen, taken side by side: a desktop
/// runs at most one of them, and holding one that nobody reads costs nothing.
struct DesktopInhibitor {
    const char* service;
    const char* path;
    const char* release;
};
constexpr DesktopInhibitor desktopTable[] = {
    {"org.gnome.SessionManager", "/org/gnome/SessionManager", "Uninhibit"},
    // KDE, Xfce and LXQt, and what the desktop portals fall back to.
    {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver", "UnInhibit"},
};
/// GNOME's inhibitor flag for "idle": no blanking, no idle session.
constexpr uint gnomeIdle = 8;
/// How long quitting waits for a desktop to hear that its inhibitor is handed back.
constexpr int releaseTimeoutMilliseconds = 500;

QDBusMessage inhibitCall(std::size_t which) {
    const auto& inhibitor = desktopTable[which];
    auto call = QDBusMessage::createMethodCall(
        QString::fromLatin1(inhibitor.service), QString::fromLatin1(inhibitor.path),
        QString::fromLatin1(inhibitor.service), QStringLiteral("Inhibit"));
    if (which == 0)
        call << QStringLiteral("io.vantaquill.Island") << uint(0) << reason << gnomeIdle;
    else
        call << QStringLiteral("vantaquill") << reason;
    // A service that is not running is not the desktop in use: it is not started for us.
    call.setAutoStartService(false);
    return call;
}

/// A connection of its own to `address` (or the system bus when that is empty), or nothing.
std::optional<QDBusConnection> connectTo(const QString& address, bool system, const QString& name) {
    if (!system && address.isEmpty())
        return std::nullopt;
    QDBusConnection bus = address.isEmpty() ? QDBusConnection::connectToBus(QDBusConnection::SystemBus, name)
                                            : QDBusConnection::connectToBus(address, name);
    if (bus.isConnected())
        return bus;
    QDBusConnection::disconnectFromBus(name);
    return std::nullopt;
}

} // namespace

std::filesystem::path StayAwake::stateFile(const std::filesystem::path& dataFolder) {
    return dataFolder / "stay-awake.json";
}

StayAwake::StayAwake(Scheduler& scheduler, std::filesystem::path file, Log log)
    : scheduler_(scheduler), file_(std::move(file)), log_(std::move(log)) {
    static std::atomic<int> instances{0};
    const int instance = ++instances;
    systemName_ = QStringLiteral("vantaquill-stay-awake-system-%1").arg(instance);
    sessionName_ = QStringLiteral("vantaquill-stay-awake-session-%1").arg(instance);
    const auto saved = brind::AtomicFile::read(file_);
    if (!saved)
        return;
    const auto parsed = brind::JSONText::parse(*saved);
    // Unreadable means off: keeping the machine awake by mistake is the worse failure.
    setMode(parsed ? brind::WidgetStayAwakeMode::fromJSON(*parsed) : brind::WidgetStayAwakeMode::off());
}

StayAwake::~StayAwake() {
    endTimer_.reset();
    wanted_ = false;
    ++round_;
    releaseAll(true);
    // Answers still on their way are dropped: a late descriptor closes with its reply, and the
    // desktops forget the cookies of a connection that closed.
    calls_.reset();
    system_.reset();
    session_.reset();
    QDBusConnection::disconnectFromBus(systemName_);
    QDBusConnection::disconnectFromBus(sessionName_);
}

void StayAwake::setMode(brind::WidgetStayAwakeMode mode) {
    const brind::Date now = scheduler_.now();
    const bool same = mode.normalised(now) == this->mode();
    mode_ = mode.normalised(now);
    save();
    hold(mode_.isActive(now));
    endTimer_.reset();
    if (const auto remaining = mode_.remaining(now))
        endTimer_ = scheduler_.schedule(*remaining, [this] { setMode(brind::WidgetStayAwakeMode::off()); });
    if (!same && onChange)
        onChange();
}

void StayAwake::save() const {
    if (auto written = brind::AtomicFile::write(file_, brind::JSONText::compact(mode_.json())); !written)
        log_("vantaquill: stay awake could not be saved: " + written.error());
}

void StayAwake::hold(bool on) {
    if (on == wanted_)
        return;
    wanted_ = on;
    ++round_;
    if (on)
        take();
    else
        releaseAll(false);
}

bool StayAwake::connect() {
    if (!calls_)
        calls_ = std::make_unique<QObject>();
    if (!system_)
        system_ = connectTo(qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS"), true, systemName_);
    if (!session_)
        session_ = connectTo(QString::fromStdString(brind::Paths::sessionBusAddress().value_or("")), false, sessionName_);
    return system_.has_value();
}

void StayAwake::take() {
    const bool system = connect();
    if (system)
        takeLock();
    else if (!std::exchange(toldNoLogind_, true))
        log_("vantaquill: stay awake cannot keep the computer awake: there is no system bus to reach logind "
             "on");
    desktopAnswers_ = 0;
    desktopTaken_ = false;
    for (std::size_t which = 0; which < desktopInhibitors; ++which)
        takeDesktop(which);
}

void StayAwake::takeLock() {
    auto call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
    call << QStringLiteral("sleep:idle") << QStringLiteral("vantaquill") << reason << QStringLiteral("block");
    auto* watcher = new QDBusPendingCallWatcher(system_->asyncCall(call), calls_.get());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, calls_.get(),
                     [this, round = round_](QDBusPendingCallWatcher* done) {
                         done->deleteLater();
                         const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *done;
                         // An answer to an earlier request: its descriptor closes with the reply,
                         // which is how logind is told to let go.
                         if (round != round_)
                             return;
                         if (reply.isError()) {
                             if (!std::exchange(toldNoLogind_, true))
                                 log_("vantaquill: stay awake cannot keep the computer awake: logind gave no "
                                      "inhibitor lock (" +
                                      reply.error().message().toStdString() + ")");
                             return;
                         }
                         // A duplicate of our own, closed on exec: a program the island starts must
                         // not keep the machine awake after the island let go.
                         const int lock = ::fcntl(reply.value().fileDescriptor(), F_DUPFD_CLOEXEC, 0);
                         if (lock < 0) {
                             log_(std::string("vantaquill: stay awake could not keep logind's lock: ") +
                                  std::strerror(errno));
                             return;
                         }
                         lock_ = lock;
                     });
}

void StayAwake::takeDesktop(std::size_t which) {
    if (!session_) {
        desktopAnswered(false);
        return;
    }
    auto* watcher = new QDBusPendingCallWatcher(session_->asyncCall(inhibitCall(which)), calls_.get());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, calls_.get(),
                     [this, which, round = round_](QDBusPendingCallWatcher* done) {
                         done->deleteLater();
                         const QDBusPendingReply<uint> reply = *done;
                         if (round != round_) {
                             // Turned off (or off and on again) meanwhile: handed back at once.
                             if (!reply.isError())
                                 release(which, reply.value(), false);
                             return;
                         }
                         if (!reply.isError())
                             cookies_[which] = reply.value();
                         desktopAnswered(!reply.isError());
                     });
}

void StayAwake::desktopAnswered(bool taken) {
    desktopTaken_ = desktopTaken_ || taken;
    if (++desktopAnswers_ < int(desktopInhibitors) || desktopTaken_ || std::exchange(toldNoDesktop_, true))
        return;
    log_("vantaquill: stay awake found no desktop idle inhibitor (org.gnome.SessionManager, "
         "org.freedesktop.ScreenSaver), so the screen may still blank");
}

void StayAwake::release(std::size_t which, std::uint32_t cookie, bool waiting) {
    if (!session_)
        return;
    const auto& inhibitor = desktopTable[which];
    auto call = QDBusMessage::createMethodCall(
        QString::fromLatin1(inhibitor.service), QString::fromLatin1(inhibitor.path),
        QString::fromLatin1(inhibitor.service), QString::fromLatin1(inhibitor.release));
    call << uint(cookie);
    call.setAutoStartService(false);
    // Quitting closes the connection right after: the call is waited for, or it might never leave.
    if (waiting)
        session_->call(call, QDBus::Block, releaseTimeoutMilliseconds);
    else
        session_->send(call);
}

void StayAwake::releaseAll(bool waiting) {
    if (lock_ >= 0)
        ::close(std::exchange(lock_, -1));
    for (std::size_t which = 0; which < desktopInhibitors; ++which) {
        if (const auto cookie = std::exchange(cookies_[which], std::nullopt))
            release(which, *cookie, waiting);
    }
}

} // namespace vq
