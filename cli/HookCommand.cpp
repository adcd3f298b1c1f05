#include "cli/CommandContext.hpp"
#include "cli/TerminalEnvironment.hpp"

#include "BrindKit/agents/AgentDecisionEncoder.hpp"
#include "BrindKit/agents/AgentEventDecoder.hpp"
#include "BrindKit/agents/AgentKind.hpp"
#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/Paths.hpp"
#include "BrindKit/foundation/URL.hpp"

#include <cerrno>
#include <iostream>
#include <spawn.h>
#include <unistd.h>

namespace vq {

namespace {

struct HookOptions {
    std::string agent;
    std::string event;
    /// Codex's notify: the user's own notify program (if any), then the payload Codex appends.
    std::vector<std::string> arguments;
};

// Codex keeps only one notify program, so ours runs the user's with the same arguments. It is not
// waited for: Codex does not wait for us either, and the island should hear of the turn at once.
void runChained(const std::vector<std::string>& program) {
    std::vector<char*> argv;
    for (const std::string& argument : program)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t child = 0;
    if (::posix_spawnp(&child, argv[0], nullptr, nullptr, argv.data(), environ) != 0)
        std::cerr << "vantaquill: couldn't run " << program.front() << "\n";
}

// Straight from the descriptor: a payload may carry a whole tool output, and std::cin (kept in step
// with stdio) would hand it over one byte at a time, on every tool use of the agent.
std::string readStandardInput() {
    std::string text;
    char buffer[64 * 1024];
    for (;;) {
        const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (count > 0)
            text.append(buffer, static_cast<std::size_t>(count));
        else if (count < 0 && errno == EINTR)
            continue;
        else
            return text;
    }
}

} // namespace

void addHookCommand(CLI::App& app, CommandContext& context) {
    auto options = std::make_shared<HookOptions>();
    CLI::App* command = app.add_subcommand(
        "hook", "Forward a coding agent's hook payload (on stdin) to the island and print its answer");
    command->add_option("--agent", options->agent, "claude-code, codex, gemini or cursor")->required();
    command->add_option("--event", options->event, "The hook event name, when the payload lacks it");
    command->add_option("arguments", options->arguments,
                        "Codex notify: [-- your own notify program and its arguments] then the payload");
    command->callback([options, &context] {
        std::string payload;
        if (options->arguments.empty()) {
            payload = readStandardInput();
        } else {
            // The user's program (before the payload) gets the same arguments Codex gave us.
            payload = options->arguments.back();
            if (options->arguments.size() > 1)
                runChained(options->arguments);
        }
        const auto kind = brind::agentKindLoose(options->agent);
        // An agent must never be blocked or slowed by a missing island: whatever goes wrong, print
        // the answer that lets it carry on by itself and succeed.
        const auto fallback = [&] {
            if (kind) {
                std::optional<std::string_view> given;
                if (!options->event.empty())
                    given = options->event;
                const auto event = brind::AgentEventDecoder::eventName(*kind, given, payload);
                std::cout << brind::AgentDecisionEncoder::unreachableFallback(*kind, event.value_or(""));
            }
            std::cout.flush();
        };

        const auto tokenFile = brind::Paths::dataFolder() / "hook-token";
        const auto token = brind::AtomicFile::read(tokenFile);
        HTTPClient::Headers headers = TerminalEnvironment::headers();
        headers.emplace_back("Content-Type", "application/json");
        if (token)
            headers.emplace_back("x-vantaquill-hook", std::string(brind::ASCII::trimmed(*token)));

        std::vector<brind::URL::QueryItem> query = {{"agent", options->agent}};
        if (!options->event.empty())
            query.emplace_back("event", options->event);
        const auto response =
            context.client().send("POST", "/v1/agents/hook?" + brind::URL::encodeQuery(query), headers, payload);
        if (!response) {
            fallback();
            return;
        }
        if (response->status != 200) {
            std::cerr << "vantaquill: the island refused the hook call (" << response->status << "): "
                      << response->body << "\n";
            fallback();
            return;
        }
        std::cout << response->body;
        std::cout.flush();
    });
}

} // namespace vq
