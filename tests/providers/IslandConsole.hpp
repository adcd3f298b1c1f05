#pragma once

#include "tests/e2e/E2EProcess.hpp"

#include <QCoreApplication>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vq {

/// How long a test waits for the island, or a service beside it, to answer.
inline constexpr std::chrono::seconds patience{20};

/// Asks `done` every `every` until it holds or `patience` runs out; whether it held.
inline bool eventually(const std::function<bool()>& done,
                       std::chrono::milliseconds every = std::chrono::milliseconds(100)) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(every);
    }
    return true;
}

/// Runs the Qt event loop until `done` holds or `patience` runs out; whether it held.
inline bool pumpUntil(const std::function<bool()>& done) {
    return eventually(
        [&] {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            return done();
        },
        std::chrono::milliseconds(5));
}

/// The real island, headless on port 0 in `home`, with `variables` added to its environment (a
/// private system bus, a desktop's name) and `extra` arguments after its own.
inline std::unique_ptr<e2e::IslandProcess> islandWith(const e2e::TemporaryHome& home,
                                                      const std::map<std::string, std::string>& variables,
                                                      const std::vector<std::string>& extra = {}) {
    auto environment = home.environment();
    for (const auto& [name, value] : variables)
        environment[name] = value;
    std::vector<std::string> arguments{"--headless", "--port", "0"};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    return std::make_unique<e2e::IslandProcess>(arguments, environment);
}

/// Runs the real dbus-send on `bus` with `arguments`: a call, or a signal.
inline e2e::CommandResult dbusSend(const std::string& bus, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "--bus=" + bus);
    return e2e::run("/usr/bin/dbus-send", arguments, {});
}

/// Waits until the island has started its providers: its console answers only after that.
inline bool providersStarted(e2e::IslandProcess& island) {
    return island.sendInput("dismiss nothing\n") && island.waitForLine("console refused", patience);
}

/// Whether a line printed so far contains `text`. Unlike `waitForLine`, it neither waits nor moves on.
inline bool sawLine(const e2e::IslandProcess& island, const std::string& text) {
    for (const auto& line : island.lines())
        if (line.find(text) != std::string::npos)
            return true;
    return false;
}

/// A missing service is said in one line, once: `text` is in `errors` exactly one time.
inline testing::AssertionResult saidOnce(const std::string& errors, const std::string& text) {
    const auto first = errors.find(text);
    if (first == std::string::npos)
        return testing::AssertionFailure() << "never said \"" << text << "\" in:\n" << errors;
    if (errors.rfind(text) != first)
        return testing::AssertionFailure() << "said \"" << text << "\" more than once in:\n" << errors;
    return testing::AssertionSuccess();
}

/// Writes `home`'s preferences: the lines of the [General] section, each ending in "\n".
inline void writePreferences(const e2e::TemporaryHome& home, const std::string& lines) {
    const auto file = home.path() / ".config/vantaquill/vantaquill.conf";
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << "[General]\n" << lines;
}

} // namespace vq
