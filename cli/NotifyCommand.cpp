#include "cli/CommandContext.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/UUID.hpp"

#include <iostream>

namespace vq {

namespace {

struct NotifyOptions {
    std::string id;
    std::string title;
    std::optional<std::string> subtitle;
    std::optional<std::string> symbol;
    std::optional<double> progress;
    std::optional<std::string> priority;
    std::optional<double> expiresIn;
};

// Without --id every notification is a new activity; its id is printed so that it can be ended.
std::string freshID() {
    return "cli-" + brind::ASCII::lowercased(brind::UUID::random().string().substr(0, 8));
}

} // namespace

void addNotifyCommand(CLI::App& app, CommandContext& context) {
    auto options = std::make_shared<NotifyOptions>();
    CLI::App* command = app.add_subcommand("notify", "Show or update a live activity in the island");
    command->add_option("--id", options->id, "Activity id (letters, digits, - _ .); reuse it to update");
    command->add_option("--title", options->title, "Main line")->required();
    command->add_option("--subtitle", options->subtitle, "Second line");
    command->add_option("--symbol", options->symbol, "Symbol drawn at the leading end, e.g. checkmark.circle.fill");
    command->add_option("--progress", options->progress, "Progress from 0 to 1");
    command->add_option("--priority", options->priority, "ambient, normal, important or critical");
    command->add_option("--expires-in", options->expiresIn, "Seconds until the activity goes away");
    command->callback([options, &context] {
        brind::JSON body = {{"id", options->id.empty() ? freshID() : options->id}, {"title", options->title}};
        if (options->subtitle)
            body["subtitle"] = *options->subtitle;
        if (options->symbol)
            body["symbol"] = *options->symbol;
        if (options->progress)
            body["progress"] = *options->progress;
        if (options->priority)
            body["priority"] = *options->priority;
        if (options->expiresIn)
            body["expiresIn"] = *options->expiresIn;
        const auto token = context.cliToken();
        if (!token)
            return;
        if (context.call("POST", "/v1/activities", body, token))
            std::cout << body["id"].get<std::string>() << "\n";
    });
}

} // namespace vq
