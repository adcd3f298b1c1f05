#include "cli/DoctorProbe.hpp"
#include "cli/ProgramSearch.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/Paths.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sstream>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace vq {

namespace {

std::optional<std::string> environment(const char* name) {
    const char* value = std::getenv(name);
    if (!value || !*value)
        return std::nullopt;
    return std::string(value);
}

std::optional<std::string> onPath(const std::string& program) {
    const auto found = ProgramSearch::find(program);
    return found ? std::optional(found->string()) : std::nullopt;
}

std::optional<std::set<std::string>> listNames(const std::string& busOption, const std::string& method) {
    const auto reply = DoctorProbe::run({"dbus-send", busOption, "--print-reply", "--reply-timeout=1500",
                                         "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                                         "org.freedesktop.DBus." + method});
    if (!reply)
        return std::nullopt;
    return DoctorProbe::busNames(*reply);
}

std::optional<std::set<std::string>> namesOnBus(const std::string& busOption) {
    auto names = listNames(busOption, "ListNames");
    if (!names)
        return std::nullopt;
    if (auto activatable = listNames(busOption, "ListActivatableNames"))
        names->merge(*activatable);
    return names;
}

std::string desktopName() {
    if (auto desktop = environment("XDG_CURRENT_DESKTOP"))
        return *desktop;
    if (environment("SWAYSOCK"))
        return "sway";
    if (environment("HYPRLAND_INSTANCE_SIGNATURE"))
        return "Hyprland";
    return {};
}

DoctorFacts::Agent agent(std::string name, std::string program, const std::filesystem::path& config) {
    DoctorFacts::Agent found{.name = std::move(name), .program = program, .path = onPath(program),
                             .configFile = config.string()};
    const auto contents = brind::AtomicFile::read(config);
    found.hooked = contents && contents->find("vantaquill hook") != std::string::npos;
    return found;
}

std::vector<DoctorFacts::Agent> agents() {
    const std::filesystem::path home = environment("HOME").value_or("");
    return {agent("Claude Code", "claude", home / ".claude/settings.json"),
            agent("Codex", "codex", home / ".codex/hooks.json"),
            agent("Gemini CLI", "gemini", home / ".gemini/settings.json"),
            agent("Cursor", "cursor-agent", home / ".cursor/hooks.json")};
}

} // namespace

std::optional<std::string> DoctorProbe::run(const std::vector<std::string>& arguments, std::chrono::milliseconds timeout) {
    const auto program = onPath(arguments.front());
    if (!program)
        return std::nullopt;
    int output[2];
    if (::pipe2(output, O_CLOEXEC) != 0)
        return std::nullopt;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    std::vector<char*> argv;
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, program->c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(output[1]);
    if (spawned != 0) {
        ::close(output[0]);
        return std::nullopt;
    }

    std::string text;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    bool timedOut = false;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            timedOut = true;
            break;
        }
        pollfd descriptor{.fd = output[0], .events = POLLIN, .revents = 0};
        const int ready = ::poll(&descriptor, 1, static_cast<int>(left.count()));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0) {
            timedOut = ready == 0;
            break;
        }
        char buffer[4096];
        const ssize_t count = ::read(output[0], buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        text.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(output[0]);
    if (timedOut)
        ::kill(pid, SIGKILL);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (timedOut || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return std::nullopt;
    return text;
}

std::set<std::string> DoctorProbe::waylandGlobals(const std::string& waylandInfo) {
    std::set<std::string> globals;
    constexpr std::string_view marker = "interface: '";
    for (std::size_t at = waylandInfo.find(marker); at != std::string::npos; at = waylandInfo.find(marker, at)) {
        at += marker.size();
        const auto end = waylandInfo.find('\'', at);
        if (end == std::string::npos)
            break;
        globals.insert(waylandInfo.substr(at, end - at));
    }
    return globals;
}

std::set<std::string> DoctorProbe::x11Extensions(const std::string& xdpyinfo) {
    // "number of extensions:    28" is followed by one indented name per line (with opcodes when
    // -queryExtensions is given); the next unindented line ends the list.
    std::set<std::string> extensions;
    std::stringstream lines(xdpyinfo);
    std::string line;
    bool inList = false;
    while (std::getline(lines, line)) {
        if (line.starts_with("number of extensions:")) {
            inList = true;
            continue;
        }
        if (!inList)
            continue;
        if (line.empty() || (line[0] != ' ' && line[0] != '\t'))
            break;
        std::stringstream words(line);
        std::string name;
        words >> name;
        if (!name.empty())
            extensions.insert(name);
    }
    return extensions;
}

std::set<std::string> DoctorProbe::busNames(const std::string& dbusSend) {
    std::set<std::string> names;
    constexpr std::string_view marker = "string \"";
    for (std::size_t at = dbusSend.find(marker); at != std::string::npos; at = dbusSend.find(marker, at)) {
        at += marker.size();
        const auto end = dbusSend.find('"', at);
        if (end == std::string::npos)
            break;
        names.insert(dbusSend.substr(at, end - at));
    }
    return names;
}

DoctorFacts DoctorProbe::gather() {
    DoctorFacts facts;
    facts.sessionType = environment("XDG_SESSION_TYPE").value_or("");
    facts.desktop = desktopName();
    facts.waylandDisplay = environment("WAYLAND_DISPLAY");
    facts.x11Display = environment("DISPLAY");
    if (facts.waylandDisplay) {
        // wayland-info exits non-zero when it cannot connect; without it, connecting is untested and
        // the display is taken at its word.
        const bool haveTool = onPath("wayland-info").has_value();
        const auto info = haveTool ? run({"wayland-info"}) : std::nullopt;
        facts.waylandReachable = haveTool ? info.has_value() : true;
        if (info)
            facts.waylandGlobals = waylandGlobals(*info);
    }
    if (facts.x11Display) {
        const bool haveTool = onPath("xdpyinfo").has_value();
        const auto info = haveTool ? run({"xdpyinfo", "-queryExtensions"}) : std::nullopt;
        facts.x11Reachable = haveTool ? info.has_value() : true;
        if (info)
            facts.x11Extensions = x11Extensions(*info);
    }
    facts.sessionBusAddress = brind::Paths::sessionBusAddress();
    if (facts.sessionBusAddress)
        facts.sessionNames = namesOnBus("--bus=" + *facts.sessionBusAddress);
    facts.systemNames = namesOnBus("--system");
    facts.agents = agents();
    return facts;
}

} // namespace vq
