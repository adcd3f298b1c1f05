#pragma once

#include "BrindKit/widgets/WidgetStayAwakeMode.hpp"
#include "vantaquill/Scheduler.hpp"

#include <QDBusConnection>
#include <QObject>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vq {

/// "Stay awake": while on, logind holds off sleep and idle for us (an inhibitor lock: a descriptor
/// logind hands out and honours until it is closed, which the kernel does if the island dies), and
/// the desktop's own idle inhibitors (GNOME's session manager, the freedesktop screen saver of KDE,
/// Xfce, LXQt and the portals) keep the screen from blanking, since those desktops do not follow
/// logind's idle lock. The desktops' cookies belong to the island's bus connection, so they go
/// with a dead island too. It is on until turned off, or until a chosen moment; the mode is kept in
/// a file of the data folder so that a restart before that moment keeps the machine awake.
class StayAwake {
  public:
    using Log = std::function<void(const std::string& line)>;

    /// The mode's file in the data folder.
    static std::filesystem::path stateFile(const std::filesystem::path& dataFolder);

    /// Takes up the saved mode, if it has not run out meanwhile.
    StayAwake(Scheduler& scheduler, std::filesystem::path file, Log log);
    /// Releases what is held, waiting briefly for the desktop to hear it.
    ~StayAwake();
    StayAwake(const StayAwake&) = delete;
    StayAwake& operator=(const StayAwake&) = delete;

    /// Holds or releases the inhibitors for `mode`; a timed mode turns itself off at its moment.
    void setMode(brind::WidgetStayAwakeMode mode);
    /// The mode now (a timed mode that ran out reads as off).
    brind::WidgetStayAwakeMode mode() const { return mode_.normalised(scheduler_.now()); }
    brind::Date now() const { return scheduler_.now(); }
    /// Whether logind's lock is held now (it is asked for asynchronously: shortly after turning on).
    bool isOn() const { return lock_ >= 0; }

    /// Told after the mode changed, including when a timed mode ran out.
    std::function<void()> onChange;

  private:
    void hold(bool on);
    void take();
    void takeLock();
    /// `which` is the place of a desktop inhibitor in the table in StayAwake.cpp.
    void takeDesktop(std::size_t which);
    void desktopAnswered(bool taken);
    void release(std::size_t which, std::uint32_t cookie, bool waiting);
    void releaseAll(bool waiting);
    bool connect();
    void save() const;

    Scheduler& scheduler_;
    std::filesystem::path file_;
    Log log_;
    brind::WidgetStayAwakeMode mode_;
    std::unique_ptr<Scheduler::Timer> endTimer_;

    /// Whether the mode asks for the inhibitors now; bumped `round_` tells answers to an earlier
    /// request (turned off, or off and on again, meanwhile) to be handed back at once.
    bool wanted_ = false;
    unsigned round_ = 0;
    /// Connections of their own, so that closing them at the end also drops anything in flight.
    QString systemName_, sessionName_;
    std::optional<QDBusConnection> system_, session_;
    /// Owns the pending calls.
    std::unique_ptr<QObject> calls_;
    /// logind's descriptor (our own duplicate, not inherited by programs the island starts), or -1.
    int lock_ = -1;
    /// Cookies of the desktop inhibitors held, by their place in the table of inhibitors.
    static constexpr std::size_t desktopInhibitors = 2;
    std::optional<std::uint32_t> cookies_[desktopInhibitors];
    int desktopAnswers_ = 0;
    bool desktopTaken_ = false;
    bool toldNoLogind_ = false;
    bool toldNoDesktop_ = false;
};

} // namespace vq
