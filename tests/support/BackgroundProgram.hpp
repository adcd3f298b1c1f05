#pragma once

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace vq {

/// A real program the test runs beside the island (a player, a sound server), with only the
/// environment given, its streams on /dev/null and a session of its own, so that it never waits on
/// a terminal. Stopped with SIGTERM when the test is done.
class BackgroundProgram {
  public:
    BackgroundProgram(const std::string& program, std::vector<std::string> arguments,
                      std::vector<std::string> environment) {
        arguments.insert(arguments.begin(), program);
        std::vector<char*> argv, envp;
        for (auto& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        for (auto& variable : environment)
            envp.push_back(variable.data());
        envp.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        for (const int descriptor : {0, 1, 2})
            posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_RDWR, 0);
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
        if (::posix_spawn(&pid, program.c_str(), &actions, &attributes, argv.data(), envp.data()) != 0)
            pid = -1;
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    ~BackgroundProgram() { quit(); }
    BackgroundProgram(const BackgroundProgram&) = delete;
    BackgroundProgram& operator=(const BackgroundProgram&) = delete;

    bool running() const { return pid > 0; }
    /// Also its process group's and its session's id; -1 once it has quit.
    pid_t processID() const { return pid; }
    void quit() {
        if (pid <= 0)
            return;
        ::kill(pid, SIGTERM);
        ::waitpid(pid, nullptr, 0);
        pid = -1;
    }

  private:
    pid_t pid = -1;
};

} // namespace vq
