#pragma once

#include "tests/e2e/E2EProcess.hpp"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace vq::packagetest {

/// A private session bus listening on FOLDER/bus: a home whose XDG_RUNTIME_DIR is FOLDER finds it
/// there, as a desktop session's programs find theirs, and tests running side by side never meet.
class PrivateSessionBus {
public:
    explicit PrivateSessionBus(const std::filesystem::path& folder) : socket(folder / "bus") {
        const auto started = e2e::run("/usr/bin/dbus-daemon",
                                      {"--session", "--fork", "--print-pid=1", "--address=unix:path=" + socket.string()},
                                      {{"PATH", std::getenv("PATH") ? std::getenv("PATH") : "/usr/bin:/bin"}});
        if (started.exitCode == 0)
            pid = std::atoi(started.out.c_str());
    }
    ~PrivateSessionBus() {
        if (pid > 0)
            ::kill(pid, SIGTERM);
    }
    PrivateSessionBus(const PrivateSessionBus&) = delete;
    PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;

    bool running() const { return pid > 0; }
    std::string address() const { return "unix:path=" + socket.string(); }

    /// Calls a method of the bus itself with one string argument; dbus-send's printed reply.
    e2e::CommandResult askBus(const std::string& method, const std::string& argument) const {
        return e2e::run("/usr/bin/dbus-send",
                        {"--bus=" + address(), "--print-reply", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                         "org.freedesktop.DBus." + method, "string:" + argument},
                        {});
    }

private:
    std::filesystem::path socket;
    int pid = -1;
};

} // namespace vq::packagetest
