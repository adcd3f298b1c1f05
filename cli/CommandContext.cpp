#include "cli/CommandContext.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/Paths.hpp"

#include <iostream>

namespace vq {

std::optional<std::string> CommandContext::cliToken() {
    const auto file = brind::Paths::cliTokenFile();
    const auto contents = brind::AtomicFile::read(file);
    const std::string token = contents ? std::string(brind::ASCII::trimmed(*contents)) : std::string{};
    if (token.empty()) {
        std::cerr << "vantaquill: no token in " << file.string()
                  << "; start the island once (vantaquill-island) so that it registers this command\n";
        exitCode = exitFailure;
        return std::nullopt;
    }
    return token;
}

void CommandContext::fail(std::string_view message) {
    std::cerr << "vantaquill: " << message << "\n";
    exitCode = exitFailure;
}

std::optional<brind::JSON> CommandContext::call(std::string_view method, std::string_view target,
                                                const std::optional<brind::JSON>& body,
                                                const std::optional<std::string>& token) {
    HTTPClient::Headers headers;
    if (token)
        headers.emplace_back("Authorization", "Bearer " + *token);
    std::string bodyText;
    if (body) {
        headers.emplace_back("Content-Type", "application/json");
        bodyText = brind::JSONText::compact(*body);
    }
    const auto response = client().send(method, target, headers, bodyText);
    if (!response) {
        if (response.error().failure == HTTPClient::Failure::unreachable)
            fail("vantaquill isn't running on 127.0.0.1:" + std::to_string(port) + " (start it with vantaquill-island)");
        else
            fail(response.error().message);
        return std::nullopt;
    }
    const auto json = brind::JSONText::parse(response->body);
    if (response->status < 200 || response->status > 299) {
        const auto message = json ? brind::JSONRead::string(*json, "message") : std::nullopt;
        const auto code = json ? brind::JSONRead::string(*json, "error") : std::nullopt;
        fail(message.value_or("the request was refused") + " (" + std::to_string(response->status) +
             (code ? " " + *code : std::string{}) + ")");
        return std::nullopt;
    }
    if (!json) {
        fail("the reply was not JSON");
        return std::nullopt;
    }
    return *json;
}

} // namespace vq
