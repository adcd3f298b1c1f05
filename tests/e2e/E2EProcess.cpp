#include "tests/e2e/E2EProcess.hpp"

#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace vq::e2e {

namespace {

constexpr std::string_view listeningPrefix = "Listening on 127.0.0.1:";

std::vector<char*> pointers(std::vector<std::string>& strings) {
    std::vector<char*> result;
    for (auto& text : strings)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

// A started program: its pid (or -1) and the parent's ends of pipes on its standard streams.
struct Child {
    int pid = -1;
    int input = -1;
    int output = -1;
    int error = -1;
};

Child spawn(const std::string& program, const std::vector<std::string>& arguments,
            const std::map<std::string, std::string>& environment) {
    int in[2], out[2], err[2];
    if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0)
        return {};
    std::vector<std::string> argv = {program};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables;
    for (const auto& [name, value] : environment)
        variables.push_back(name + "=" + value);
    auto argvPointers = pointers(argv);
    auto envPointers = pointers(variables);
    const int pid = ::fork();
    if (pid == 0) {
        // The pipes' own descriptors close on exec; the copies on 0, 1 and 2 stay.
        ::dup2(in[0], STDIN_FILENO);
        ::dup2(out[1], STDOUT_FILENO);
        ::dup2(err[1], STDERR_FILENO);
        ::execve(program.c_str(), argvPointers.data(), envPointers.data());
        ::_exit(127);
    }
    ::close(in[0]);
    ::close(out[1]);
    ::close(err[1]);
    return {pid, in[1], out[0], err[0]};
}

std::string drain(int descriptor) {
    std::string text;
    char buffer[4096];
    for (;;) {
        const ssize_t count = ::read(descriptor, buffer, sizeof buffer);
        if (count > 0) {
            text.append(buffer, static_cast<std::size_t>(count));
            continue;
        }
        if (count < 0 && errno == EINTR)
            continue;
        return text;
    }
}

// True once the head and Content-Length bytes of body have arrived.
bool isComplete(const std::string& reply) {
    const auto headEnd = reply.find("\r\n\r\n");
    if (headEnd == std::string::npos)
        return false;
    const auto field = reply.find("\r\nContent-Length: ");
    if (field == std::string::npos || field > headEnd)
        return false;
    const auto length = std::strtoull(reply.c_str() + field + 18, nullptr, 10);
    return reply.size() >= headEnd + 4 + length;
}

} // namespace

TemporaryHome::TemporaryHome() {
    std::filesystem::create_directories(firstStartMarker().parent_path());
    std::ofstream{firstStartMarker()};
}

std::map<std::string, std::string> TemporaryHome::environment() const {
    std::map<std::string, std::string> result;
    for (const char* name : {"PATH", "LANG", "LC_ALL", "TZ"}) {
        if (const char* value = std::getenv(name))
            result[name] = value;
    }
    result["HOME"] = path().string();
    result["XDG_DATA_HOME"] = (path() / ".local/share").string();
    result["XDG_CONFIG_HOME"] = (path() / ".config").string();
    result["XDG_RUNTIME_DIR"] = path().string();
    result["QT_QPA_PLATFORM"] = "offscreen";
    return result;
}

std::string builtProgram(const std::string& name) {
    return std::string(BRIND_BIN_DIR) + "/" + name;
}

