#pragma once

#include "tests/support/TemporaryFolder.hpp"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vq::e2e {

/// A throw-away home folder for one test: HOME and the XDG folders point inside it.
/// A home that has been through the island's first start (whose report window would cover the
/// screen the desktop tests look at); a test of the first start removes `firstStartMarker()`.
class TemporaryHome {
public:
    TemporaryHome();
    std::filesystem::path firstStartMarker() const { return path() / ".local/share/vantaquill/first-start-shown"; }
    const std::filesystem::path& path() const { return root.path(); }
    /// The environment a program started for this home gets (PATH and the like are kept).
    std::map<std::string, std::string> environment() const;

private:
    brindtest::TemporaryFolder root{"vantaquill-e2e"};
};

struct CommandResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

/// Runs a built program to completion with `input` on its standard input.
CommandResult run(const std::string& program, const std::vector<std::string>& arguments,
                  const std::map<std::string, std::string>& environment, const std::string& input = {});

/// The path of a program built next to the tests.
std::string builtProgram(const std::string& name);

/// The real application, started headless on a free port, whose standard output is read line by line.
class IslandProcess {
public:
    explicit IslandProcess(const TemporaryHome& home, const std::vector<std::string>& extraArguments = {});
    /// The application started with exactly these arguments and this environment (a windowed run).
    IslandProcess(const std::vector<std::string>& arguments, const std::map<std::string, std::string>& environment);
    ~IslandProcess();
    IslandProcess(const IslandProcess&) = delete;
    IslandProcess& operator=(const IslandProcess&) = delete;

    /// The port from "Listening on 127.0.0.1:<port>", or 0 when the application did not start.
    std::uint16_t port() const { return boundPort; }

    /// Its process id, for reading its /proc entries.
    int processID() const { return pid; }

    /// Waits until a line of standard output contains `text`; the line, or nothing after `timeout`.
    std::optional<std::string> waitForLine(const std::string& text,
                                           std::chrono::milliseconds timeout = std::chrono::seconds(10));

    /// Every line seen so far.
    std::vector<std::string> lines() const;

    /// Everything the application wrote on standard error; complete once it has stopped.
    std::string errors() const;

    /// Writes to the application's standard input (its headless console).
    bool sendInput(const std::string& text);

    /// Sends SIGTERM and waits for the exit code.
    int stop();

private:
    void readOutput();

    int pid = -1;
    int outputDescriptor = -1;
    int inputDescriptor = -1;
    std::uint16_t boundPort = 0;
    std::thread reader;
    std::thread errorReader;
    mutable std::mutex lock;
    std::condition_variable changed;
    std::vector<std::string> seen;
    std::string errorText;
    std::size_t consumed = 0;
    bool finished = false;
    std::optional<int> exitCode;
};

/// A TCP connection to 127.0.0.1:port; the descriptor, or -1.
int connectLoopback(std::uint16_t port);

/// Writes `request` to 127.0.0.1:port and reads until the server closes; the raw reply bytes.
std::string rawExchange(std::uint16_t port, const std::string& request,
                        std::chrono::milliseconds timeout = std::chrono::seconds(10));

/// The status code of a raw HTTP reply, or 0.
int statusOf(const std::string& reply);

/// The body of a raw HTTP reply.
std::string bodyOf(const std::string& reply);

} // namespace vq::e2e
