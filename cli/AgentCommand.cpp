#include "cli/CommandContext.hpp"

#include <iostream>

namespace vq {

namespace {

struct AgentEventOptions {
    std::string event;
    std::string session;
    std::optional<std::string> name;
    std::optional<std::string> message;
    std::optional<std::string> tool;
    std::optional<std::string> command;
    std::optional<std::string> cwd;
    std::optional<double> progress;
};

brind::JSON eventBody(const AgentEventOptions& options) {
    brind::JSON body = {{"event", options.event}, {"session", options.session}};
    const std::pair<const char*, const std::optional<std::string>*> texts[] = {
        {"name", &options.name}, {"message", &options.message}, {"tool", &options.tool},
        {"command", &options.command}, {"cwd", &options.cwd}};
    for (const auto& [key, value] : texts) {
        if (*value)
            body[key] = **value;
    }
    if (options.progress)
        body["progress"] = *options.progress;
    return body;
}

std::optional<std::string> decision(CommandContext& context, const brind::JSON& body) {
    const auto token = context.cliToken();
    if (!token)
        return std::nullopt;
    const auto reply = context.call("POST", "/v1/agents/event", body, token);
    if (!reply)
        return std::nullopt;
    return brind::JSONRead::string(*reply, "decision").value_or("none");
}

} // namespace

void addAgentCommand(CLI::App& app, CommandContext& context) {
    CLI::App* agent = app.add_subcommand("agent", "Report a script's own agent session, or ask for approval");
    agent->require_subcommand(1);

    auto approve = std::make_shared<AgentEventOptions>();
    CLI::App* approveCommand = agent->add_subcommand(
        "approve", "Ask the user to allow a command; exits 0 only when allowed\n"
                   "  e.g. vantaquill agent approve --session deploy --command \"./deploy.sh\" && ./deploy.sh");
    approveCommand->add_option("--session", approve->session, "Session the request belongs to")->required();
    approveCommand->add_option("--command", approve->command, "The command to allow")->required();
    approveCommand->add_option("--name", approve->name, "Name shown in the island (default: the session)");
    approveCommand->callback([approve, &context] {
        AgentEventOptions options = *approve;
        options.event = "permission";
        options.tool = "Bash";
        const auto answer = decision(context, eventBody(options));
        if (!answer)
            return;
        if (*answer == "allow")
            return;
        context.fail(*answer == "deny" ? "the user denied " + *approve->command
                                       : "no decision for " + *approve->command +
                                             " (it was left to ask, approvals are off in vantaquill, or "
                                             "nobody answered in time)");
    });

    auto event = std::make_shared<AgentEventOptions>();
    CLI::App* eventCommand = agent->add_subcommand(
        "event", "Report an event of a script's session (start, status, tool, ask, done, end, ...)");
    eventCommand->add_option("--event", event->event, "Event name")->required();
    eventCommand->add_option("--session", event->session, "Session id")->required();
    eventCommand->add_option("--name", event->name, "Name shown in the island");
    eventCommand->add_option("--message", event->message, "Message");
    eventCommand->add_option("--tool", event->tool, "Tool name");
    eventCommand->add_option("--command", event->command, "Command or detail of the tool");
    eventCommand->add_option("--cwd", event->cwd, "Working folder");
    eventCommand->add_option("--progress", event->progress, "Progress from 0 to 1");
    eventCommand->callback([event, &context] {
        if (const auto answer = decision(context, eventBody(*event)))
            std::cout << *answer << "\n";
    });
}

} // namespace vq
