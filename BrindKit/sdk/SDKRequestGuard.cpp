#include "BrindKit/sdk/SDKRequestGuard.hpp"

#include "BrindKit/foundation/ASCII.hpp"

#include <array>
#include <charconv>
#include <string>

namespace brind::SDKRequestGuard {

namespace {

constexpr std::string_view browserMessage = "Browser requests are not accepted.";
constexpr std::string_view jsonType = "application/json";

// Lower-cased as Unicode, no character outside ASCII becomes one of the letters, digits or
// punctuation of "127.0.0.1", "localhost" or "application/json" (only the Kelvin sign turns into an
// ASCII letter, "k"), so a field matches only when its compared part is ASCII, and ASCII's
// lower-casing decides: every request passes here.

// The Host field names this server: "127.0.0.1" or "localhost", with or without ":" and the port.
bool namesThisServer(std::string_view host, std::uint16_t port) {
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), port).ptr;
    const std::string_view portText(digits.data(), static_cast<std::size_t>(end - digits.data()));
    for (const std::string_view name : {std::string_view("127.0.0.1"), std::string_view("localhost")}) {
        if (host.size() < name.size() || !ASCII::equalsIgnoringCase(host.substr(0, name.size()), name))
            continue;
        const std::string_view rest = host.substr(name.size());
        return rest.empty() || (rest.front() == ':' && rest.substr(1) == portText);
    }
    return false;
}

// Whether the Content-Type starts with "application/json", in any case.
bool isJSONType(std::string_view type) {
    return type.size() >= jsonType.size() && ASCII::equalsIgnoringCase(type.substr(0, jsonType.size()), jsonType);
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
