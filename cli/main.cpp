#include "cli/CommandContext.hpp"

#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
    vq::CommandContext context;
    if (const char* port = std::getenv("VANTAQUILL_PORT"); port && *port)
        context.port = static_cast<std::uint16_t>(std::strtoul(port, nullptr, 10));
    if (const auto code = vq::runPlainHook(argc, argv, context))
        return *code;

    CLI::App app{"vantaquill: drive the vantaquill island from scripts and coding agents.", "vantaquill"};
    app.require_subcommand(1);
    app.add_option("--port", context.port, "Port of the island's local API (default 47829, or $VANTAQUILL_PORT)")
        ->check(CLI::Range(1, 65535));
    app.footer("The HTTP API behind these commands is described in docs/SDK.md.");

    vq::addNotifyCommand(app, context);
    vq::addEndCommand(app, context);
    vq::addHUDCommand(app, context);
    vq::addShelfCommand(app, context);
    vq::addAgentCommand(app, context);
    vq::addStatusCommand(app, context);
    vq::addOpenCommand(app, context);
    vq::addHookCommand(app, context);
    vq::addDoctorCommand(app, context);
    vq::addHooksCommand(app, context);
    vq::addJumpCommand(app, context);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int code = app.exit(error);
        return code == 0 ? 0 : vq::CommandContext::exitUsage;
    }
    return context.exitCode;
}
