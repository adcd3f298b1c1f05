#include "cli/CommandContext.hpp"
#include "cli/PortNumber.hpp"
#include "cli/ReadToEnd.hpp"
#include "cli/TerminalEnvironment.hpp"

#include "BrindKit/agents/AgentDecisionEncoder.hpp"
#include "BrindKit/agents/AgentEventDecoder.hpp"
#include "BrindKit/agents/AgentKind.hpp"
#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/Paths.hpp"
#include "BrindKit/foundation/URL.hpp"

#include <algorithm>
#include <iostream>
#include <span>
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

// Sends the payload and prints the island's answer, or the answer that lets the agent carry on.
void forwardHook(const HookOptions& options, CommandContext& context) {
    std::string payload;
    if (options.arguments.empty()) {
        payload = readToEnd(STDIN_FILENO);
    } else {
        // The user's program (before the payload) gets the same arguments Codex gave us.
        payload = options.arguments.back();
        if (options.arguments.size() > 1)
            runChained(options.arguments);
    }
    const auto kind = brind::agentKindLoose(options.agent);
    // An agent must never be blocked or slowed by a missing island: whatever goes wrong, print
    // the answer that lets it carry on by itself and succeed.
    // The payload is read for its event only when the answer depends on it: a payload may carry a
    // whole tool output, and parsing it on every tool use while the island is down would be wasted.
    const auto fallback = [&] {
        if (kind) {
            std::optional<std::string> event;
            if (brind::AgentDecisionEncoder::unreachableFallbackVaries(*kind)) {
                std::optional<std::string_view> given;
                if (!options.event.empty())
                    given = options.event;
                event = brind::AgentEventDecoder::eventName(*kind, given, payload);
            }
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

    std::vector<brind::URL::QueryItem> query = {{"agent", options.agent}};
    if (!options.event.empty())
        query.emplace_back("event", options.event);
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
}

// `--name value` or `--name=value` at `arguments[at]`; moves `at` past what it read.
std::optional<std::string_view> optionValue(std::span<char* const> arguments, std::size_t& at,
                                            std::string_view name) {
    const std::string_view word = arguments[at];
    if (word == name && at + 1 < arguments.size()) {
        at += 2;
        return arguments[at - 1];
    }
    if (word.size() > name.size() && word.starts_with(name) && word[name.size()] == '=') {
        ++at;
        return word.substr(name.size() + 1);
    }
    return std::nullopt;
}

} // namespace

std::optional<int> runPlainHook(int argc, char** argv, CommandContext& context) {
    const std::span<char* const> arguments(argv + 1, static_cast<std::size_t>(std::max(argc - 1, 0)));
    std::size_t at = 0;
    std::uint16_t port = context.port;
    while (at < arguments.size() && std::string_view(arguments[at]) != "hook") {
        const auto value = optionValue(arguments, at, "--port");
        if (!value)
            return std::nullopt;
        const auto number = portNumber(*value);
        if (!number)
            return std::nullopt;
        port = *number;
    }
    if (at == arguments.size())
        return std::nullopt;
    ++at;
    HookOptions options;
    bool positional = false;
    while (at < arguments.size()) {
        const std::string_view word = arguments[at];
        if (positional || !word.starts_with('-')) {
            options.arguments.emplace_back(word);
            ++at;
        } else if (word == "--") {
            positional = true;
            ++at;
        } else if (const auto agent = optionValue(arguments, at, "--agent")) {
            if (!options.agent.empty())
                return std::nullopt;
            options.agent = *agent;
        } else if (const auto event = optionValue(arguments, at, "--event")) {
            if (!options.event.empty())
                return std::nullopt;
            options.event = *event;
        } else {
            return std::nullopt; // help, a mistake: the full parser says what is wrong
        }
    }
    if (options.agent.empty())
        return std::nullopt;
    context.port = port;
    forwardHook(options, context);
    return context.exitCode;
}

void addHookCommand(CLI::App& app, CommandContext& context) {
    auto options = std::make_shared<HookOptions>();
    CLI::App* command = app.add_subcommand(
        "hook", "Forward a coding agent's hook payload (on stdin) to the island and print its answer");
    command->add_option("--agent", options->agent, "claude-code, codex, gemini or cursor")->required();
    command->add_option("--event", options->event, "The hook event name, when the payload lacks it");
    command->add_option("arguments", options->arguments,
                        "Codex notify: [-- your own notify program and its arguments] then the payload");
    command->callback([options, &context] { forwardHook(*options, context); });
}

} // namespace vq
