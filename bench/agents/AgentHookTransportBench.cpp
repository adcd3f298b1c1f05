// One Claude Code hook call, end to end against a running headless island: through the
// `vantaquill hook` command (what a "command" hook entry costs: a process start, stdin, one HTTP
// request) and through Claude Code's "http" hook type (one HTTP request, as the agent would post
// it). Each benchmark times every call and reports the median as p50_ms.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <optional>
#include <spawn.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// A PreToolUse call for Bash: answered at once (nothing held), as on most tool uses.
const std::string payload =
    R"({"session_id":"8f3c2a1e-5b7d-4e0f-9a6c-2d1b0e9f8a7c","cwd":"/home/ada/src/lighthouse",)"
    R"("hook_event_name":"PreToolUse","tool_name":"Bash","tool_input":{"command":"npm test"}})";

fs::path binFolder() { return fs::read_symlink("/proc/self/exe").parent_path(); }

std::vector<std::string> environmentFor(const fs::path& home, std::uint16_t port) {
    std::vector<std::string> result = {"HOME=" + home.string(),
                                       "XDG_DATA_HOME=" + (home / ".local/share").string(),
                                       "XDG_CONFIG_HOME=" + (home / ".config").string(),
                                       "XDG_RUNTIME_DIR=" + home.string(), "QT_QPA_PLATFORM=offscreen",
                                       "PATH=/usr/bin:/bin"};
    if (port != 0)
        result.push_back("VANTAQUILL_PORT=" + std::to_string(port));
    return result;
}

pid_t spawn(const std::string& program, const std::vector<std::string>& arguments,
            const std::vector<std::string>& environment, int input, int output) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (input >= 0)
        posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    if (output >= 0)
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (const auto& entry : environment)
        envp.push_back(const_cast<char*>(entry.c_str()));
    envp.push_back(nullptr);
    pid_t pid = -1;
    if (::posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), envp.data()) != 0)
        pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

// The headless island in a throw-away home, for the whole program run.
class Island {
public:
    Island() {
        char pattern[] = "/tmp/vantaquill-bench-XXXXXX";
        home_ = ::mkdtemp(pattern);
        fs::create_directories(home_ / ".config/vantaquill");
        int output[2];
        if (::pipe2(output, O_CLOEXEC) != 0)
            return;
        pid_ = spawn((binFolder() / "vantaquill-island").string(), {"--headless", "--port", "0"},
                     environmentFor(home_, 0), -1, output[1]);
        ::close(output[1]);
        std::string seen;
        char buffer[512];
        constexpr std::string_view prefix = "Listening on 127.0.0.1:";
        for (ssize_t count; port_ == 0 && (count = ::read(output[0], buffer, sizeof buffer)) > 0;) {
            seen.append(buffer, static_cast<std::size_t>(count));
            if (const auto at = seen.find(prefix); at != std::string::npos && seen.find('\n', at) != std::string::npos)
                port_ = static_cast<std::uint16_t>(std::stoi(seen.substr(at + prefix.size())));
        }
        output_ = output[0];
        std::ifstream tokenFile(home_ / ".local/share/vantaquill/hook-token");
        tokenFile >> token_;
    }
    ~Island() {
        if (pid_ > 0) {
            ::kill(pid_, SIGTERM);
            ::waitpid(pid_, nullptr, 0);
        }
        ::close(output_);
        std::error_code ignored;
        fs::remove_all(home_, ignored);
    }
    std::uint16_t port() const { return port_; }
    const fs::path& home() const { return home_; }
    const std::string& token() const { return token_; }

private:
    fs::path home_;
    pid_t pid_ = -1;
    int output_ = -1;
    std::uint16_t port_ = 0;
    std::string token_;
};

Island& island() {
    static Island instance;
    return instance;
}

bool complete(const std::string& reply) {
    const auto end = reply.find("\r\n\r\n");
    if (end == std::string::npos)
        return false;
    const auto length = reply.find("Content-Length: ");
    const std::size_t body = length == std::string::npos || length > end ? 0 : std::stoul(reply.substr(length + 16));
    return reply.size() >= end + 4 + body;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values.empty() ? 0 : values[values.size() / 2];
}

void finish(benchmark::State& state, const std::vector<double>& milliseconds, int failures) {
    state.counters["p50_ms"] = median(milliseconds);
    state.counters["failures"] = failures;
}

void claudeHookThroughCommand(benchmark::State& state) {
    const std::string program = (binFolder() / "vantaquill").string();
    const auto environment = environmentFor(island().home(), island().port());
    std::vector<double> milliseconds;
    int failures = 0;
    for (auto _ : state) {
        const auto start = Clock::now();
        int input[2];
        if (::pipe2(input, O_CLOEXEC) != 0)
            break;
        const pid_t pid = spawn(program, {"hook", "--agent", "claude-code"}, environment, input[0], -1);
        ::close(input[0]);
        if (::write(input[1], payload.data(), payload.size()) != static_cast<ssize_t>(payload.size()))
            ++failures;
        ::close(input[1]);
        int status = 0;
        ::waitpid(pid, &status, 0);
        if (pid < 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
            ++failures;
        const std::chrono::duration<double, std::milli> elapsed = Clock::now() - start;
        milliseconds.push_back(elapsed.count());
        state.SetIterationTime(elapsed.count() / 1000);
    }
    finish(state, milliseconds, failures);
}
BENCHMARK(claudeHookThroughCommand)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(300);

void claudeHookThroughHTTP(benchmark::State& state) {
    const std::string request = "POST /v1/agents/hook?agent=claude-code&event=PreToolUse HTTP/1.1\r\nHost: 127.0.0.1:" +
                                std::to_string(island().port()) + "\r\nContent-Type: application/json\r\n" +
                                "x-vantaquill-hook: " + island().token() + "\r\nContent-Length: " +
                                std::to_string(payload.size()) + "\r\n\r\n" + payload;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(island().port());
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::vector<double> milliseconds;
    int failures = 0;
    for (auto _ : state) {
        const auto start = Clock::now();
        const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        std::string reply;
        if (::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
            ::send(socket, request.data(), request.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(request.size())) {
            // Read up to the end of the body, as Claude Code and the command do; the server closes
            // the connection a little later.
            char buffer[4096];
            for (ssize_t count; !complete(reply) && (count = ::recv(socket, buffer, sizeof buffer, 0)) > 0;)
                reply.append(buffer, static_cast<std::size_t>(count));
        }
        ::close(socket);
        if (!reply.starts_with("HTTP/1.1 200"))
            ++failures;
        const std::chrono::duration<double, std::milli> elapsed = Clock::now() - start;
        milliseconds.push_back(elapsed.count());
        state.SetIterationTime(elapsed.count() / 1000);
    }
    finish(state, milliseconds, failures);
}
BENCHMARK(claudeHookThroughHTTP)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(300);

} // namespace

BENCHMARK_MAIN();
