#pragma once

#include "BrindKit/widgets/WidgetStayAwakeMode.hpp"
#include "vantaquill/Scheduler.hpp"

#include <QProcess>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace vq {

/// "Stay awake": while on, logind holds off idle blanking and sleep for us (an inhibitor lock taken
/// by `systemd-inhibit`, released when the helper process ends, so also if the island dies). It is
/// on until turned off, or until a chosen moment; the mode is kept in a file of the data folder so
/// that a restart before that moment keeps the machine awake.
class StayAwake {
public:
    using Log = std::function<void(const std::string& line)>;

    /// The mode's file in the data folder.
    static std::filesystem::path stateFile(const std::filesystem::path& dataFolder);

    /// Takes up the saved mode, if it has not run out meanwhile.
    StayAwake(Scheduler& scheduler, std::filesystem::path file, Log log);
    ~StayAwake();
    StayAwake(const StayAwake&) = delete;
    StayAwake& operator=(const StayAwake&) = delete;

    /// Holds or releases the inhibitor for `mode`; a timed mode turns itself off at its moment.
    void setMode(brind::WidgetStayAwakeMode mode);
    /// The mode now (a timed mode that ran out reads as off).
    brind::WidgetStayAwakeMode mode() const { return mode_.normalised(scheduler_.now()); }
    brind::Date now() const { return scheduler_.now(); }
    /// Whether the inhibitor is held now.
    bool isOn() const;

    /// Told after the mode changed, including when a timed mode ran out.
    std::function<void()> onChange;

private:
    void hold(bool on);
    void save() const;

    Scheduler& scheduler_;
    std::filesystem::path file_;
    Log log_;
    brind::WidgetStayAwakeMode mode_;
    std::unique_ptr<QProcess> inhibitor_;
    std::unique_ptr<Scheduler::Timer> endTimer_;
};

} // namespace vq