CommandResult run(const std::string& program, const std::vector<std::string>& arguments,
                  const std::map<std::string, std::string>& environment, const std::string& input) {
    const Child child = spawn(program, arguments, environment);
    if (child.pid < 0)
        return {};
    std::thread writer([&] {
        // A program that exits without reading its input (a usage error, --help) closes the pipe:
        // the write fails with EPIPE instead of the signal ending the test.
        sigset_t pipeSignal;
        sigemptyset(&pipeSignal);
        sigaddset(&pipeSignal, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
        std::size_t written = 0;
        while (written < input.size()) {
            const ssize_t count = ::write(child.input, input.data() + written, input.size() - written);
            if (count <= 0)
                break;
            written += static_cast<std::size_t>(count);
        }
        ::close(child.input);
    });
    CommandResult result;
    std::thread errorReader([&] { result.err = drain(child.error); });
    result.out = drain(child.output);
    errorReader.join();
    writer.join();
    ::close(child.output);
    ::close(child.error);
    int status = 0;
    ::waitpid(child.pid, &status, 0);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

IslandProcess::IslandProcess(const TemporaryHome& home, const std::vector<std::string>& extraArguments)
    : IslandProcess(
          [&] {
              std::vector<std::string> arguments = {"--headless", "--port", "0"};
              arguments.insert(arguments.end(), extraArguments.begin(), extraArguments.end());
              return arguments;
          }(),
          home.environment()) {}

IslandProcess::IslandProcess(const std::vector<std::string>& arguments,
                             const std::map<std::string, std::string>& environment) {
    const Child child = spawn(builtProgram("vantaquill-island"), arguments, environment);
    if (child.pid < 0)
        return;
    pid = child.pid;
    inputDescriptor = child.input;
    // The application's diagnostics are kept for the test and go to its own stderr, where ctest
    // shows them on failure.
    errorReader = std::thread([this, descriptor = child.error] {
        const std::string text = drain(descriptor);
        ::close(descriptor);
        if (!text.empty())
            std::fprintf(stderr, "[vantaquill-island] %s", text.c_str());
        std::lock_guard guard(lock);
        errorText = text;
    });
    outputDescriptor = child.output;
    reader = std::thread([this] { readOutput(); });
    if (const auto line = waitForLine(std::string(listeningPrefix))) {
        const auto at = line->find(listeningPrefix);
        boundPort = static_cast<std::uint16_t>(std::atoi(line->c_str() + at + listeningPrefix.size()));
    }
}

IslandProcess::~IslandProcess() {
    stop();
    if (inputDescriptor >= 0)
        ::close(inputDescriptor);
    if (reader.joinable())
        reader.join();
    if (errorReader.joinable())
        errorReader.join();
    if (outputDescriptor >= 0)
        ::close(outputDescriptor);
}

void IslandProcess::readOutput() {
    std::string pending;
    char buffer[4096];
    for (;;) {
        const ssize_t count = ::read(outputDescriptor, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        pending.append(buffer, static_cast<std::size_t>(count));
        std::size_t end;
        while ((end = pending.find('\n')) != std::string::npos) {
            std::lock_guard guard(lock);
            seen.push_back(pending.substr(0, end));
            pending.erase(0, end + 1);
            changed.notify_all();
        }
    }
    std::lock_guard guard(lock);
    finished = true;
    changed.notify_all();
}

std::optional<std::string> IslandProcess::waitForLine(const std::string& text, std::chrono::milliseconds timeout) {
    std::unique_lock guard(lock);
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        for (; consumed < seen.size(); ++consumed) {
            if (seen[consumed].find(text) != std::string::npos)
                return seen[consumed++];
        }
        // Lines that came with the time-out are still looked at once.
        if (finished ||
            (changed.wait_until(guard, deadline) == std::cv_status::timeout && consumed == seen.size()))
            return std::nullopt;
    }
}

bool IslandProcess::sendInput(const std::string& text) {
    return inputDescriptor >= 0 && ::write(inputDescriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

std::vector<std::string> IslandProcess::lines() const {
    std::lock_guard guard(lock);
    return seen;
}

std::string IslandProcess::errors() const {
    std::lock_guard guard(lock);
    return errorText;
}

int IslandProcess::stop() {
    if (exitCode)
        return *exitCode;
    if (pid <= 0)
        return -1;
    ::kill(pid, SIGTERM);
    int status = 0;
    ::waitpid(pid, &status, 0);
    exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    // Its standard error ends with it: once read to the end, `errors()` is complete.
    if (errorReader.joinable())
        errorReader.join();
    return *exitCode;
}

int connectLoopback(std::uint16_t port) {
    const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(descriptor);
        return -1;
    }
    return descriptor;
}

std::string rawExchange(std::uint16_t port, const std::string& request, std::chrono::milliseconds timeout) {
    const int descriptor = connectLoopback(port);
    if (descriptor < 0)
        return {};
    std::size_t written = 0;
    while (written < request.size()) {
        const ssize_t count = ::send(descriptor, request.data() + written, request.size() - written, MSG_NOSIGNAL);
        if (count <= 0)
            break;
        written += static_cast<std::size_t>(count);
    }
    std::string reply;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            break;
        pollfd poll{descriptor, POLLIN, 0};
        if (::poll(&poll, 1, static_cast<int>(left.count())) <= 0)
            break;
        char buffer[4096];
        const ssize_t count = ::recv(descriptor, buffer, sizeof buffer, 0);
        if (count <= 0)
            break;
        reply.append(buffer, static_cast<std::size_t>(count));
        // The server closes 50 ms after answering; a complete reply need not wait for that.
        if (isComplete(reply))
            break;
    }
    ::close(descriptor);
    return reply;
}

int statusOf(const std::string& reply) {
    if (reply.size() < 12 || !reply.starts_with("HTTP/1.1 "))
        return 0;
    return std::atoi(reply.c_str() + 9);
}

std::string bodyOf(const std::string& reply) {
    const auto end = reply.find("\r\n\r\n");
    return end == std::string::npos ? std::string{} : reply.substr(end + 4);
}

} // namespace vq::e2e
