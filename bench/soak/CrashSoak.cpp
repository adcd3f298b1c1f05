// The island killed with SIGKILL at random moments while it writes: the SDK's client file (each
// client's first request after a start stamps it), the shelf library (a new file per request) and
// the clipboard archive (bursts of copies from xclip on a private X server).
// After every kill each file must parse, every shelf entry the island acknowledged must be there,
// and the clipboard history may only have grown: a file holds the old state or the new one.

#include "BrindKit/foundation/JSON.hpp"
#include "tests/desktop/VirtualDisplay.hpp"
#include "bench/soak/SoakSupport.hpp"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <random>
#include <set>
#include <thread>

namespace vq::soak {

using namespace vq::e2e;
using namespace std::chrono_literals;

namespace {

constexpr std::size_t clientCount = 4;

std::string shelfRequest(std::uint16_t port, const std::string& token, const std::string& path) {
    const std::string body = R"({"paths":[")" + path + R"("]})";
    return "POST /v1/shelf HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\nAuthorization: Bearer " +
           token + "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

/// What one round wrote and the island acknowledged.
struct Writes {
    std::mutex lock;
    std::set<std::string> acknowledgedFiles;
};

/// Keeps the island busy until `stop`: shelf additions from every client, and copies on the X server.
void write(std::uint16_t port, const std::filesystem::path& files, const std::string& display, std::size_t round,
           Writes& writes, const std::atomic<bool>& stop) {
    std::thread copier([&] {
        for (std::size_t n = 0; !stop; ++n) {
            const std::string command = "printf 'round %zu copy %zu' | DISPLAY=" + display +
                                        " xclip -selection clipboard -i 2>/dev/null";
            char line[256];
            std::snprintf(line, sizeof line, command.c_str(), round, n);
            if (std::system(line) != 0)
                std::this_thread::sleep_for(5ms);
            // Bursts of three copies a little more than the archive's save delay apart: a burst is
            // saved once, after it, and a save can be under way at any moment of the round.
            std::this_thread::sleep_for(n % 3 == 2 ? 850ms : 15ms);
        }
    });
    for (std::size_t n = 0; !stop; ++n) {
        const auto file = files / ("r" + std::to_string(round) + "-" + std::to_string(n) + ".txt");
        std::ofstream(file) << n;
        const std::string reply =
            rawExchange(port, shelfRequest(port, clientToken(n % clientCount), file.string()), 2s);
        if (statusOf(reply) == 200 && bodyOf(reply).find("\"added\":1") != std::string::npos) {
            std::lock_guard guard(writes.lock);
            writes.acknowledgedFiles.insert(file.string());
        }
    }
    copier.join();
}

std::size_t clipCount(const brind::JSON& index) {
    if (index.is_array())
        return index.size();
    if (index.is_object() && index.contains("items") && index["items"].is_array())
        return index["items"].size();
    return 0;
}

} // namespace

bool crashSoak() {
    const std::size_t killCount = killRounds();
    std::printf("\n== kill -9 while writing: %zu rounds ==\n", killCount);
    if (!desktop::VirtualDisplay::available() || std::system("command -v xclip >/dev/null") != 0) {
        std::printf("skipped: Xvfb, ImageMagick or xclip is missing (scripts/setup installs them)\n");
        return true;
    }
    desktop::VirtualDisplay display;
    TemporaryHome home;
    const auto data = dataFolder(home);
    registerClients(data, clientCount);
    const auto files = home.path() / "files";
    std::filesystem::create_directories(files);
    auto environment = display.environmentFor(home.environment());
    std::filesystem::create_directories(data);
    std::ofstream(data / "first-start-shown");

    std::mt19937 random(20261125);
    // From the first requests to past the second burst of copies and its save.
    std::uniform_int_distribution<int> killAfterMs(50, 2500);
    std::set<std::string> acknowledged;
    std::size_t clips = 0;
    std::size_t unreadable = 0, lostEntries = 0, shrunkHistories = 0, missingClients = 0, startFailures = 0;
    for (std::size_t round = 0; round < killCount; ++round) {
        IslandProcess island({"--surface", "x11", "--port", "0"}, environment);
        if (island.port() == 0) {
            if (startFailures++ == 0)
                std::printf("the island did not start in round %zu: %s\n", round, island.errors().c_str());
            continue;
        }
        Writes writes;
        std::atomic<bool> stop = false;
        std::thread writer([&] { write(island.port(), files, display.name(), round, writes, stop); });
        std::this_thread::sleep_for(std::chrono::milliseconds(killAfterMs(random)));
        ::kill(island.processID(), SIGKILL);
        stop = true;
        writer.join();
        island.stop();
        acknowledged.insert(writes.acknowledgedFiles.begin(), writes.acknowledgedFiles.end());

        const auto shelf = readJSON(data / "shelf.json");
        const auto clients = readJSON(data / "sdk-clients.json");
        const auto index = readJSON(data / "Clipboard/index.json");
        const bool clipboardWritten = std::filesystem::exists(data / "Clipboard/index.json");
        if (!shelf || !clients || (clipboardWritten && !index)) {
            ++unreadable;
            continue;
        }
        const std::string shelfText = shelf->dump();
        for (const auto& path : acknowledged)
            lostEntries += shelfText.find(path) == std::string::npos;
        const std::string clientsText = clients->dump();
        for (std::size_t i = 0; i < clientCount; ++i)
            missingClients += clientsText.find("\"soak-" + std::to_string(i) + "\"") == std::string::npos;
        if (index) {
            const std::size_t now = clipCount(*index);
            shrunkHistories += now < clips ? 1 : 0;
            clips = std::max(clips, now);
        }
    }
    std::printf("rounds %zu, shelf entries acknowledged %zu, clipboard items at the end %zu\n", killCount,
                acknowledged.size(), clips);
    bool holds = check(startFailures == 0, "the island started every round (" + std::to_string(startFailures) + " failed)");
    holds &= check(unreadable == 0, "every file parsed after every kill (" + std::to_string(unreadable) + " unreadable)");
    holds &= check(lostEntries == 0, "every acknowledged shelf entry survived (" + std::to_string(lostEntries) + " lost)");
    holds &= check(missingClients == 0, "the client file kept every client (" + std::to_string(missingClients) + " missing)");
    holds &= check(shrunkHistories == 0, "the clipboard history never went back (" + std::to_string(shrunkHistories) + " times)");
    holds &= check(!acknowledged.empty() && clips > 0, "the rounds wrote something to check");
    return holds;
}

} // namespace vq::soak
