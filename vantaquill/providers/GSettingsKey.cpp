#include "vantaquill/providers/GSettingsKey.hpp"

#include <QProcess>
#include <QStandardPaths>

namespace vq {

std::unique_ptr<GSettingsKey> GSettingsKey::follow(const QString& schema, const QString& key, OnValue onValue) {
    const QString program = QStandardPaths::findExecutable(QStringLiteral("gsettings"));
    if (program.isEmpty())
        return nullptr;
    return std::unique_ptr<GSettingsKey>(new GSettingsKey(program, schema, key, std::move(onValue)));
}

GSettingsKey::GSettingsKey(const QString& program, const QString& schema, const QString& key, OnValue onValue)
    : onValue_(std::move(onValue)), monitor_(std::make_unique<QProcess>()), reader_(std::make_unique<QProcess>()) {
    // The monitor prints "key: value" a line.
    QObject::connect(monitor_.get(), &QProcess::readyReadStandardOutput, monitor_.get(), [this, key] {
        while (monitor_->canReadLine()) {
            const QString line = QString::fromUtf8(monitor_->readLine()).trimmed();
            if (!line.startsWith(key + QStringLiteral(": ")))
                continue;
            reported_ = line.mid(key.size() + 2);
            onValue_(reported_);
        }
    });
    monitor_->start(program, {QStringLiteral("monitor"), schema, key});
    QObject::connect(reader_.get(), &QProcess::finished, reader_.get(), [this](int code) {
        if (reported_)
            onValue_(reported_);
        else if (code == 0)
            onValue_(QString::fromUtf8(reader_->readAllStandardOutput()).trimmed());
        else
            onValue_(std::nullopt);
    });
    QObject::connect(reader_.get(), &QProcess::errorOccurred, reader_.get(), [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            onValue_(reported_);
    });
    reader_->start(program, {QStringLiteral("get"), schema, key});
}

GSettingsKey::~GSettingsKey() {
    // Their answers must not reach a key that is gone.
    for (QProcess* process : {monitor_.get(), reader_.get()}) {
        QObject::disconnect(process, nullptr, nullptr, nullptr);
        process->kill();
        process->waitForFinished(1000);
    }
}

} // namespace vq
