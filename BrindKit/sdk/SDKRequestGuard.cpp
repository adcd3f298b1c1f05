#include "BrindKit/sdk/SDKRequestGuard.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <array>
#include <charconv>
#include <string>

namespace brind::SDKRequestGuard {

namespace {

constexpr std::string_view browserMessage = "Browser requests are not accepted.";
constexpr std::string_view jsonType = "application/json";

// The Host field names this server: "127.0.0.1" or "localhost", with or without ":" and the port,
// compared lower-cased. Every request passes here, so an ASCII field (the only kind that can match
// once lower-cased as ASCII) is compared in place; any other goes through the Unicode lower-casing.
bool namesThisServer(std::string_view host, std::uint16_t port) {
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), port).ptr;
    const std::string_view portText(digits.data(), static_cast<std::size_t>(end - digits.data()));
    if (ASCII::prefixLength(host) != host.size()) {
        const std::string lowered = Text::lowercased(host);
        const std::string withPort = ":" + std::string(portText);
        return lowered == "127.0.0.1" + withPort || lowered == "localhost" + withPort || lowered == "127.0.0.1" ||
               lowered == "localhost";
    }
    for (const std::string_view name : {std::string_view("127.0.0.1"), std::string_view("localhost")}) {
        if (host.size() < name.size() || !ASCII::equalsIgnoringCase(host.substr(0, name.size()), name))
            continue;
        const std::string_view rest = host.substr(name.size());
        return rest.empty() || (rest.front() == ':' && rest.substr(1) == portText);
    }
    return false;
}

// Whether the Content-Type, lower-cased, starts with "application/json". Lower-casing maps each
// character on its own, so when the first bytes are ASCII their ASCII lower-casing decides.
bool isJSONType(std::string_view type) {
    if (ASCII::prefixLength(type.substr(0, jsonType.size())) == std::min(type.size(), jsonType.size()))
        return type.size() >= jsonType.size() && ASCII::equalsIgnoringCase(type.substr(0, jsonType.size()), jsonType);
    return Text::lowercased(type).starts_with(jsonType);
}

} // namespace

std::optional<SDKHTTPResponse> check(const SDKHTTPRequest& request, std::uint16_t port) {
    if (const auto origin = request.headerView("origin"); origin && !origin->empty())
        return SDKHTTPResponse::error(403, "forbidden", browserMessage);
    if (request.headerView("sec-fetch-site") || request.headerView("sec-fetch-mode"))
        return SDKHTTPResponse::error(403, "forbidden", browserMessage);

    if (!namesThisServer(request.headerView("host").value_or(""), port))
        return SDKHTTPResponse::error(403, "forbidden", "Bad Host header.");

    if (request.method == "OPTIONS")
        return SDKHTTPResponse::error(405, "method_not_allowed", "No CORS here.");

    const bool sendsBody = request.method == "POST" || request.method == "PUT" || request.method == "PATCH";
    if (sendsBody && !request.body.empty() && !isJSONType(request.headerView("content-type").value_or("")))
        return SDKHTTPResponse::error(415, "unsupported_media_type", "Send Content-Type: application/json.");
    return std::nullopt;
}

} // namespace brind::SDKRequestGuard
