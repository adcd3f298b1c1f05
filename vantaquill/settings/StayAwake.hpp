#pragma once

#include <QProcess>

#include <functional>
#include <memory>
#include <string>

namespace vq {

/// "Stay awake": while on, logind holds off idle blanking and sleep for us (an inhibitor lock taken
/// by `systemd-inhibit`, released when the helper process ends).
class StayAwake {
public:
    using Log = std::function<void(const std::string& line)>;

    explicit StayAwake(Log log) : log(std::move(log)) {}
    ~StayAwake();
    StayAwake(const StayAwake&) = delete;
    StayAwake& operator=(const StayAwake&) = delete;

    void setOn(bool on);
    /// Whether the inhibitor is held now.
    bool isOn() const;

private:
    Log log;
    std::unique_ptr<QProcess> inhibitor;
};

} // namespace vq
