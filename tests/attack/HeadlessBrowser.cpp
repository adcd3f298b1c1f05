#include "tests/attack/HeadlessBrowser.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace vq::attack {

HeadlessBrowser::HeadlessBrowser(const std::string& url, const std::vector<std::string>& extraArguments) {
    // Without the background-networking switches chromium reaches for the network at start-up; as
    // root it needs --no-sandbox.
    std::vector<std::string> arguments = {program,
                                          "--headless=new",
                                          "--no-sandbox",
                                          "--disable-gpu",
                                          "--disable-quic",
                                          "--no-first-run",
                                          "--disable-background-networking",
                                          "--disable-component-update",
                                          "--disable-sync",
                                          "--user-data-dir=" + (profile.path() / "profile").string()};
    arguments.insert(arguments.end(), extraArguments.begin(), extraArguments.end());
    arguments.push_back(url);
    std::vector<char*> pointers;
    for (auto& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    const std::string errors = (profile.path() / "stderr").string();

    const int pid = ::fork();
    if (pid == 0) {
        ::setpgid(0, 0);
        const int sink = ::open("/dev/null", O_RDWR);
        const int log = ::open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::dup2(sink, STDIN_FILENO);
        ::dup2(sink, STDOUT_FILENO);
        ::dup2(log, STDERR_FILENO);
        ::execv(program, pointers.data());
        ::_exit(127);
    }
    if (pid > 0) {
        ::setpgid(pid, pid); // also from here, so the group exists before the destructor can run
        group = pid;
    }
}

HeadlessBrowser::~HeadlessBrowser() {
    if (group <= 0)
        return;
    ::kill(-group, SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    int status = 0;
    while (::waitpid(group, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            ::kill(-group, SIGKILL);
            ::waitpid(group, &status, 0);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    // Helpers that outlived the browser process go with its group.
    ::kill(-group, SIGKILL);
}

std::string HeadlessBrowser::diagnostics() const {
    return brind::AtomicFile::read(profile.path() / "stderr").value_or("");
}

} // namespace vq::attack
