#include "vantaquill/settings/StayAwake.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"

#include <utility>

namespace vq {

std::filesystem::path StayAwake::stateFile(const std::filesystem::path& dataFolder) {
    return dataFolder / "stay-awake.json";
}

StayAwake::StayAwake(Scheduler& scheduler, std::filesystem::path file, Log log)
    : scheduler_(scheduler), file_(std::move(file)), log_(std::move(log)) {
    const auto saved = brind::AtomicFile::read(file_);
    if (!saved)
        return;
    const auto parsed = brind::JSONText::parse(*saved);
    // Unreadable means off: keeping the machine awake by mistake is the worse failure.
    setMode(parsed ? brind::WidgetStayAwakeMode::fromJSON(*parsed) : brind::WidgetStayAwakeMode::off());
}

StayAwake::~StayAwake() {
    endTimer_.reset();
    hold(false);
}

bool StayAwake::isOn() const {
    return inhibitor_ && inhibitor_->state() != QProcess::NotRunning;
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
    if (on == isOn())
        return;
    if (!on) {
        // Ending it ourselves is not worth a log line.
        QObject::disconnect(inhibitor_.get(), nullptr, nullptr, nullptr);
        inhibitor_->terminate();
        inhibitor_->waitForFinished(1000);
        inhibitor_.reset();
        return;
    }
    inhibitor_ = std::make_unique<QProcess>();
    QObject::connect(inhibitor_.get(), &QProcess::finished, [this](int code) {
        log_("vantaquill: stay awake ended: systemd-inhibit exited with " + std::to_string(code) + " (" +
             inhibitor_->readAllStandardError().trimmed().toStdString() + ")");
    });
    QObject::connect(inhibitor_.get(), &QProcess::errorOccurred, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            log_("vantaquill: stay awake needs systemd-inhibit, which could not be started");
    });
    inhibitor_->start("systemd-inhibit", {"--what=idle:sleep", "--who=vantaquill", "--why=Stay awake is on",
                                          "--mode=block", "sleep", "infinity"});
}

} // namespace vq
