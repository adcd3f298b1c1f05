#include "vantaquill/settings/StayAwake.hpp"

namespace vq {

StayAwake::~StayAwake() {
    setOn(false);
}

bool StayAwake::isOn() const {
    return inhibitor && inhibitor->state() != QProcess::NotRunning;
}

void StayAwake::setOn(bool on) {
    if (on == isOn())
        return;
    if (!on) {
        // Ending it ourselves is not worth a log line.
        QObject::disconnect(inhibitor.get(), nullptr, nullptr, nullptr);
        inhibitor->terminate();
        inhibitor->waitForFinished(1000);
        inhibitor.reset();
        return;
    }
    inhibitor = std::make_unique<QProcess>();
    QObject::connect(inhibitor.get(), &QProcess::finished, [this](int code) {
        log("vantaquill: stay awake ended: systemd-inhibit exited with " + std::to_string(code) + " (" +
            inhibitor->readAllStandardError().trimmed().toStdString() + ")");
    });
    QObject::connect(inhibitor.get(), &QProcess::errorOccurred, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            log("vantaquill: stay awake needs systemd-inhibit, which could not be started");
    });
    inhibitor->start("systemd-inhibit", {"--what=idle:sleep", "--who=vantaquill", "--why=Stay awake is on",
                                         "--mode=block", "sleep", "infinity"});
}

} // namespace vq
