#pragma once

#include "BrindKit/agents/AgentTerminalInfo.hpp"

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

namespace vq {

/// Brings an agent's terminal forward by running `vantaquill jump` with what the hooks reported.
/// The command already plans and carries out every Linux jump (tmux, the terminal's own tab, the
/// window through the desktop); running it keeps tmux, xdotool and D-Bus calls off the island's
/// main thread and keeps one runner for the command line and the island.
class AgentTerminalJumpRunner : public QObject {
public:
    /// `command` is the `vantaquill` program.
    explicit AgentTerminalJumpRunner(QString command, QObject* parent = nullptr);

    /// The `vantaquill` installed beside the island, else the one on PATH.
    static QString defaultCommand();

    /// The command's arguments for a terminal: "jump" and one option per known detail.
    static QStringList arguments(const brind::AgentTerminalInfo& info);
    /// Whether the details say enough for the command to find anything.
    static bool canJump(const brind::AgentTerminalInfo& info);

    /// Runs the jump; `done` hears, on the main thread, what the user should read: the command's
    /// explanation when the window cannot be raised here, its error when it failed, else nothing.
    void jump(const brind::AgentTerminalInfo& info, std::function<void(QString message)> done);

private:
    QString command;
};

} // namespace vq
