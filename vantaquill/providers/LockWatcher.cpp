#include "vantaquill/providers/LockWatcher.hpp"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <cstdlib>
#include <utility>

namespace vq {

namespace {

const QString logind = QStringLiteral("org.freedesktop.login1");
const QString sessionInterface = QStringLiteral("org.freedesktop.login1.Session");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

/// The screen savers that announce their state on the session bus, at the paths they use.
struct ScreenSaver {
    const char* interface;
    const char* path;
};
constexpr ScreenSaver screenSavers[] = {
    {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver"},
    {"org.freedesktop.ScreenSaver", "/ScreenSaver"},
    {"org.gnome.ScreenSaver", "/org/gnome/ScreenSaver"},
};

brind::LiveActivity lockActivity(brind::LockPhase phase) {
    brind::LiveActivity activity;
    activity.id = std::string(LockWatcher::activityID);
    activity.source = std::string(LockWatcher::providerID);
    // In front of whatever else runs: the animation is short and answers what the user just did.
    activity.priority = brind::ActivityPriority::critical;
    const bool opened = brind::open(phase);
    activity.leading = brind::ActivityGlyph::symbol(opened ? "lock.open.fill" : "lock.fill");
    activity.trailing = brind::ActivityGlyph::none();
    activity.title = opened ? "Unlocked" : "Locked";
    activity.dismissible = false;
    return activity;
}

} // namespace

LockWatcher::LockWatcher(Scheduler& scheduler, Log log, Timing timing)
    : scheduler_(scheduler), log_(std::move(log)), timing_(std::move(timing)) {}

LockWatcher::~LockWatcher() {
    // The centre destroys its providers as it goes: it is told nothing now.
    onPhase = nullptr;
    center_ = nullptr;
    stop();
}

void LockWatcher::start(LiveActivityCenter& center) {
    center_ = &center;
    sequencer_ = brind::LockSequencer(timing_());
    sessionLocked_ = false;
    screenSaverActive_ = false;
    relay_ = std::make_unique<LockSignalRelay>();
    QObject::connect(relay_.get(), &LockSignalRelay::propertiesChanged, relay_.get(),
                     [this](const QString& interface, const QVariantMap& changed, const QStringList&) {
                         if (interface == sessionInterface && changed.contains(QStringLiteral("LockedHint")))
                             setLocked(sessionLocked_, changed.value(QStringLiteral("LockedHint")).toBool());
                     });
    QObject::connect(relay_.get(), &LockSignalRelay::activeChanged, relay_.get(),
                     [this](bool active) { setLocked(screenSaverActive_, active); });

    const QDBusConnection session = QDBusConnection::sessionBus();
    if (session.isConnected()) {
        session_ = session;
        // Any sender: the screen saver's name is owned by whichever desktop runs one.
        for (const auto& saver : screenSavers)
            session_->connect(QString(), QString::fromLatin1(saver.path), QString::fromLatin1(saver.interface),
                              QStringLiteral("ActiveChanged"), relay_.get(), SLOT(relayActiveChanged(bool)));
    }
    const QDBusConnection system = QDBusConnection::systemBus();
    if (!system.isConnected()) {
        log_("vantaquill: no system bus, so the lock screen is followed only through a screen saver's signals");
        return;
    }
    system_ = system;
    findSession();
}

void LockWatcher::stop() {
    step_.reset();
    if (session_) {
        for (const auto& saver : screenSavers)
            session_->disconnect(QString(), QString::fromLatin1(saver.path), QString::fromLatin1(saver.interface),
                                 QStringLiteral("ActiveChanged"), relay_.get(), SLOT(relayActiveChanged(bool)));
    }
    session_.reset();
    system_.reset();
    // The relay's pending calls go with it, so a late answer never reaches a stopped watcher.
    relay_.reset();
    const auto effect = sequencer_.reset();
    if (center_ && std::holds_alternative<brind::LockSequencer::Teardown>(effect))
        center_->end(activityID);
    center_ = nullptr;
}

void LockWatcher::findSession() {
    // The session this program runs in: the one the login manager named in the environment, else
    // logind's own "auto" (the caller's session, or the user's graphical one).
    const char* named = std::getenv("XDG_SESSION_ID");
    const QString sessionID = named && *named ? QString::fromUtf8(named) : QStringLiteral("auto");
    auto call = QDBusMessage::createMethodCall(logind, QStringLiteral("/org/freedesktop/login1"),
                                               QStringLiteral("org.freedesktop.login1.Manager"),
                                               QStringLiteral("GetSession"));
    call << sessionID;
    auto* watcher = new QDBusPendingCallWatcher(system_->asyncCall(call), relay_.get());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, relay_.get(),
                     [this, sessionID](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         const QDBusPendingReply<QDBusObjectPath> reply = *finished;
                         if (reply.isError()) {
                             log_("vantaquill: logind knows no session \"" + sessionID.toStdString() + "\" (" +
                                  reply.error().message().toStdString() +
                                  "), so the lock screen is followed only through a screen saver's signals");
                             return;
                         }
                         followSession(reply.value().path());
                     });
}

void LockWatcher::followSession(const QString& path) {
    system_->connect(logind, path, propertiesInterface, QStringLiteral("PropertiesChanged"), relay_.get(),
                     SLOT(relayPropertiesChanged(QString, QVariantMap, QStringList)));
    // The state now, for an island started while the session is locked; a change heard before the
    // answer is newer, and wins.
    auto call = QDBusMessage::createMethodCall(logind, path, propertiesInterface, QStringLiteral("Get"));
    call << sessionInterface << QStringLiteral("LockedHint");
    auto* watcher = new QDBusPendingCallWatcher(system_->asyncCall(call), relay_.get());
    const bool before = sessionLocked_;
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, relay_.get(),
                     [this, before](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         const QDBusPendingReply<QDBusVariant> reply = *finished;
                         if (!reply.isError() && sessionLocked_ == before)
                             setLocked(sessionLocked_, reply.value().variant().toBool());
                     });
}

void LockWatcher::setLocked(bool& source, bool locked) {
    source = locked;
    const bool anyLocked = sessionLocked_ || screenSaverActive_;
    carryOut(anyLocked ? sequencer_.lock() : sequencer_.unlock());
}

void LockWatcher::carryOut(const brind::LockSequencer::Effect& effect) {
    using S = brind::LockSequencer;
    if (std::holds_alternative<S::None>(effect))
        return;
    if (const auto* schedule = std::get_if<S::Schedule>(&effect)) {
        step_ = scheduler_.schedule(schedule->after, [this, step = schedule->step, generation = schedule->generation] {
            step_.reset();
            carryOut(sequencer_.fire(step, generation));
        });
    }
    if (onPhase)
        onPhase(sequencer_.phase());
    if (std::holds_alternative<S::Teardown>(effect)) {
        step_.reset();
        if (center_)
            center_->end(activityID);
        return;
    }
    // Show, relock and the steps in between all draw the phase the sequencer is now in.
    showPhase();
}

void LockWatcher::showPhase() {
    if (center_)
        center_->post(lockActivity(sequencer_.phase()));
}

} // namespace vq
