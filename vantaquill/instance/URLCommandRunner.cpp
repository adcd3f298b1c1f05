#include "vantaquill/instance/URLCommandRunner.hpp"

#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/foundation/Overloaded.hpp"
#include "BrindKit/island/LiveActivity.hpp"
#include "BrindKit/sdk/SDKBridge.hpp"
#include "vantaquill/HeadlessDisplay.hpp"

#include <filesystem>

namespace vq {

namespace {

std::string refusal(const brind::SDKAuthError& error, brind::SDKScope scope) {
    return std::visit(brind::Overloaded{
                          [&](const brind::SDKAuthError::ScopeNotGranted&) {
                              return "the token's client may not use " + std::string(brind::name(scope));
                          },
                          [](const brind::SDKAuthError::MissingToken&) { return std::string("the token is missing"); },
                          [](const brind::SDKAuthError::InvalidToken&) {
                              return std::string("the token belongs to no registered client");
                          },
                      },
                      error.kind);
}

} // namespace

std::expected<void, std::string> URLCommandRunner::run(std::string_view url, brind::Date now) {
    const auto parsed = brind::SDKURLCommand::parse(url);
    if (!parsed)
        return std::unexpected(parsed.error().toString());
    return std::visit(
        brind::Overloaded{
            [&](const brind::SDKURLCommand::Notify& command) { return notify(command, now); },
            [&](const brind::SDKURLCommand::End& command) -> std::expected<void, std::string> {
                const auto owner = client(command.token, brind::SDKScope::activities, now);
                if (!owner)
                    return std::unexpected(owner.error());
                delegate.endActivity(brind::SDKBridge::activityID(owner->appID, command.id));
                return {};
            },
            [&](const brind::SDKURLCommand::ShelfAdd& command) -> std::expected<void, std::string> {
                const auto owner = client(command.token, brind::SDKScope::shelf, now);
                if (!owner)
                    return std::unexpected(owner.error());
                // A URL has no working folder to resolve a relative path against.
                for (const auto& path : command.paths) {
                    if (!std::filesystem::path(path).is_absolute())
                        return std::unexpected("shelf paths must be absolute: " + path);
                }
                delegate.addToShelf(command.paths, [](std::size_t) {});
                return {};
            },
            [&](const auto& view) -> std::expected<void, std::string> {
                showView(brind::SDKURLCommand{view});
                return {};
            },
        },
        parsed->command);
}

std::string URLCommandRunner::describeView(const brind::SDKURLCommand& command) {
    const auto optionalField = [](std::string_view name, const std::optional<std::string>& value) {
        return value ? " " + HeadlessDisplay::field(name, *value) : std::string();
    };
    return std::visit(brind::Overloaded{
                          [&](const brind::SDKURLCommand::Open& open) { return "url open" + optionalField("tab", open.tab); },
                          [&](const brind::SDKURLCommand::Settings& settings) {
                              return "url settings" + optionalField("pane", settings.pane);
                          },
                          [](const brind::SDKURLCommand::Clipboard&) { return std::string("url clipboard"); },
                          [](const auto&) { return std::string("url"); },
                      },
                      command.command);
}

std::expected<void, std::string> URLCommandRunner::notify(const brind::SDKURLCommand::Notify& command,
                                                         brind::Date now) {
    brind::JSON activity = {{"title", command.title},
                            {"id", std::string(ownActivityID)},
                            {"source", std::string(ownSource)}};
    if (command.token) {
        const auto owner = client(*command.token, brind::SDKScope::activities, now);
        if (!owner)
            return std::unexpected(owner.error());
        activity["id"] = brind::SDKBridge::activityID(owner->appID, clientLocalID);
        activity["source"] = "sdk." + owner->appID;
    }
    if (command.subtitle)
        activity["subtitle"] = *command.subtitle;
    if (command.symbol)
        activity["leading"] = brind::JSON{{"symbol", *command.symbol}};
    if (command.progress)
        activity["progress"] = *command.progress;
    auto decoded = brind::LiveActivity::fromJSON(activity, now);
    if (!decoded)
        return std::unexpected("couldn't read the notification: " + decoded.error());
    delegate.showActivity(std::move(*decoded));
    return {};
}

std::expected<brind::SDKClient, std::string> URLCommandRunner::client(const std::string& token, brind::SDKScope scope,
                                                                      brind::Date now) {
    auto owner = auth.authorize(token, scope, now);
    if (!owner)
        return std::unexpected(refusal(owner.error(), scope));
    return *owner;
}

} // namespace vq
