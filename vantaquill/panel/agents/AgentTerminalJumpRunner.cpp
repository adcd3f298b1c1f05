#include "vantaquill/panel/agents/AgentTerminalJumpRunner.hpp"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>

namespace vq {

namespace {

QString fromStd(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

AgentTerminalJumpRunner::AgentTerminalJumpRunner(QString command, QObject* parent)
    : QObject(parent), command(std::move(command)) {}

QString AgentTerminalJumpRunner::defaultCommand() {
    const QString beside = QCoreApplication::applicationDirPath() + QStringLiteral("/vantaquill");
    if (QFileInfo(beside).isExecutable())
        return beside;
    return QStringLiteral("vantaquill");
}

QStringList AgentTerminalJumpRunner::arguments(const brind::AgentTerminalInfo& info) {
    QStringList result{QStringLiteral("jump")};
    const auto add = [&result](const char* option, const std::optional<std::string>& value) {
        if (value)
            result << QString::fromLatin1(option) << fromStd(*value);
    };
    add("--pid", info.processID);
    add("--tty", info.tty);
    add("--tmux-socket", info.tmuxSocket);
    add("--tmux-pane", info.tmuxPane);
    add("--kitty-window", info.kittyWindow);
    add("--wezterm-pane", info.weztermPane);
    return result;
}

bool AgentTerminalJumpRunner::canJump(const brind::AgentTerminalInfo& info) {
    return info.processID || info.tty || info.tmuxPane || info.kittyWindow || info.weztermPane;
}

void AgentTerminalJumpRunner::jump(const brind::AgentTerminalInfo& info, std::function<void(QString)> done) {
    auto* process = new QProcess(this);
    connect(process, &QProcess::errorOccurred, this, [process, done](QProcess::ProcessError error) {
        // A crash or time-out also ends in `finished`; only a program that never started does not.
        if (error != QProcess::FailedToStart)
            return;
        done(QStringLiteral("Couldn't run %1: %2").arg(process->program(), process->errorString()));
        process->deleteLater();
    });
    connect(process, &QProcess::finished, this, [process, done](int code, QProcess::ExitStatus status) {
        const QString said = QString::fromUtf8(process->readAllStandardOutput()).trimmed();
        const QString complaint = QString::fromUtf8(process->readAllStandardError()).trimmed();
        if (status == QProcess::NormalExit && code == 0)
            done(said);
        else
            done(complaint.isEmpty() ? QStringLiteral("The terminal could not be brought forward.") : complaint);
        process->deleteLater();
    });
    process->start(command, arguments(info));
}

} // namespace vq
