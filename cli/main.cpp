#include "cli/CommandContext.hpp"
#include "cli/PortNumber.hpp"

#include <cstdlib>
#include <iostream>
#include <string>

int main(int argc, char** argv) {
    vq::CommandContext context;
    const char* portVariable = std::getenv("VANTAQUILL_PORT");
    const bool portVariableSet = portVariable && *portVariable;
    const auto variablePort = portVariableSet ? vq::portNumber(portVariable) : std::nullopt;
    if (variablePort)
        context.port = *variablePort;
    // A hook answers its agent whatever happens, so a wrong variable only leaves it the default port.
    if (const auto code = vq::runPlainHook(argc, argv, context))
        return *code;
    if (portVariableSet && !variablePort) {
        std::cerr << "vantaquill: VANTAQUILL_PORT=" << portVariable << " is not a port (1 to 65535)\n";
        return vq::CommandContext::exitUsage;
    }

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
