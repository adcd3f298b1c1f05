#pragma once

#include "BrindKit/foundation/JSON.hpp"
#include "cli/HTTPClient.hpp"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace vq {

/// What every command shares: the port to reach, the token to send and the way results and
/// refusals are reported. Exit codes: 0 done, 1 refused or failed, 2 usage.
struct CommandContext {
    static constexpr std::uint16_t defaultPort = 47829;
    static constexpr int exitFailure = 1;
    static constexpr int exitUsage = 2;

    std::uint16_t port = defaultPort;
    int exitCode = 0;

    HTTPClient client() const { return HTTPClient(port); }

    /// The command's own token from ~/.config/vantaquill/cli-token; nothing (after saying why on
    /// stderr and setting `exitCode`) when the file cannot be read.
    std::optional<std::string> cliToken();

    /// Sends an authorised JSON request and returns the reply's JSON object on success (2xx).
    /// Failures are reported on stderr and set `exitCode`; the result is then nothing.
    std::optional<brind::JSON> call(std::string_view method, std::string_view target,
                                    const std::optional<brind::JSON>& body,
                                    const std::optional<std::string>& token);

    void fail(std::string_view message);
};

/// The installers of the subcommands, one per file.
void addNotifyCommand(CLI::App& app, CommandContext& context);
void addEndCommand(CLI::App& app, CommandContext& context);
void addShelfCommand(CLI::App& app, CommandContext& context);
void addAgentCommand(CLI::App& app, CommandContext& context);
void addStatusCommand(CLI::App& app, CommandContext& context);
void addOpenCommand(CLI::App& app, CommandContext& context);
void addHookCommand(CLI::App& app, CommandContext& context);
void addDoctorCommand(CLI::App& app, CommandContext& context);
void addHooksCommand(CLI::App& app, CommandContext& context);
void addJumpCommand(CLI::App& app, CommandContext& context);
void addHUDCommand(CLI::App& app, CommandContext& context);

/// `vantaquill [--port N] hook --agent A [--event E] [arguments…]` carried out without building the
/// whole command line, which is most of the command's own start-up; agents run it on every tool
/// use. Nothing (and nothing done) for any other command line, which the full parser then reads.
std::optional<int> runPlainHook(int argc, char** argv, CommandContext& context);

} // namespace vq
