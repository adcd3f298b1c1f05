#include "cli/CommandContext.hpp"

#include "BrindKit/foundation/URL.hpp"

namespace vq {

void addEndCommand(CLI::App& app, CommandContext& context) {
    auto id = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("end", "End a live activity shown by this command");
    command->add_option("ID", *id, "The id given to notify")->required();
    command->callback([id, &context] {
        const auto token = context.cliToken();
        if (!token)
            return;
        context.call("DELETE", "/v1/activities/" + brind::URL::percentEncode(*id), std::nullopt, token);
    });
}

} // namespace vq
