#pragma once

#include "BrindKit/system/LockSequencer.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/providers/LockSignalRelay.hpp"

#include <QDBusConnection>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vq {

/// Follows the session's lock: logind's `LockedHint` on the user's session (every locker that
/// tells logind: GNOME, KDE, swaylock and xss-lock setups through their session manager) and the
/// screen savers' `ActiveChanged` on the session bus (org.freedesktop.ScreenSaver,
/// org.gnome.ScreenSaver). The session counts as locked while either says so. It drives
/// `LockSequencer` and carries out its effects in the island's ordinary surface: a closed lock while
/// locked (seen only where the locker leaves the island visible), the lock opening on unlock, held,
/// then collapsing and gone.
class LockWatcher final : public LiveActivityCenter::Provider {
  public:
    static constexpr std::string_view providerID = "lock";
    /// The one activity the lock shows.
    static constexpr std::string_view activityID = "lock.screen";
    using Log = std::function<void(const std::string&)>;
    /// Asked at each lock for the animation's durations (the reduce-motion setting may have changed).
    using Timing = std::function<brind::LockTiming()>;

    LockWatcher(Scheduler& scheduler, Log log, Timing timing);
    ~LockWatcher() override;
    LockWatcher(const LockWatcher&) = delete;
    LockWatcher& operator=(const LockWatcher&) = delete;

    std::string id() const override { return std::string(providerID); }
    void start(LiveActivityCenter& center) override;
    void stop() override;

    brind::LockPhase phase() const { return sequencer_.phase(); }
    /// Told after every change of phase.
    std::function<void(brind::LockPhase)> onPhase;

  private:
    void findSession();
    void followSession(const QString& path);
    void setLocked(bool& source, bool locked);
    void carryOut(const brind::LockSequencer::Effect& effect);
    void showPhase();

    Scheduler& scheduler_;
    Log log_;
    Timing timing_;
    brind::LockSequencer sequencer_;
    LiveActivityCenter* center_ = nullptr;
    /// Hears the buses' signals, and owns the watcher's pending calls.
    std::unique_ptr<LockSignalRelay> relay_;
    std::optional<QDBusConnection> system_;
    std::optional<QDBusConnection> session_;
    bool sessionLocked_ = false;
    bool screenSaverActive_ = false;
    std::unique_ptr<Scheduler::Timer> step_;
};

} // namespace vq
