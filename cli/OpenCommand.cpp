#include "cli/CommandContext.hpp"

#include "BrindKit/foundation/Overloaded.hpp"
#include "BrindKit/foundation/URL.hpp"
#include "BrindKit/sdk/SDKURLCommand.hpp"

#include <iostream>

namespace vq {

void addOpenCommand(CLI::App& app, CommandContext& context) {
    auto url = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand("open", "Carry out a vantaquill:// URL (notify, end, shelf/add, ...)");
    command->add_option("URL", *url, "e.g. vantaquill://notify?title=Hello")->required();
    command->callback([url, &context] {
        const auto parsed = brind::SDKURLCommand::parse(*url);
        if (!parsed) {
            context.fail("can't open " + *url + ": " + parsed.error().toString());
            return;
        }
        // A URL's own token wins; otherwise the command's token is used.
        const auto tokenFor = [&context](const std::optional<std::string>& own) -> std::optional<std::string> {
            return own ? own : context.cliToken();
        };
        std::visit(brind::Overloaded{
                       [&](const brind::SDKURLCommand::Notify& notify) {
                           brind::JSON body = {{"id", "url"}, {"title", notify.title}};
                           if (notify.subtitle)
                               body["subtitle"] = *notify.subtitle;
                           if (notify.symbol)
                               body["symbol"] = *notify.symbol;
                           if (notify.progress)
                               body["progress"] = *notify.progress;
                           if (const auto token = tokenFor(notify.token))
                               context.call("POST", "/v1/activities", body, token);
                       },
                       [&](const brind::SDKURLCommand::End& end) {
                           context.call("DELETE", "/v1/activities/" + brind::URL::percentEncode(end.id),
                                        std::nullopt, end.token);
                       },
                       [&](const brind::SDKURLCommand::ShelfAdd& add) {
                           context.call("POST", "/v1/shelf", brind::JSON{{"paths", add.paths}}, add.token);
                       },
                       [&](const auto&) {
                           // open, settings and clipboard show the island's own views, which only the
                           // island window can do: hand the URL to the desktop, which starts it.
                           context.fail("this URL opens a view of the island window; run: xdg-open '" + *url + "'");
                       },
                   },
                   parsed->command);
    });
}

} // namespace vq
