#include "cli/CommandContext.hpp"

#include <iostream>

namespace vq {

void addStatusCommand(CLI::App& app, CommandContext& context) {
    CLI::App* command = app.add_subcommand("status", "Tell whether the island is running");
    command->callback([&context] {
        const auto reply = context.call("GET", "/v1/status", std::nullopt, std::nullopt);
        if (!reply)
            return;
        std::cout << brind::JSONRead::string(*reply, "app").value_or("vantaquill") << " "
                  << brind::JSONRead::string(*reply, "version").value_or("?") << " listening on 127.0.0.1:"
                  << static_cast<long long>(brind::JSONRead::number(*reply, "port").value_or(context.port)) << "\n";
    });
}

} // namespace vq
