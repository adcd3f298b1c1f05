#include "cli/CommandContext.hpp"

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

namespace {

// A port as the command line takes it: decimal digits only, 1 to 65535.
std::optional<std::uint16_t> portNamed(std::string_view text) {
    unsigned long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < 1 || number > 65535)
        return std::nullopt;
    return static_cast<std::uint16_t>(number);
}

} // namespace

int main(int argc, char** argv) {
    vq::CommandContext context;
    const char* portVariable = std::getenv("VANTAQUILL_PORT");
    const bool portVariableSet = portVariable && *portVariable;
    const auto variablePort = portVariableSet ? portNamed(portVariable) : std::nullopt;
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
