// The island killed with SIGKILL at random moments while it writes the agents' rule book: a coding
// agent's permission requests arrive through the real hook command, one project after another, and
// each is answered "always" on the headless console, so every answer adds a rule and rewrites
// agent-rules.json. Answers follow each other until the kill, so every kill falls among writes.
// After every kill the file must parse and hold every rule it held before: it holds
// the old rule book or the new one, never less and never a torn one.

#include "BrindKit/foundation/JSON.hpp"
#include "bench/soak/SoakSupport.hpp"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>

namespace vq::soak {

using namespace vq::e2e;
using namespace std::chrono_literals;

namespace {


/// A permission request for writing a file in a project of its own, so that its rule is new.
std::string permissionRequest(brind::JSON request, const std::string& project) {
    request["cwd"] = project;
    request["tool_input"]["file_path"] = project + "/notes.md";
    return request.dump();
}

/// Asks and answers until `stop`: the hook waits in its own thread while the console answers it.
void answerAlways(IslandProcess& island, const std::map<std::string, std::string>& environment,
                  const brind::JSON& payload, std::size_t round, const std::atomic<bool>& stop) {
    for (std::size_t n = 0; !stop; ++n) {
        const std::string request = permissionRequest(payload, "/soak/round-" + std::to_string(round) + "/project-" +
                                                                   std::to_string(n));
        std::thread agent([&] { run(builtProgram("vantaquill"), {"hook", "--agent", "claude-code"}, environment, request); });
        if (const auto waiting = island.waitForLine("approval waiting id=", 3s)) {
            const auto start = waiting->find("id=") + 3;
            island.sendInput("always " + waiting->substr(start, waiting->find(' ', start) - start) + "\n");
        }
        agent.join();
    }
}

} // namespace

bool ruleBookSoak() {
    const std::size_t killCount = killRounds();
    std::printf("\n== kill -9 while the rule book is written: %zu rounds ==\n", killCount);
    TemporaryHome home;
    const auto data = dataFolder(home);
    const auto rulesFile = data / "agent-rules.json";
    const auto payload = readJSON(std::filesystem::path(BRIND_TEST_DATA) / "agents/payloads/claude-permission-request.json");
    if (!payload)
        return check(false, "the permission request to send is readable");
    std::mt19937 random(20261125);
    // From before the first answer to a few dozen answers in.
    std::uniform_int_distribution<int> killAfterMs(20, 600);
    std::size_t held = 0, unreadable = 0, shrunk = 0, startFailures = 0;
    for (std::size_t round = 0; round < killCount; ++round) {
        IslandProcess island(home);
        if (island.port() == 0) {
            ++startFailures;
            continue;
        }
        auto environment = home.environment();
        environment["VANTAQUILL_PORT"] = std::to_string(island.port());
        std::atomic<bool> stop = false;
        std::thread agent([&] { answerAlways(island, environment, *payload, round, stop); });
        std::this_thread::sleep_for(std::chrono::milliseconds(killAfterMs(random)));
        ::kill(island.processID(), SIGKILL);
        stop = true;
        agent.join();
        island.stop();

        if (!std::filesystem::exists(rulesFile))
            continue;
        const auto book = readJSON(rulesFile);
        if (!book || !book->is_object() || !(*book)["rules"].is_array()) {
            ++unreadable;
            continue;
        }
        const std::size_t now = (*book)["rules"].size();
        shrunk += now < held ? 1 : 0;
        held = std::max(held, now);
    }
    std::printf("rounds %zu, rules at the end %zu\n", killCount, held);
    bool holds = check(startFailures == 0, "the island started every round (" + std::to_string(startFailures) + " failed)");
    holds &= check(unreadable == 0, "the rule book parsed after every kill (" + std::to_string(unreadable) + " unreadable)");
    holds &= check(shrunk == 0, "the rule book never lost a rule (" + std::to_string(shrunk) + " times)");
    holds &= check(held >= killCount / 2, "the rounds wrote rules (" + std::to_string(held) + ")");
    return holds;
}

} // namespace vq::soak
